// Attaching to a workbench that does what the test tells it to, and whose messages go elsewhere. The share is this
// test's. The system has room for one listener to the debugger output, and an attached client is one.

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace
{
struct Result
{
    int status;
    std::string output;
    std::string errors;
};

class ClientAttach : public testing::Test
{
protected:
    ClientAttach() { EXPECT_TRUE(m_share.Create(m_clientId)); }

    ChildProcess StartFake(const wchar_t* steps) const
    {
        SetEnvironmentVariableW(L"ORV_FAKE", steps);
        const std::wstring program = BuildFolder(L"tests\\fake") + L"\\OrvWorkBench64.exe";
        return ChildProcess::Start(program, L"\"" + program + L"\" workbench " + FormatSlot(L"%x", m_clientId));
    }

    static Result Attach(const ChildProcess& workbench, std::vector<std::wstring> arguments)
    {
        arguments.insert(arguments.begin(), {L"--attach", std::to_wstring(workbench.Id())});
        ClientRun::Setup setup;
        setup.arguments = arguments;
        const ClientRun run(setup);
        const int status = run.Wait();
        return {status, Masked(run.Output()), run.Errors()};
    }

    // The workbench reads it as a signed number.
    const unsigned m_clientId = FreshId() & 0x7FFFFFFF;
    CProxyShare m_share;
};
} // namespace

TEST_F(ClientAttach, SecondResponseIsTheCommandsOwn)
{
    const ChildProcess workbench = StartFake(L"wait;set=8;sleep=500;set=9;wait;set=8;sleep=50000");
    const Result result = Attach(workbench, {L"-k", L"invoke x", L"load y"});
    EXPECT_EQ("workbench # attached, client id #\n"
              "> invoke x\n"
              "    response success\n"
              "    response failed\n"
              "  failed after # ms\n"
              "> load y\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "workbench left running\n",
              result.output);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(1, result.status);
    EXPECT_TRUE(workbench.IsRunning());
}

// The client sees one success where the workbench has set two: the trace tells that the second one was set.
TEST_F(ClientAttach, TraceTellsTheEndWhenBothResponsesFellTogether)
{
    const ChildProcess workbench = StartFake(L"wait;trace=    1 CHost::Run Command is Invoke: x;set=8;"
                                             L"trace=    2 CHost::Run command succeeded, result = ActionSuccess;"
                                             L"trace=    3 CHost::Run Sleeping;sleep=50000");
    const Result result = Attach(workbench, {L"--timeout", L"30", L"invoke x"});
    EXPECT_THAT(result.output, HasSubstr("> invoke x\n"
                                         "    response success\n"
                                         "    response success\n"
                                         "  succeeded after # ms, result 5 ActionSuccess\n"
                                         "workbench left running\n"));
    EXPECT_EQ(0, result.status);
}

TEST_F(ClientAttach, TraceOfAFailureCountsAsOne)
{
    const ChildProcess workbench = StartFake(L"wait;trace=    1 CHost::Run Command is Get: x;set=8;"
                                             L"trace=    2 CHost::Run command failed, result = ActionFail;"
                                             L"trace=    3 CHost::Run Sleeping;sleep=50000");
    const Result result = Attach(workbench, {L"--timeout", L"30", L"get x"});
    EXPECT_THAT(result.output, HasSubstr("    response success\n"
                                         "    response failed\n"
                                         "  failed after # ms, result 4 ActionFail\n"));
    EXPECT_EQ(1, result.status);
}

// The line that names the result comes before the response, but its listener may be late.
TEST_F(ClientAttach, TraceTellsWhatWasNotFoundAndWhatRaised)
{
    const ChildProcess workbench =
        StartFake(L"wait;trace=    1 CHost::Run Command is Load: x;set=8;sleep=100;"
                  L"trace=    2 CHost::Run command succeeded, result = ActionAssemblyNotFound;"
                  L"wait;trace=    1 CHost::Run Command is Load: y;"
                  L"trace=    2 CHost::Run command succeeded, result = Exception;set=8;"
                  L"wait;trace=    1 CHost::Run Command is Load: z;"
                  L"trace=    2 CHost::Run command failed, result = unknown result 77;set=9;sleep=50000");
    const Result result = Attach(workbench, {L"-k", L"load x", L"load y", L"load z"});
    EXPECT_EQ("workbench # attached, client id #\n"
              "> load x\n"
              "    response success\n"
              "  not found after # ms, result 11 ActionAssemblyNotFound\n"
              "> load y\n"
              "    response success\n"
              "  exception raised after # ms, result 13 Exception\n"
              "> load z\n"
              "    response failed\n"
              "  failed after # ms\n"
              "workbench left running\n",
              result.output);
    EXPECT_EQ(1, result.status);
}

TEST_F(ClientAttach, TraceOfAnEarlierCommandEndsNothing)
{
    const ChildProcess workbench = StartFake(L"wait;trace=    2 CHost::Run command succeeded, result = ActionSuccess;"
                                             L"trace=    3 CHost::Run Sleeping;set=8;sleep=50000");
    const Result result = Attach(workbench, {L"--timeout", L"3", L"invoke x"});
    EXPECT_THAT(result.output, HasSubstr("  timed out after # ms\n"
                                         "workbench left running\n"));
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: no final response in time; the workbench is left as it is\n"));
    EXPECT_EQ(4, result.status);
    EXPECT_TRUE(workbench.IsRunning());
}

// The system has room for one: the first of two that are attached.
TEST_F(ClientAttach, WithoutTheDebuggerOutputTheResponseDecides)
{
    const ChildProcess workbench = StartFake(L"wait;trace=    1 CHost::Run Command is Load: x;"
                                             L"trace=    2 CHost::Run command succeeded, result = Exception;set=8;"
                                             L"wait;trace=    1 CHost::Run Command is Get: x;set=8;"
                                             L"trace=    2 CHost::Run command succeeded, result = ActionSuccess;"
                                             L"trace=    3 CHost::Run Sleeping;sleep=50000");
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", std::to_wstring(workbench.Id())};
    setup.keepsInputOpen = true;
    const ClientRun listener(setup);
    listener.AwaitOutput(" attached");
    const Result result = Attach(workbench, {L"--timeout", L"3", L"load x", L"get x"});
    EXPECT_EQ("workbench # attached, client id #\n"
              "> load x\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> get x\n"
              "    response success\n"
              "  timed out after # ms\n"
              "workbench left running\n",
              result.output);
    EXPECT_EQ(4, result.status);
}

TEST_F(ClientAttach, JsonSaysSo)
{
    const ChildProcess workbench = StartFake(L"wait;set=8;sleep=50000");
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", std::to_wstring(workbench.Id()), L"--json", L"load x"};
    const ClientRun run(setup);
    EXPECT_EQ(0, run.Wait());
    EXPECT_EQ("{\"type\":\"attached\",\"workbench\":#,\"client\":\"#\"}\n"
              "{\"type\":\"command\",\"command\":\"load\",\"text\":\"x\",\"happenings\":[{\"response\":\"success\"}],"
              "\"outcome\":\"succeeded\",\"elapsedMs\":#}\n"
              "{\"type\":\"left\"}\n",
              Masked(run.Output()));
}

TEST_F(ClientAttach, StopEndsTheWorkbench)
{
    const ChildProcess workbench = StartFake(L"wait");
    const Result result = Attach(workbench, {L"stop"});
    EXPECT_EQ("workbench # attached, client id #\n"
              "> stop\n"
              "  succeeded after # ms\n"
              "workbench ended with exit code 1\n",
              result.output);
    EXPECT_EQ(0, result.status);
}

TEST_F(ClientAttach, DeathOfTheWorkbenchIsNoticed)
{
    const ChildProcess workbench = StartFake(L"wait;exit=5");
    const Result result = Attach(workbench, {L"load x"});
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: the workbench ended before its final response\n"
                                         "  its exit code is 5: it was ended in the call, as by Environment.Exit\n"));
    EXPECT_EQ(3, result.status);
}

TEST_F(ClientAttach, StartIsRefused)
{
    const ChildProcess workbench = StartFake(L"wait;set=8;sleep=50000");
    const Result result = Attach(workbench, {L"start"});
    EXPECT_THAT(result.errors, HasSubstr("this session is attached"));
    EXPECT_EQ(2, result.status);
}

// This test, which has started it, is no such client.
TEST_F(ClientAttach, ValuesAreShownOnlyWhereTheDispatcherTells)
{
    const ChildProcess workbench = StartFake(L"wait;set=8;sleep=50000");
    const Result result = Attach(workbench, {L"show t.X"});
    EXPECT_EQ("OrvClient: values are shown by a workbench that such a client has started\n", result.errors);
    EXPECT_EQ(2, result.status);
}

TEST_F(ClientAttach, GivenClientIdIsTakenForTheOneOnTheCommandLine)
{
    const ChildProcess workbench = StartFake(L"wait;set=8;sleep=50000");
    const Result other = Attach(workbench, {L"--client", FormatSlot(L"%x", FreshId()), L"load x"});
    EXPECT_THAT(other.errors, HasSubstr("OrvClient: there is no share for client "));
    EXPECT_EQ(3, other.status);
    const Result same = Attach(workbench, {L"--client", FormatSlot(L"%x", m_clientId), L"load x"});
    EXPECT_EQ(0, same.status);
}

TEST(ClientAttachRefusal, ProcessThatIsNotThere)
{
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", L"4294967292", L"load x"};
    const ClientRun run(setup);
    EXPECT_EQ(3, run.Wait());
    EXPECT_EQ("OrvClient: there is no process 4294967292, or it cannot be looked at\n", run.Errors().substr(0, 69));
}

TEST(ClientAttachRefusal, ProcessThatIsNoWorkbench)
{
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", std::to_wstring(GetCurrentProcessId()), L"load x"};
    const ClientRun run(setup);
    const int status = run.Wait();
    EXPECT_THAT(run.Errors(),
                testing::AnyOf(HasSubstr("is no workbench"), HasSubstr("there is no share for client")));
    EXPECT_THAT(status, testing::AnyOf(2, 3));
}
