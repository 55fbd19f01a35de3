// What the client makes of a workbench, played by one that does what the test tells it to.

#include "tests/support/processes/ClientRun.h"

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
    static const std::wstring folder = BuildFolder(L"tests\\fake");
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

TEST(ClientDeviations, JsonHasThemToo)
{
    const Result result = RunWith(L"ready;wait;set=9;wait;exiting", {L"--json", L"invoke x"});
    EXPECT_THAT(result.output,
                HasSubstr("\"deviation\":\"the final response came before the breakpoint step was over\","
                          "\"hint\":\"the dispatcher printed nothing; "));
    EXPECT_THAT(result.output,
                HasSubstr("{\"type\":\"error\",\"message\":\"the workbench departed from its protocol\","
                          "\"exitStatus\":6,\"hints\":[]}\n"));
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
        RunWith(L"print=early;ready;wait;print=one;print=;write=rest;set=8;wait;print=last;exiting", {L"load x"});
    EXPECT_THAT(result.output, HasSubstr("> load x\n"
                                         "    | one\n"
                                         "    | \n"
                                         "    | rest\n"
                                         "    response success\n"
                                         "  succeeded after # ms\n"
                                         "    | last\n"
                                         "    message exiting\n"
                                         "workbench ended with exit code 1\n"));
    EXPECT_THAT(result.output, HasSubstr("    | early\n"
                                         "    message ready\n"));
    EXPECT_EQ(0, result.status);
}

TEST(ClientOutput, LineWithoutItsEndIsShownAfterAWhile)
{
    const Result result = RunWith(L"ready;wait;write=name?;sleep=1500;print=yes;set=8;wait;exiting", {L"load x"});
    EXPECT_THAT(result.output, HasSubstr("    | name?\n"
                                         "    | yes\n"
                                         "    response success\n"));
}

TEST(ClientOutput, WhatNoCommandPrintsIsTheSessionsOwn)
{
    for (const bool streams : {false, true})
    {
        ClientRun::Setup setup = FakeSetup(L"ready;sleep=100;print=late;wait;exiting", {L"--json"});
        if (streams)
            setup.arguments.emplace_back(L"--stream");
        setup.keepsInputOpen = true;
        ClientRun run(setup);
        run.AwaitOutput("{\"type\":\"output\",\"text\":\"late\"}\n");
        run.EndInput();
        EXPECT_EQ(0, run.Wait());
    }
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
    EXPECT_THAT(run.Errors(), HasSubstr("OrvClient: the workbench did not become ready in time and was ended\n"));
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
