// What the client makes of a workbench, played by one that does what the test tells it to.

#include "OrvProfiler/ProxyShare.h"
#include "OrvProfiler/Trace.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ClientRun.h"
#include "tests/support/SystemProbe.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::HasSubstr;
using testing::Not;

namespace
{
struct Result
{
    int status;
    std::string output;
    std::string errors;
};

const std::wstring& FakeFolder()
{
    static const std::wstring folder = BuildFile(L"tests\\fake");
    return folder;
}

ClientRun::Setup FakeSetup(const wchar_t* steps, const std::vector<std::wstring>& arguments)
{
    ClientRun::Setup setup;
    setup.workbenchFolder = FakeFolder();
    setup.environment = {{L"ORV_FAKE", steps}};
    setup.arguments = arguments;
    return setup;
}

Result RunWith(const wchar_t* steps, const std::vector<std::wstring>& arguments)
{
    const ClientRun run(FakeSetup(steps, arguments));
    const int status = run.Wait();
    return {status, Masked(run.Output()), run.Errors()};
}
} // namespace

// The heart of it: the workbench goes on from the idle message only when its next success will be seen as another
// one.
TEST(ClientBreakpoint, SuccessResponseIsTakenBeforeIdleIsAnswered)
{
    const Result result = RunWith(L"ready;wait;set=8;idle;set=8;wait;exiting", {L"invoke x"});
    EXPECT_EQ("workbench # started, client id #\n"
              "    message ready\n"
              "  ready after # ms\n"
              "> invoke x\n"
              "    response success\n"
              "    message idle\n"
              "    | idle answered 1, success response 0\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "    message exiting\n"
              "workbench ended with exit code 1\n",
              result.output);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(0, result.status);
}

TEST(ClientBreakpoint, FailureAfterTheBreakpointIsTheCommandsOwn)
{
    const Result result = RunWith(L"ready;wait;set=8;idle;set=9;wait;exiting", {L"get x"});
    EXPECT_THAT(result.output, HasSubstr("    response success\n"
                                         "    message idle\n"
                                         "    | idle answered 1, success response 0\n"
                                         "    response failed\n"
                                         "  failed after # ms\n"));
    EXPECT_EQ(1, result.status);
}

TEST(ClientBreakpoint, IdleIsAnsweredBetweenCommandsToo)
{
    ClientRun::Setup setup = FakeSetup(L"ready;idle;wait;exiting", {});
    setup.keepsInputOpen = true;
    ClientRun run(setup);
    run.AwaitOutput("idle answered 1, success response 0");
    run.EndInput();
    EXPECT_EQ(0, run.Wait());
}

// Departures from the protocol: what the client says of each, and the exit status.

namespace
{
struct Departure
{
    const char* name;
    const wchar_t* steps;
    const wchar_t* command;
    // What stands below the command.
    const char* shown;
};

std::string DepartureName(const testing::TestParamInfo<Departure>& departure)
{
    return departure.param.name;
}

class ClientDeviation : public testing::TestWithParam<Departure>
{
};
} // namespace

TEST_P(ClientDeviation, IsShownAndDecidesTheExitStatus)
{
    const Departure& departure = GetParam();
    const Result result = RunWith(departure.steps, {departure.command});
    EXPECT_THAT(result.output, HasSubstr(departure.shown));
    EXPECT_EQ("OrvClient: the workbench departed from its protocol\n", result.errors);
    EXPECT_EQ(6, result.status);
}

INSTANTIATE_TEST_SUITE_P(
    Protocol, ClientDeviation,
    testing::Values(Departure{"FailureWithoutBreakpoint", L"ready;wait;set=9;wait;exiting", L"invoke x",
                              "    response failed\n"
                              "  failed after # ms\n"
                              "  protocol: the final response came before the breakpoint step was over\n"},
                    Departure{"FailureWithoutIdle", L"ready;wait;set=8;set=9;wait;exiting", L"set x",
                              "    response success\n"
                              "    response failed\n"
                              "  failed after # ms\n"
                              "  protocol: the final response came before the breakpoint step was over\n"},
                    Departure{"SuccessWithoutIdle", L"ready;wait;set=8;sleep=500;set=8;wait;exiting", L"create x",
                              "    response success\n"
                              "    response success\n"
                              "  succeeded after # ms\n"
                              "  protocol: the final response came before the breakpoint step was over\n"},
                    Departure{"IdleWithoutBreakpointResponse", L"ready;wait;idle;set=8;sleep=500;set=8;wait;exiting",
                              L"invoke x",
                              "    message idle\n"
                              "    | idle answered 1, success response 0\n"
                              "    response success\n"
                              "    response success\n"
                              "  succeeded after # ms\n"
                              "  protocol: the idle message came without the breakpoint's response\n"},
                    Departure{"TwoIdleMessages", L"ready;wait;set=8;idle;idle;set=8;wait;exiting", L"invoke x",
                              "  protocol: the idle message came without the breakpoint's response\n"},
                    Departure{"IdleOfACommandWithoutBreakpoint", L"ready;wait;idle;set=8;wait;exiting", L"load x",
                              "  protocol: the idle message came without the breakpoint's response\n"},
                    Departure{"BreakpointResponse", L"ready;wait;set=10;sleep=500;set=8;wait;exiting", L"load x",
                              "  protocol: the workbench set the breakpoint response, which it never does\n"},
                    Departure{"AnswerToStop", L"ready;wait;set=8;sleep=300;exiting", L"stop",
                              "    response success\n"
                              "    message exiting\n"
                              "  succeeded after # ms\n"
                              "  protocol: the workbench answered the stop command, which it never does\n"},
                    Departure{"EndWithoutExitingMessage", L"ready;wait", L"stop",
                              "  succeeded after # ms\n"
                              "  protocol: the workbench ended without the exiting message\n"}),
    DepartureName);

TEST(ClientDeviations, ResponseThatNobodyAskedForIsToldAndNotTakenForTheNextCommands)
{
    ClientRun::Setup setup =
        FakeSetup(L"ready;wait;set=8;sleep=500;set=9;print=set;wait;set=8;wait;exiting", {L"-k"});
    setup.keepsInputOpen = true;
    ClientRun run(setup);
    run.Type("load first\n");
    run.AwaitOutput("| set\n");
    run.Type("load second\n");
    run.AwaitOutput("protocol:");
    run.EndInput();
    EXPECT_EQ(6, run.Wait());
    EXPECT_THAT(Masked(run.Output()), HasSubstr("> load second\n"
                                                "    response success\n"
                                                "  succeeded after # ms\n"
                                                "  protocol: a response came that nobody had asked for\n"));
}

TEST(ClientDeviations, UnaskedEndWithoutExitingMessageAtTheLastStop)
{
    const Result result = RunWith(L"ready;wait;set=8;wait", {L"load x"});
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: the workbench ended without the exiting message\n"));
    EXPECT_EQ(6, result.status);
}

// Output

TEST(ClientOutput, LinesComeUnderTheirCommandBeforeTheResponse)
{
    const Result result =
        RunWith(L"ready;print=early;wait;print=one;print=;write=rest;set=8;wait;print=last;exiting", {L"load x"});
    EXPECT_THAT(result.output, HasSubstr("> load x\n"
                                         "    | one\n"
                                         "    | \n"
                                         "    | rest\n"
                                         "    response success\n"
                                         "  succeeded after # ms\n"
                                         "    | last\n"
                                         "    message exiting\n"
                                         "workbench ended with exit code 1\n"));
    EXPECT_THAT(result.output, HasSubstr("    | early\n"));
    EXPECT_EQ(0, result.status);
}

TEST(ClientOutput, UnfinishedLineOfADeadWorkbenchIsShown)
{
    const Result result = RunWith(L"ready;wait;write=no end;exit=7", {L"load x"});
    EXPECT_THAT(result.output, HasSubstr("    | no end\n"));
    EXPECT_EQ(3, result.status);
}

// The end of the workbench

TEST(ClientLoss, WorkbenchThatDiesInACommandIsNoticedAndExplained)
{
    const Result result = RunWith(L"ready;wait;print=last words;exit=3221225477", {L"invoke x", L"invoke y"});
    EXPECT_THAT(result.output, HasSubstr("> invoke x\n"
                                         "    | last words\n"
                                         "  workbench lost after # ms\n"));
    EXPECT_THAT(result.output, HasSubstr("workbench ended with exit code 3221225477\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("invoke y")));
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: the workbench ended before its final response\n"
                                         "  its exit code is 3221225477 (0xC0000005): access violation\n"));
    EXPECT_EQ(3, result.status);
}

TEST(ClientLoss, WorkbenchThatDiesBeforeItIsReadyIsNoticed)
{
    const Result result = RunWith(L"exit=7", {L"load x"});
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: the workbench ended before it was ready\n"
                                         "  its exit code is 7\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("load x")));
    EXPECT_EQ(3, result.status);
}

TEST(ClientLoss, WorkbenchThatDiesWhileNothingIsAskedIsNoticedAtOnce)
{
    ClientRun::Setup setup = FakeSetup(L"ready;sleep=200;exit=9", {});
    setup.keepsInputOpen = true;
    const ClientRun run(setup);
    // The input stays open: nothing but the end of the workbench can end the client.
    EXPECT_EQ(3, run.Wait());
    EXPECT_THAT(run.Errors(), HasSubstr("OrvClient: the workbench ended unasked\n  its exit code is 9\n"));
}

TEST(ClientLoss, MissingDispatcherIsNamed)
{
    const Result result = RunWith(L"exit=7", {L"load x"});
    EXPECT_THAT(result.errors, HasSubstr("  the managed dispatcher is missing: "));
    EXPECT_THAT(result.errors, HasSubstr("\\tests\\fake\\OrvWorkBench64.dll\n"));
}

TEST(ClientLoss, KeepGoingEndsWithTheWorkbench)
{
    const Result result = RunWith(L"ready;wait;exit=7", {L"-k", L"load x", L"load y"});
    EXPECT_THAT(result.output, Not(HasSubstr("load y")));
    EXPECT_EQ(3, result.status);
}

// Time-outs. The steps wait far longer than the limits, so that only the limit can have ended the run.

TEST(ClientTimeout, WorkbenchThatDoesNotBecomeReadyIsEnded)
{
    ClientRun run(FakeSetup(L"print=here;sleep=50000", {L"--ready-timeout", L"1", L"load x"}));
    EXPECT_EQ(4, run.Wait());
    EXPECT_THAT(run.Errors(), HasSubstr("OrvClient: the workbench did not become ready in time\n"));
    EXPECT_THAT(run.Output(), HasSubstr("    | here\n"));
    EXPECT_FALSE(IsProcessRunning(run.WorkbenchId()));
}

TEST(ClientTimeout, CommandWithoutFinalResponseEndsTheSession)
{
    ClientRun run(FakeSetup(L"ready;wait;set=8;idle;print=inside;sleep=50000",
                            {L"--timeout", L"1", L"-k", L"invoke x", L"load y"}));
    EXPECT_EQ(4, run.Wait());
    EXPECT_THAT(Masked(run.Output()), HasSubstr("> invoke x\n"
                                                "    response success\n"
                                                "    message idle\n"
                                                "    | idle answered 1, success response 0\n"
                                                "    | inside\n"
                                                "  timed out after # ms\n"));
    EXPECT_THAT(run.Output(), Not(HasSubstr("load y")));
    EXPECT_THAT(run.Errors(), HasSubstr("OrvClient: no final response in time; the workbench was ended\n"));
    EXPECT_FALSE(IsProcessRunning(run.WorkbenchId()));
}

TEST(ClientTimeout, WorkbenchThatDoesNotStopIsEnded)
{
    ClientRun run(FakeSetup(L"ready;wait;set=8;wait;sleep=50000", {L"--stop-timeout", L"1", L"load x"}));
    EXPECT_EQ(4, run.Wait());
    EXPECT_THAT(run.Errors(), HasSubstr("OrvClient: the workbench did not stop in time and was ended\n"));
    EXPECT_FALSE(IsProcessRunning(run.WorkbenchId()));
}

TEST(ClientTimeout, FailureBeforeItDecidesTheExitStatus)
{
    const Result result = RunWith(L"ready;wait;set=9;wait;sleep=50000", {L"--stop-timeout", L"1", L"-k", L"load x"});
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.errors, HasSubstr("did not stop in time"));
}

// Attaching to a workbench whose messages go elsewhere. The share is this test's.

class ClientAttach : public testing::Test
{
protected:
    ClientAttach() { EXPECT_TRUE(m_share.Create(m_clientId)); }

    ChildProcess StartFake(const wchar_t* steps) const
    {
        SetEnvironmentVariableW(L"ORV_FAKE", steps);
        const std::wstring program = FakeFolder() + L"\\OrvWorkBench64.exe";
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
    const ChildProcess workbench =
        StartFake(L"wait;trace=    1 CHost::Run Command is Invoke: x;set=8;"
                  L"trace=    2 CHost::Run command succeeded, result = ActionSuccess;sleep=50000");
    const Result result = Attach(workbench, {L"--timeout", L"30", L"invoke x"});
    EXPECT_THAT(result.output, HasSubstr("> invoke x\n"
                                         "    response success\n"
                                         "  succeeded after # ms\n"
                                         "workbench left running\n"));
    EXPECT_EQ(0, result.status);
}

TEST_F(ClientAttach, TraceOfAFailureCountsAsOne)
{
    const ChildProcess workbench =
        StartFake(L"wait;trace=    1 CHost::Run Command is Get: x;set=8;"
                  L"trace=    2 CHost::Run command failed, result = ActionFail;sleep=50000");
    const Result result = Attach(workbench, {L"--timeout", L"30", L"get x"});
    EXPECT_THAT(result.output, HasSubstr("  failed after # ms\n"));
    EXPECT_EQ(1, result.status);
}

TEST_F(ClientAttach, TraceOfAnEarlierCommandEndsNothing)
{
    const ChildProcess workbench =
        StartFake(L"wait;trace=    2 CHost::Run command succeeded, result = ActionSuccess;set=8;sleep=50000");
    const Result result = Attach(workbench, {L"--timeout", L"3", L"invoke x"});
    EXPECT_THAT(result.output, HasSubstr("  timed out after # ms\n"
                                         "workbench left running\n"));
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: no final response in time; the workbench is left as it is\n"));
    EXPECT_EQ(4, result.status);
    EXPECT_TRUE(workbench.IsRunning());
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
                                         "  its exit code is 5\n"));
    EXPECT_EQ(3, result.status);
}

TEST_F(ClientAttach, StartIsRefused)
{
    const ChildProcess workbench = StartFake(L"wait;set=8;sleep=50000");
    const Result result = Attach(workbench, {L"start"});
    EXPECT_THAT(result.errors, HasSubstr("this session is attached"));
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
