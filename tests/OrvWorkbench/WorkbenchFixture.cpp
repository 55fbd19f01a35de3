#include "tests/OrvWorkbench/WorkbenchFixture.h"

#include "tests/support/contract/Contract.h"

#include <windows.h>

#include <algorithm>
#include <ostream>

using contract::InLogFile;
using contract::Join;
using contract::KernelName;
using contract::PointerText;

namespace
{
bool StandsFor(const std::wstring& expected, const std::wstring& anyText, const std::wstring& line)
{
    const size_t fixed = expected.size() - std::min(expected.size(), anyText.size());
    if (expected.substr(fixed) != anyText)
        return false;
    return line.size() > fixed && line.compare(0, fixed, expected, 0, fixed) == 0;
}
} // namespace

void PrintTo(const WindowMessage& message, std::ostream* stream)
{
    *stream << std::hex << message.message << std::dec << (message.sent ? " sent" : " posted") << " ("
            << message.wParam << ", " << message.lParam << ")" << (message.success ? ", success signalled" : "")
            << (message.failed ? ", failed signalled" : "");
}

void OrvWorkBench64::StartServing(WorkbenchRuntime runtime)
{
    m_client.MakeShareAndWindow();
    Prepare(runtime);
    Start();
    m_client.WaitForMessages(1);
}

void OrvWorkBench64::Stop()
{
    m_client.Stop();
    EXPECT_EQ(1U, m_process->WaitForExit());
}

OrvWorkBench64::Lines OrvWorkBench64::EventLines(const std::wstring& hexId)
{
    return InLogFile(contract::EventLines(KernelName(L""), hexId));
}

OrvWorkBench64::Lines OrvWorkBench64::LoadedLines()
{
    return {L"CHost::CHost Executing CorBindToRuntimeEx", L"CHost::CHost Loaded Runtime"};
}

OrvWorkBench64::Lines OrvWorkBench64::ArgumentLines(const InProcessClient& client) const
{
    return {L"wmain  arg 0 = " + m_process->ProgramPath(), L"wmain  arg 1 = workbench",
            L"wmain  arg 2 = " + client.HexId()};
}

OrvWorkBench64::Lines OrvWorkBench64::OpenedShareLines(const std::wstring& shareName, const std::wstring& hexId)
{
    return InLogFile(contract::OpenedShareLines(shareName, KernelName(shareName), hexId));
}

OrvWorkBench64::Lines OrvWorkBench64::MutexLines(const std::wstring& shareName)
{
    return InLogFile(contract::ShareMutexLines(KernelName(shareName)));
}

std::wstring OrvWorkBench64::WindowLine(uint64_t window)
{
    return L"CHost::Run Zeph window is " + PointerText(window);
}

OrvWorkBench64::Lines OrvWorkBench64::StartLines(const InProcessClient& client) const
{
    return Join({EventLines(client.HexId()),
                 LoadedLines(),
                 ArgumentLines(client),
                 OpenedShareLines(client.ShareName(), client.HexId()),
                 {WindowLine(client.StoredWindow())}});
}

OrvWorkBench64::Lines OrvWorkBench64::WaitLines(const std::wstring& eventName)
{
    return InLogFile(contract::WaitLines(eventName));
}

OrvWorkBench64::Lines OrvWorkBench64::BreakpointLines(uint64_t window)
{
    return {L"CHost::Breakpoint Workbench breakpoint",
            L"",
            L"CHost::Breakpoint setting response ok",
            L"",
            L"CHost::Breakpoint Sending IDLE state to HWND " + PointerText(window),
            L"CHost::Breakpoint entering IDLE breakpoint",
            L"",
            L"CHost::Breakpoint breakpointed workbench ok",
            L""};
}

OrvWorkBench64::Lines OrvWorkBench64::CommandLines(unsigned slot, const std::wstring& text,
                                                   const std::wstring& outcome, uint64_t window)
{
    const contract::Command& command = contract::c_commands[slot - 1];
    return Join({WaitLines(command.eventName),
                 {L"CHost::Run Command is " + std::wstring(command.word) + L": " + text},
                 command.breaks ? BreakpointLines(window) : Lines{},
                 {L"CHost::Run command " + outcome}});
}

OrvWorkBench64::Lines OrvWorkBench64::InvokeWithoutWindow(const InProcessClient& client, const std::wstring& text,
                                                          const std::wstring& outcome)
{
    Lines lines = CommandLines(3, text, outcome, client.StoredWindow());
    const Lines gone{L"CHost::Breakpoint Error is PostMessage:", L"", L"CHost::Breakpoint " + SystemText(1400)[0],
                     L""};
    lines.insert(lines.begin() + 11, gone.begin(), gone.end());
    return lines;
}

OrvWorkBench64::Lines OrvWorkBench64::StopLines()
{
    return Join({WaitLines(L"EV_STOP"), {L"CHost::Run Stopping", L""}, ExitLines()});
}

OrvWorkBench64::Lines OrvWorkBench64::ExitLines()
{
    return {L"CHost::Run WorkBench Exiting", L""};
}

OrvWorkBench64::Lines OrvWorkBench64::SystemText(unsigned error)
{
    wchar_t text[1024]{};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text, 1024,
                   nullptr);
    // The text ends with a line break of its own, so an empty line follows. The log's text mode adds a second
    // carriage return to it, which stays at the line's end.
    std::wstring line = text;
    line.erase(line.find(L'\n'));
    return {line, L""};
}

testing::AssertionResult OrvWorkBench64::LogIs(const Lines& expected)
{
    const Lines log = WorkbenchRun::Log();
    for (size_t i = 0; i < std::max(expected.size(), log.size()); ++i)
    {
        const std::wstring wanted = i < expected.size() ? expected[i] : L"(the end)";
        const std::wstring found = i < log.size() ? log[i] : L"(the end)";
        if (found == wanted || StandsFor(wanted, c_anyText, found))
            continue;
        return testing::AssertionFailure()
               << "line " << i + 1 << " of the log is\n  " << testing::PrintToString(found) << "\nand should be\n  "
               << testing::PrintToString(wanted);
    }
    return testing::AssertionSuccess();
}

OrvWorkBench64::Record OrvWorkBench64::RecordOf(std::initializer_list<Record> calls)
{
    Record record{
        "bind version=\"v2.0.50727\" flavour=\"svr\" flags=2 class={90F1A06E-7712-4762-86B5-7A5EBA6BDB02} "
        "interface={90F1A06C-7712-4762-86B5-7A5EBA6BDB02} status=0x00000000",
        "start status=0x00000000",
    };
    for (const Record& call : calls)
        record.insert(record.end(), call.begin(), call.end());
    record.emplace_back("release count=0");
    return record;
}

OrvWorkBench64::Record OrvWorkBench64::Call(const std::string& method, const std::string& argument)
{
    return {"execute assembly=\"OrvWorkBench64.dll\" type=\"OrvWorkBench.CInvoke\" method=\"" + method +
            "\" argument=\"" + argument + "\""};
}

OrvWorkBench64::Record OrvWorkBench64::CallWithBreakpoint(const std::string& method, const std::string& argument)
{
    return {Call(method, argument)[0], Call("OrvBreakPoint", "")[0]};
}
