// What the client's parts make of system calls that fail.

#include "client/base/ClientError.h"
#include "client/log/DebugOutput.h"
#include "client/log/LogFollower.h"
#include "client/process/OutputPipe.h"
#include "client/process/RunningWorkbench.h"
#include "client/process/WorkbenchProcess.h"
#include "client/session/NotifyWindow.h"
#include "client/session/Session.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/client/ClientFailure.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{
class NoObserver final : public SessionObserver
{
public:
    void OnHappening(const Happening&) override {}
};

std::wstring FakeProgram()
{
    return BuildFile(L"tests\\fake\\OrvWorkBench64.exe");
}

// Starts the fake workbench as the client would, and expects that it fails and leaves no handle open.
std::wstring FailureOfStart()
{
    SetEnvironmentVariableW(L"ORV_FAKE", L"sleep=50000");
    const OutputPipe output;
    const auto start = [&] { WorkbenchProcess::Start(FakeProgram(), 1, output.WriteEnd()); };
    FailureOf(start); // what the system keeps from a first use is no leak
    const unsigned handles = OpenHandleCount();
    const auto failure = FailureOf(start);
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(3, failure.second);
    return failure.first;
}
} // namespace

TEST(ClientErrors, SystemsTextAndNumberAreTold)
{
    // The text is the system's own, and has no line end here.
    const std::wstring known = SystemFailure(L"it", ERROR_FILE_NOT_FOUND);
    EXPECT_THAT(known, StartsWith(L"it: "));
    EXPECT_THAT(known, EndsWith(L" (error 2)"));
    EXPECT_EQ(std::wstring::npos, known.find_first_of(L"\r\n"));
    EXPECT_EQ(L"it: the system has no text for it (error 305419896)", SystemFailure(L"it", 0x12345678));
}

TEST(ClientErrors, WindowThatCannotBeMade)
{
    const FailingCall<decltype(CreateWindowExW)> create("CreateWindowExW", ERROR_NOT_ENOUGH_MEMORY);
    const auto failure = FailureOf([] { NotifyWindow([](uint32_t) {}); });
    EXPECT_THAT(failure.first, StartsWith(L"the notification window cannot be made: "));
    EXPECT_THAT(failure.first, HasSubstr(L"(error 8)"));
    EXPECT_EQ(3, failure.second);
}

TEST(ClientErrors, PipeThatCannotBeMade)
{
    const Redirect<decltype(CreateNamedPipeW)> create(
        "CreateNamedPipeW", [](LPCWSTR, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, LPSECURITY_ATTRIBUTES) -> HANDLE {
            SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        });
    const auto failure = FailureOf([] { OutputPipe(); });
    EXPECT_THAT(failure.first, StartsWith(L"the output pipe cannot be made: "));
    EXPECT_THAT(failure.first, HasSubstr(L"(error 5)"));
    EXPECT_EQ(3, failure.second);
    ExpectNothingLeaks([] { FailureOf([] { OutputPipe(); }); });
}

TEST(ClientErrors, PipeWithoutAWriteEnd)
{
    const Redirect<decltype(CreateFileW)> open(
        "CreateFileW", [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            SetLastError(ERROR_PIPE_BUSY);
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_THAT(FailureOf([] { OutputPipe(); }).first, HasSubstr(L"(error 231)"));
    ExpectNothingLeaks([] { FailureOf([] { OutputPipe(); }); });
}

TEST(ClientErrors, PipeThatCannotBeReadHasEnded)
{
    OutputPipe pipe;
    DWORD written = 0;
    WriteFile(pipe.WriteEnd(), "x", 1, &written, nullptr);
    const FailingCall<decltype(GetOverlappedResult)> result("GetOverlappedResult", ERROR_BROKEN_PIPE);
    EXPECT_EQ("", pipe.Take());
    EXPECT_FALSE(pipe.IsOpen());
}

TEST(ClientErrors, WorkbenchIsNotStartedWithoutItsJob)
{
    {
        const FailingCall<decltype(CreateJobObjectW)> create("CreateJobObjectW", ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_THAT(FailureOfStart(), StartsWith(L"the job that ties the workbench to this client cannot be made: "));
    }
    const FailingCall<decltype(SetInformationJobObject)> set("SetInformationJobObject", ERROR_INVALID_PARAMETER);
    EXPECT_THAT(FailureOfStart(), HasSubstr(L"(error 87)"));
}

TEST(ClientErrors, WorkbenchIsNotStartedWithoutChoiceOfItsHandles)
{
    const FailingCall<decltype(UpdateProcThreadAttribute)> update("UpdateProcThreadAttribute", ERROR_NOT_SUPPORTED);
    EXPECT_THAT(FailureOfStart(), StartsWith(L"the handles of the workbench cannot be chosen: "));
}

TEST(ClientErrors, WorkbenchThatCannotBeStarted)
{
    const FailingCall<decltype(CreateProcessW)> create("CreateProcessW", ERROR_BAD_EXE_FORMAT);
    const std::wstring failure = FailureOfStart();
    EXPECT_THAT(failure, StartsWith(FakeProgram() + L" cannot be started: "));
    EXPECT_THAT(failure, HasSubstr(L"(error 193)"));
}

TEST(ClientErrors, WorkbenchThatCannotBeTiedIsEndedAgain)
{
    static DWORD processId;
    processId = 0;
    const Redirect<decltype(AssignProcessToJobObject)> assign("AssignProcessToJobObject",
                                                              [](HANDLE, HANDLE process) -> BOOL {
                                                                  processId = GetProcessId(process);
                                                                  SetLastError(ERROR_ACCESS_DENIED);
                                                                  return FALSE;
                                                              });
    EXPECT_THAT(FailureOfStart(), StartsWith(L"the workbench cannot be tied to this client: "));
    ASSERT_NE(0U, processId);
    AwaitProcessEnd(processId);
    EXPECT_FALSE(IsProcessRunning(processId));
}

TEST(ClientErrors, ProcessThatCannotBeOpened)
{
    const FailingCall<decltype(OpenProcess)> open("OpenProcess", ERROR_ACCESS_DENIED);
    const auto failure = FailureOf([] { WorkbenchProcess::Attach(GetCurrentProcessId()); });
    EXPECT_THAT(failure.first, HasSubstr(L" cannot be opened: "));
    EXPECT_EQ(3, failure.second);
    EXPECT_EQ(3, FailureOf([] { FindWorkbench(GetCurrentProcessId(), std::nullopt); }).second);
}

TEST(ClientErrors, ClientIdThatIsGivenIsNotLookedUp)
{
    const FailingCall<decltype(OpenProcess)> open("OpenProcess", ERROR_ACCESS_DENIED);
    const RunningWorkbench found = FindWorkbench(0x1234, 0xABC);
    EXPECT_EQ(0x1234U, found.processId);
    EXPECT_EQ(0xABCU, found.clientId);
    EXPECT_TRUE(open.Calls().empty());
}

// Sessions

class ClientSessionErrors : public testing::Test
{
protected:
    const UniqueHandle m_interrupt{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    NoObserver m_observer;
    const TimeLimits m_limits;
};

TEST_F(ClientSessionErrors, EventsThatCannotBeOpened)
{
    const FailingCall<decltype(OpenEventW)> open("OpenEventW", ERROR_ACCESS_DENIED);
    const auto failure = FailureOf([&] { Session(FreshId(), m_limits, m_observer, m_interrupt.Get()); });
    EXPECT_THAT(failure.first, StartsWith(L"the workbench's events cannot be opened: "));
    EXPECT_EQ(3, failure.second);
}

TEST_F(ClientSessionErrors, ShareThatCannotBeMade)
{
    Session session(FreshId(), m_limits, m_observer, m_interrupt.Get());
    const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_NOT_ENOUGH_MEMORY);
    const auto failure = FailureOf([&] { session.Start(FakeProgram()); });
    EXPECT_EQ(L"the share cannot be made; the debugger output tells why", failure.first);
    EXPECT_EQ(3, failure.second);
    EXPECT_FALSE(session.IsRunning());
}

TEST_F(ClientSessionErrors, ShareThatSomebodyElseUsesIsLeftAlone)
{
    const uint32_t clientId = FreshId();
    const UniqueHandle others(
        g_SecManager.OrvPCreateFileMapping(g_SecManager.GetSessionForProcess(clientId), INVALID_HANDLE_VALUE, nullptr,
                                           PAGE_READWRITE, 0, 116197744, FormatSlot(L"OrvProfiler%8.8x", clientId)));
    ASSERT_TRUE(others);
    Session session(clientId, m_limits, m_observer, m_interrupt.Get());
    // Not at the second try either.
    for (int i = 0; i < 2; ++i)
    {
        const auto failure = FailureOf([&] { session.Start(FakeProgram()); });
        EXPECT_THAT(failure.first, StartsWith(L"another program uses the share of this client's process id"));
        EXPECT_EQ(3, failure.second);
    }
}

TEST_F(ClientSessionErrors, CommandsNeedAWorkbench)
{
    Session session(FreshId(), m_limits, m_observer, m_interrupt.Get());
    EXPECT_EQ(L"no workbench is running", FailureOf([&] { session.Execute(ParseCommand(L"load x")); }).first);
    EXPECT_EQ(Outcome::Succeeded, session.Stop().outcome);
    EXPECT_FALSE(session.WorkbenchExitCode().has_value());
}

TEST_F(ClientSessionErrors, InterruptBeforeTheWorkbenchIsReady)
{
    SetEnvironmentVariableW(L"ORV_FAKE", L"sleep=50000");
    Session session(FreshId() & 0x7FFFFFFF, m_limits, m_observer, m_interrupt.Get());
    session.Start(FakeProgram());
    EXPECT_EQ(L"the workbench is running already", FailureOf([&] { session.Start(FakeProgram()); }).first);
    SetEvent(m_interrupt.Get());
    const auto failure = FailureOf([&] { session.AwaitReady(); });
    EXPECT_EQ(L"interrupted before the workbench was ready", failure.first);
    EXPECT_EQ(5, failure.second);
}

// The trace log

TEST(ClientLogErrors, FileIsNotReadWhereTheWorkbenchCannotWriteIt)
{
    EXPECT_TRUE(LogFollower::CanReadFile());
    const Redirect<decltype(_wfopen_s)> open("_wfopen_s", [](FILE** file, const wchar_t*, const wchar_t*) -> errno_t {
        *file = nullptr;
        return ENOENT;
    });
    EXPECT_FALSE(LogFollower::CanReadFile());
}

TEST(ClientLogErrors, FileIsNotReadWhereItsWriterKeepsItForItself)
{
    const Redirect<decltype(CreateFileW)> open(
        "CreateFileW", [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            SetLastError(ERROR_SHARING_VIOLATION);
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_FALSE(LogFollower::CanReadFile());
}

TEST(ClientLogErrors, LogThatCannotBeReadAfterAllIsTold)
{
    const Redirect<decltype(CreateFileW)> open(
        "CreateFileW", [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            SetLastError(ERROR_SHARING_VIOLATION);
            return INVALID_HANDLE_VALUE;
        });
    std::vector<std::wstring> lines;
    LogFollower follower([&](const std::wstring& line) { lines.push_back(line); }, true);
    follower.Begin(GetCurrentProcessId(), LogFollower::From::Start);
    follower.Finish();
    EXPECT_THAT(lines, testing::ElementsAre(L"(the workbench writes no trace log that can be read)"));
}

TEST(ClientLogErrors, OnlyTheFollowedProcessIsHeard)
{
    std::vector<std::wstring> lines;
    LogFollower follower([&](const std::wstring& line) { lines.push_back(line); }, false);
    follower.OnDebugText(1, "early\n");
    follower.OnDebugText(2, "other\n");
    follower.OnDebugText(1, "\n");
    follower.Begin(1, LogFollower::From::Start);
    follower.OnDebugText(2, "other\n");
    follower.OnDebugText(1, "late\n");
    follower.Finish();
    EXPECT_THAT(lines, testing::ElementsAre(L"early", L"late"));
}

TEST(ClientLogErrors, AttachedFollowerShowsNothingOld)
{
    std::vector<std::wstring> lines;
    LogFollower follower([&](const std::wstring& line) { lines.push_back(line); }, false);
    follower.OnDebugText(1, "early\n");
    follower.Begin(1, LogFollower::From::Now);
    follower.OnDebugText(1, "late\n");
    EXPECT_THAT(lines, testing::ElementsAre(L"late"));
}

TEST(ClientLogErrors, ListenerWithoutItsObjectsDoesNotListen)
{
    {
        const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_ACCESS_DENIED);
        EXPECT_FALSE(DebugOutput([](uint32_t, const std::string&) {}).IsListening());
    }
    const FailingCall<decltype(CreateEventW)> create("CreateEventW", ERROR_ACCESS_DENIED);
    const DebugOutput output([](uint32_t, const std::string&) {});
    EXPECT_FALSE(output.IsListening());
    // Whoever prints finds no half of a listener. Another test's process may just have opened what was there.
    const auto isThere = [] {
        return static_cast<bool>(UniqueHandle(OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER")));
    };
    for (int i = 0; i < 100 && isThere(); ++i)
        Sleep(50);
    EXPECT_FALSE(isThere());
}
