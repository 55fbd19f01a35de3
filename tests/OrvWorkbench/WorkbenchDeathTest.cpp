#include "tests/OrvWorkbench/WorkbenchFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamedObjects.h"

#include <windows.h>

using contract::Join;
using testing::ElementsAreArray;

// A client that dies, a workbench that dies, and a log that cannot be had. The workbench holds its events and the
// share for whoever comes after the client; a workbench that is started again takes up both as they were left.

namespace
{
// A client that is there until it is killed: it does what it is told, then waits. Arguments: the meeting's name, then
//   nothing    no more
//   lock N     holds the share's mutex N
//   invoke T   signals an invoke with the text T
//   take T     the same, and takes the breakpoint's response
ORV_CHILD_ROLE(ClientToBeKilled)
{
    InProcessClient client;
    client.MakeShareAndWindow();
    const std::wstring task = arguments.size() > 1 ? arguments[1] : L"";
    if (task == L"lock")
        g_pShare->Lock(static_cast<uint32_t>(std::stoul(arguments.at(2))));
    if (task == L"invoke" || task == L"take")
    {
        client.WriteText(arguments.at(2));
        client.Signal(3);
    }
    if (task == L"take")
        client.WaitForMessages(1); // the idle message alone: this client is not told that the workbench is ready
    Meeting(arguments.at(0)).Signal();
    Sleep(INFINITE);
    return 0;
}

// Moves the log's folder elsewhere while it lives.
class LogFolderAway
{
public:
    LogFolderAway() : m_moved(MoveFileW(c_folder, c_elsewhere) != FALSE) {}
    ~LogFolderAway()
    {
        RemoveDirectoryW(c_folder);
        MoveFileW(c_elsewhere, c_folder);
    }
    LogFolderAway(const LogFolderAway&) = delete;
    LogFolderAway& operator=(const LogFolderAway&) = delete;

    bool IsAway() const { return m_moved && !PathExists(c_folder); }

private:
    static constexpr const wchar_t* c_folder = L"c:\\zeph\\logs";
    static constexpr const wchar_t* c_elsewhere = L"c:\\zeph\\logs.away";

    bool m_moved;
};

class WorkbenchDeath : public OrvWorkBench64
{
protected:
    // Starts a client with a task, and waits until the task is done.
    ChildProcess StartClient(ChildProcess::Arguments task)
    {
        const std::wstring name = FreshName(L"killed");
        const Meeting ready(name);
        task.insert(task.begin(), name);
        ChildProcess client = ChildProcess::StartRole(L"ClientToBeKilled", task);
        ready.Wait();
        return client;
    }
    static Lines First(Lines lines, size_t count)
    {
        lines.resize(count);
        return lines;
    }
};

class WorkbenchMutexDeath : public WorkbenchDeath, public testing::WithParamInterface<uint32_t>
{
};
} // namespace

TEST_F(WorkbenchDeath, WaitsOnWhenTheClientDiesBeforeAnyCommand)
{
    Prepare(WorkbenchRuntime::Scripted);
    std::optional<ChildProcess> client(StartClient({}));
    const uint32_t id = client->Id();
    Process().Start(L"workbench " + contract::Hex(id));
    WorkbenchRun::WaitForLogLine(L"CWBEvent::Wait Waiting");
    client->Kill();
    client.reset();
    // Now only the workbench has the events and the share.
    WorkbenchRun::WaitForLogLine(L"CHost::Run Timeout");
    EXPECT_TRUE(Process().IsRunning());

    InProcessClient heir(id);
    heir.MakeShare();
    EXPECT_NE(0U, heir.StoredWindow()) << "the share is the dead client's";
    EXPECT_EQ(8U, (heir.WriteText(L"result=6"), heir.Signal(1), heir.WaitForResponse()));
    heir.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({Call("LoadAssembly", "result=6")})));
}

TEST_F(WorkbenchDeath, FinishesTheCommandDuringWhichTheClientDies)
{
    Prepare(WorkbenchRuntime::Scripted);
    const ChildProcess client = StartClient({L"invoke", L"delay=700;result=10"});
    InProcessClient heir(client.Id());
    heir.MakeShare();
    Start(heir);
    WorkbenchRun::WaitForLogLine(L"CHost::Run Command is Invoke: delay=700;result=10");
    client.Kill();
    WorkbenchRun::WaitForLogLine(L"CHost::Run command succeeded, result = ActionInvokedOk");
    heir.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(heir.IsSignalled(8)) << "the response stays for whoever asks";
    EXPECT_FALSE(heir.IsSignalled(9));
    EXPECT_TRUE(LogIs(Join({StartLines(heir),
                            InvokeWithoutWindow(heir, L"delay=700;result=10", L"succeeded, result = ActionInvokedOk"),
                            StopLines()})));
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({CallWithBreakpoint("Invoke", "delay=700;result=10")})));
}

TEST_F(WorkbenchDeath, FinishesTheCommandBetweenWhoseResponsesTheClientDies)
{
    // The client has taken the breakpoint's response and answered the idle message; the managed breakpoint is still
    // running.
    const EnvironmentVariable breakpoint(L"ORV_SCRIPT_BREAKPOINT", L"delay=1500");
    Prepare(WorkbenchRuntime::Scripted);
    const std::wstring name = FreshName(L"between");
    const Meeting ready(name);
    const ChildProcess client = ChildProcess::StartRole(L"ClientToBeKilled", {name, L"take", L"result=1"});
    // The client signals its command once its share is there; only then may the heir open it.
    InProcessClient heir(client.Id());
    for (int i = 0; i < 600 && !heir.IsSignalled(3); ++i)
        Sleep(50);
    heir.MakeShare();
    Start(heir);
    ready.Wait();
    WorkbenchRun::WaitForLogLine(L"CHost::Breakpoint entering IDLE breakpoint");
    client.Kill();
    EXPECT_EQ(9U, heir.WaitForResponse());
    heir.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_FALSE(heir.IsSignalled(8)) << "the dead client had taken it";
    EXPECT_TRUE(LogIs(Join({StartLines(heir),
                            CommandLines(3, L"result=1", L"failed, result = ActionInvokeFail", heir.StoredWindow()),
                            StopLines()})));
}

TEST_F(WorkbenchDeath, KeepsTheResponseThatTheClientDidNotLiveToTake)
{
    Prepare(WorkbenchRuntime::Scripted);
    const ChildProcess client = StartClient({L"invoke", L"result=2"});
    InProcessClient heir(client.Id());
    heir.MakeShare();
    Start(heir);
    WorkbenchRun::WaitForLogLine(L"CHost::Run command failed, result = ActionLoadAssemblyFail");
    client.Kill();
    // Both responses of that command are still signalled; the heir clears them.
    EXPECT_TRUE(heir.IsSignalled(9));
    heir.Clear(8);
    heir.Clear(9);
    EXPECT_EQ(8U, (heir.WriteText(L"result=6"), heir.Signal(1), heir.WaitForResponse()));
    heir.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(
        LogIs(Join({StartLines(heir),
                    CommandLines(3, L"result=2", L"failed, result = ActionLoadAssemblyFail", heir.StoredWindow()),
                    CommandLines(1, L"result=6", L"succeeded, result = ActionLoadedAssemblyOk", 0), StopLines()})));
}

TEST_P(WorkbenchMutexDeath, OfTheClientHoldsUpNobody)
{
    const uint32_t index = GetParam();
    Prepare(WorkbenchRuntime::Scripted);
    const ChildProcess client = StartClient({L"lock", std::to_wstring(index)});
    InProcessClient heir(client.Id());
    heir.MakeShare();
    // The workbench starts and serves while the mutex is held, and afterwards.
    Start(heir);
    EXPECT_EQ(8U, (heir.WriteText(L"held"), heir.Signal(1), heir.WaitForResponse()));
    EXPECT_EQ(MutexState::Held, MutexStateOf(contract::KernelName(contract::ShareMutexName(heir.Id(), index))))
        << "by the client";
    client.Kill();
    EXPECT_EQ(8U, (heir.WriteText(L"left"), heir.Signal(1), heir.WaitForResponse()));
    // The dead client's mutex is taken over and works as before.
    for (int i = 0; i < 2; ++i)
    {
        g_pShare->Lock(index);
        g_pShare->Unlock(index);
    }
    int32_t tindex = -1;
    EXPECT_TRUE(g_pShare->AddThread(&tindex, 7, L"", L"after"));
    EXPECT_TRUE(g_pShare->Record(tindex, 2));
    EXPECT_TRUE(g_pShare->RemoveThread(tindex, true));
    heir.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(LogIs(Join({StartLines(heir), CommandLines(1, L"held", L"succeeded, result = ActionSuccess", 0),
                            CommandLines(1, L"left", L"succeeded, result = ActionSuccess", 0), StopLines()})));
}

INSTANTIATE_TEST_SUITE_P(WhileHolding, WorkbenchMutexDeath, testing::Range(0U, 7U));

TEST_F(WorkbenchDeath, LeavesACompleteLogAndAShareThatTheNextOneServes)
{
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(1, L"result=6; first"));
    m_client.WriteText(L"delay=60000");
    m_client.Signal(3);
    WorkbenchRun::WaitForLogLine(L"CHost::Run Command is Invoke: delay=60000");
    Process().Kill();
    EXPECT_TRUE(LogIs(Join({StartLines(),
                            CommandLines(1, L"result=6; first", L"succeeded, result = ActionLoadedAssemblyOk"),
                            WaitLines(L"EV_INVOKE"),
                            {L"CHost::Run Command is Invoke: delay=60000"}})));
    EXPECT_FALSE(m_client.IsSignalled(3)) << "the command was taken";
    EXPECT_FALSE(m_client.IsSignalled(8)) << "but not answered";
    EXPECT_FALSE(m_client.IsSignalled(9));

    Start();
    m_client.WaitForMessages(2); // ready, twice
    EXPECT_EQ(9U, m_client.Carry(3, L"result=1; second"));
    EXPECT_EQ(8U, m_client.Carry(7, L"result=5; third"));
    Stop();
    EXPECT_TRUE(LogIs(Join({StartLines(), CommandLines(3, L"result=1; second", L"failed, result = ActionInvokeFail"),
                            CommandLines(7, L"result=5; third", L"succeeded, result = ActionSuccess"), StopLines()})))
        << "a log of its own";
}

TEST_F(WorkbenchDeath, AtTheBreakpointLeavesItsSuccessToTheClient)
{
    const EnvironmentVariable breakpoint(L"ORV_SCRIPT_BREAKPOINT", L"delay=60000");
    m_client.WhenIdle({});
    StartServing(WorkbenchRuntime::Scripted);
    m_client.WriteText(L"result=1");
    m_client.Signal(3);
    WorkbenchRun::WaitForLogLine(L"CHost::Breakpoint entering IDLE breakpoint");
    Process().Kill();
    EXPECT_TRUE(LogIs(Join({StartLines(),
                            WaitLines(L"EV_INVOKE"),
                            {L"CHost::Run Command is Invoke: result=1"},
                            First(BreakpointLines(), 7)})));
    EXPECT_TRUE(m_client.IsSignalled(8));
    EXPECT_FALSE(m_client.IsSignalled(9)) << "there is no outcome";

    Start();
    m_client.WaitForMessages(3);
    EXPECT_TRUE(m_client.IsSignalled(8)) << "a start resets nothing";
    m_client.Clear(8);
    EXPECT_EQ(9U, m_client.Carry(1, L"result=2"));
    Stop();
    EXPECT_TRUE(LogIs(
        Join({StartLines(), CommandLines(1, L"result=2", L"failed, result = ActionLoadAssemblyFail"), StopLines()})));
}

TEST_F(WorkbenchDeath, ACommandThatNobodyTookIsTakenByTheNextOne)
{
    StartServing(WorkbenchRuntime::Scripted);
    Process().Kill();
    m_client.WriteText(L"result=10");
    m_client.Signal(4);
    EXPECT_TRUE(m_client.IsSignalled(4));
    Start();
    EXPECT_EQ(8U, m_client.WaitForResponse());
    Stop();
    EXPECT_TRUE(LogIs(
        Join({StartLines(), CommandLines(4, L"result=10", L"succeeded, result = ActionInvokedOk"), StopLines()})));
}

TEST_F(WorkbenchDeath, InTheRuntimeEndsTheProcessWithWhatItSaid)
{
    StartServing(WorkbenchRuntime::Scripted);
    m_client.WriteText(L"exit=77");
    m_client.Signal(1);
    EXPECT_EQ(77U, Process().WaitForExit());
    EXPECT_TRUE(LogIs(Join({StartLines(), WaitLines(L"EV_LOAD"), {L"CHost::Run Command is Load: exit=77"}})));
    EXPECT_FALSE(m_client.IsSignalled(8));
    EXPECT_FALSE(m_client.IsSignalled(9));
    Start();
    m_client.WaitForMessages(2);
    EXPECT_EQ(8U, m_client.Carry(1, L"result=6"));
    Stop();
}

// The log

TEST_F(WorkbenchDeath, TheLogIsWrittenWhileAReaderHasItOpen)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    WriteFileBytes(WorkbenchRun::c_logPath, "the log of an earlier run, longer than nothing");
    const UniqueHandle reader =
        UniqueHandle::FromFile(CreateFileW(WorkbenchRun::c_logPath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                           nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(reader);
    Start();
    m_client.WaitForMessages(1);
    EXPECT_EQ(8U, m_client.Carry(1, L"x"));
    Stop();
    EXPECT_TRUE(
        LogIs(Join({StartLines(), CommandLines(1, L"x", L"succeeded, result = ActionSuccess"), StopLines()})));
    char start[2]{};
    DWORD read = 0;
    EXPECT_TRUE(ReadFile(reader.Get(), start, 2, &read, nullptr));
    EXPECT_EQ("\xFF\xFE", std::string(start, read)) << "the reader sees the same file";
}

TEST_F(WorkbenchDeath, WithoutALogFolderTheWorkbenchServes)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    const LogFolderAway away;
    ASSERT_TRUE(away.IsAway());
    Start();
    m_client.WaitForMessages(1);
    EXPECT_EQ(8U, m_client.Carry(3, L"x"));
    EXPECT_EQ(9U, m_client.Carry(1, L"result=2"));
    Stop();
    EXPECT_TRUE(away.IsAway()) << "the folder is not made";
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({CallWithBreakpoint("Invoke", "x"), Call("LoadAssembly", "result=2")})));
}

TEST_F(WorkbenchDeath, AReadOnlyLogStaysAndTheWorkbenchServes)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    WriteFileBytes(WorkbenchRun::c_logPath, "kept");
    ASSERT_TRUE(SetFileAttributesW(WorkbenchRun::c_logPath, FILE_ATTRIBUTE_READONLY));
    // Wine turns the attribute into a permission of the file, which does not stop root.
    const bool isWritable = static_cast<bool>(
        UniqueHandle::FromFile(CreateFileW(WorkbenchRun::c_logPath, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                           nullptr, OPEN_EXISTING, 0, nullptr)));
    Start();
    m_client.WaitForMessages(1);
    EXPECT_EQ(8U, m_client.Carry(3, L"x"));
    Stop();
    if (isWritable)
    {
        EXPECT_TRUE(
            LogIs(Join({StartLines(), CommandLines(3, L"x", L"succeeded, result = ActionSuccess"), StopLines()})));
    }
    else
    {
        EXPECT_TRUE(WorkbenchRun::LogBytes() == "kept");
    }
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({CallWithBreakpoint("Invoke", "x")})));
}

TEST_F(WorkbenchDeath, AFolderInTheLogsPlaceStaysAndTheWorkbenchServes)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    ASSERT_TRUE(CreateDirectoryW(WorkbenchRun::c_logPath, nullptr));
    Start();
    m_client.WaitForMessages(1);
    EXPECT_EQ(8U, m_client.Carry(3, L"x"));
    Stop();
    EXPECT_TRUE(RemoveDirectoryW(WorkbenchRun::c_logPath)) << "still an empty folder";
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({CallWithBreakpoint("Invoke", "x")})));
}
