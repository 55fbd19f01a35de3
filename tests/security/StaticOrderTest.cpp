#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/processes/ChildProcess.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <vector>

using testing::Contains;

// What a process traces before its entry function runs and after it has returned, seen by a debugger of it.

namespace
{
// A static object whose place in the order is left to the linker.
class PlainObject
{
public:
    PlainObject() noexcept { Trace(L"%6.0f %s\n", TickMs(), L"PlainObject::PlainObject"); }
    ~PlainObject() { Trace(L"%6.0f %s\n", TickMs(), L"PlainObject::~PlainObject"); }
    PlainObject(const PlainObject&) = delete;
    PlainObject& operator=(const PlainObject&) = delete;
};

PlainObject g_plainObject;

std::wstring ReadDebugString(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& text)
{
    std::vector<char> buffer(text.nDebugStringLength + 2U);
    SIZE_T count = 0;
    ReadProcessMemory(process, text.lpDebugStringData, buffer.data(), text.nDebugStringLength, &count);
    if (text.fUnicode != FALSE)
        return reinterpret_cast<const wchar_t*>(buffer.data());
    const std::string narrow = buffer.data();
    return std::wstring(narrow.begin(), narrow.end());
}

// Runs a role of this program as its debugger. Returns all that it wrote to the debugger output, one line each
// without its time, from the first static object to the last. Throws std::runtime_error unless the role returns 0 in
// time.
std::vector<std::wstring> DebugRole(const std::wstring& role)
{
    wchar_t program[MAX_PATH]{};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring line = L"\"" + std::wstring(program) + L"\" --child-role " + role;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr,
                       &startup, &process) == FALSE)
        throw std::runtime_error("the role cannot be started under a debugger");
    std::vector<std::wstring> lines;
    DWORD exitCode = STILL_ACTIVE;
    DEBUG_EVENT event{};
    while (exitCode == STILL_ACTIVE && WaitForDebugEvent(&event, 30000) != FALSE)
    {
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == OUTPUT_DEBUG_STRING_EVENT)
            lines.push_back(WithoutTime(ReadDebugString(process.hProcess, event.u.DebugString)));
        else if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT)
            exitCode = event.u.ExitProcess.dwExitCode;
        else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT &&
                 event.u.Exception.ExceptionRecord.ExceptionCode != DWORD{EXCEPTION_BREAKPOINT})
            answer = DBG_EXCEPTION_NOT_HANDLED;
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    }
    TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (exitCode != 0)
        throw std::runtime_error("the role did not return 0 in time");
    return lines;
}

// The line's place; the number of lines when it is missing.
size_t Place(const std::vector<std::wstring>& lines, const std::wstring& line)
{
    size_t place = 0;
    while (place < lines.size() && lines[place] != line)
        ++place;
    return place;
}
} // namespace

ORV_CHILD_ROLE(TraceOnce)
{
    Trace(L"%6.0f %s\n", TickMs(), L"role");
    return g_SecManager.BuildObjectName(0xFFFFFFFF, L"E") != nullptr ? 0 : 1;
}

TEST(StaticObjects, TraceBeforeTheEntryFunctionAndAfterIt)
{
    const std::vector<std::wstring> lines = DebugRole(L"TraceOnce");
    const size_t role = Place(lines, L"role\n");
    ASSERT_LT(role, lines.size());

    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(L"EarlyObject::EarlyObject slot of 1\n", lines.front()) << "before the library's own static objects";
    EXPECT_EQ(L"EarlyObject::~EarlyObject slot of 2\n", lines.back()) << "after the library's own static objects";
    EXPECT_LT(Place(lines, L"PlainObject::PlainObject\n"), role);
    EXPECT_GT(Place(lines, L"PlainObject::~PlainObject\n"), role);
    EXPECT_THAT(lines, Contains(L"PlainObject::~PlainObject\n"));
}

TEST(StaticObjects, HoldTheManagerBeforeTheEntryFunction)
{
    if (g_SecManager.RunningUnderWine() == 0)
        GTEST_SKIP() << "on Windows the manager traces nothing when all goes well";
    std::wstring version;
    {
        const TraceCapture trace;
        const CProxySecManager manager;
        version = trace.Lines().at(0);
    }
    ASSERT_EQ(0U, version.find(L"CProxySecManager::LoadStandardFunctions Wine Version "));
    const std::vector<std::wstring> lines = DebugRole(L"TraceOnce");
    EXPECT_GT(Place(lines, version), Place(lines, L"EarlyObject::EarlyObject slot of 1\n"));
    EXPECT_LT(Place(lines, version), Place(lines, L"role\n"));
}
