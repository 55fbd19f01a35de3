#include "tests/OrvWorkbench/WorkbenchFixture.h"

#include <windows.h>

#include <algorithm>
#include <ostream>

const CommandCase c_commandCases[7] = {
    {1, L"EV_LOAD", L"Load", "LoadAssembly", true, false}, {2, L"EV_CREATE", L"Create", "CreateType", true, true},
    {3, L"EV_INVOKE", L"Invoke", "Invoke", true, true},    {4, L"EV_DELETE", L"Delete", "Delete", true, false},
    {5, L"EV_RESET", L"Reset", "Reset", false, false},     {6, L"EV_SUCCESS", L"Get", "GetProperty", true, true},
    {7, L"EV_FAILED", L"Set", "SetProperty", true, true},
};

namespace
{
std::wstring PointerText(uint64_t value)
{
    std::wstring text;
    for (int shift = 60; shift >= 0; shift -= 4)
        text += L"0123456789ABCDEF"[value >> shift & 15];
    return text;
}

bool StandsFor(const std::wstring& expected, const std::wstring& anyText, const std::wstring& line)
{
    const size_t prefix = expected.size() - std::min(expected.size(), anyText.size());
    if (expected.compare(prefix, std::wstring::npos, anyText) != 0)
        return false;
    return line.size() > prefix && line.compare(0, prefix, expected, 0, prefix) == 0;
}
} // namespace

void PrintTo(const CommandCase& command, std::ostream* stream)
{
    *stream << command.method;
}

void PrintTo(const WindowMessage& message, std::ostream* stream)
{
    *stream << std::hex << message.message << std::dec << (message.sent ? " sent" : " posted") << " ("
            << message.wParam << ", " << message.lParam << ")" << (message.success ? ", success signalled" : "")
            << (message.failed ? ", failed signalled" : "");
}

void Workbench::StartServing(WorkbenchRuntime runtime)
{
    m_client.MakeShareAndWindow();
    Prepare(runtime);
    Start();
    m_client.WaitForMessages(1);
}

void Workbench::Stop()
{
    m_client.Stop();
    EXPECT_EQ(1U, m_process->WaitForExit());
}

Workbench::Lines Workbench::Join(std::initializer_list<Lines> parts)
{
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Workbench::Lines Workbench::EventLines(const std::wstring& hexId)
{
    Lines lines;
    for (const wchar_t* name :
         {L"EV_STOP", L"EV_LOAD", L"EV_CREATE", L"EV_INVOKE", L"EV_DELETE", L"EV_RESET", L"EV_SUCCESS", L"EV_FAILED",
          L"EV_BREAKPOINT", L"EV_PROPERTY_GET", L"EV_PROPERTY_SET"})
        lines.push_back(L"CProxySecManager::OrvPCreateEvent CreateEvent " + TestClient::KernelName(name + hexId) +
                        L" succeeded ");
    return lines;
}

Workbench::Lines Workbench::LoadedLines()
{
    return {L"CHost::CHost Executing CorBindToRuntimeEx", L"CHost::CHost Loaded Runtime"};
}

Workbench::Lines Workbench::ArgumentLines() const
{
    return {L"wmain  arg 0 = " + m_process->ProgramPath(), L"wmain  arg 1 = workbench",
            L"wmain  arg 2 = " + m_client.HexId()};
}

Workbench::Lines Workbench::OpenedShareLines(const std::wstring& shareName, const std::wstring& hexId)
{
    return Join(
        {{L"CProxyShare::Create Size of Share is 116197744 bytes", L"CProxyMap::OpenMap Open Map Name: " + shareName},
         MutexLines(shareName),
         {L"CHost::Init Opened share for pid = " + hexId}});
}

Workbench::Lines Workbench::MutexLines(const std::wstring& shareName)
{
    Lines lines;
    for (const wchar_t* index : {L"_0", L"_1", L"_2", L"_3", L"_4", L"_5", L"_6"})
        lines.push_back(L"CProxySecManager::OrvPCreateMutex Create Mutex " +
                        TestClient::KernelName(shareName + index));
    return lines;
}

std::wstring Workbench::WindowLine(uint64_t window)
{
    return L"CHost::Run Zeph window is " + PointerText(window);
}

Workbench::Lines Workbench::StartLines() const
{
    return Join({EventLines(m_client.HexId()),
                 LoadedLines(),
                 ArgumentLines(),
                 OpenedShareLines(m_client.ShareName(), m_client.HexId()),
                 {WindowLine(m_client.Window())}});
}

Workbench::Lines Workbench::WaitLines(const std::wstring& eventName)
{
    return {L"CHost::Run Sleeping", L"", L"CWBEvent::Wait Waiting", L"", L"CWBEvent::Wait Event is " + eventName};
}

Workbench::Lines Workbench::BreakpointLines(uint64_t window)
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

Workbench::Lines Workbench::CommandLines(unsigned slot, const std::wstring& text, const std::wstring& outcome,
                                         uint64_t window)
{
    const CommandCase& command = c_commandCases[slot - 1];
    return Join({WaitLines(command.eventName),
                 {L"CHost::Run Command is " + std::wstring(command.word) + L": " + text},
                 command.breaks ? BreakpointLines(window) : Lines{},
                 {L"CHost::Run command " + outcome}});
}

Workbench::Lines Workbench::StopLines()
{
    return Join({WaitLines(L"EV_STOP"), {L"CHost::Run Stopping", L""}, ExitLines()});
}

Workbench::Lines Workbench::ExitLines()
{
    return {L"CHost::Run WorkBench Exiting", L""};
}

Workbench::Lines Workbench::SystemText(unsigned error)
{
    wchar_t text[1024]{};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text, 1024,
                   nullptr);
    // The text's own line end stands in the log before that of the line, and its carriage return twice.
    std::wstring line = text;
    line.erase(line.find(L'\n'));
    return {line, L""};
}

testing::AssertionResult Workbench::LogIs(const Lines& expected)
{
    const Lines log = TestWorkbench::Log();
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

Workbench::Record Workbench::RecordOf(std::initializer_list<Record> calls)
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

Workbench::Record Workbench::Call(const std::string& method, const std::string& argument)
{
    return {"execute assembly=\"OrvWorkBench64.dll\" type=\"OrvWorkBench.CInvoke\" method=\"" + method +
            "\" argument=\"" + argument + "\""};
}

Workbench::Record Workbench::CallWithBreakpoint(const std::string& method, const std::string& argument)
{
    return {Call(method, argument)[0], Call("OrvBreakPoint", "")[0]};
}
