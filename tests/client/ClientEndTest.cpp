#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/client/ScriptedClient.h"

#include <windows.h>

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

TEST(ClientEnd, HungCallTimesOutAndEndsTheWorkbench)
{
    ClientRun run(Scripted({L"--timeout", L"1", L"invoke print=in; delay=60000", L"load x"}));
    EXPECT_EQ(4, run.Wait());
    EXPECT_THAT(Masked(run.Output()), HasSubstr("> invoke print=in; delay=60000\n"
                                                "    | in\n"
                                                "  timed out after # ms\n"
                                                "workbench ended with exit code "));
    EXPECT_THAT(run.Errors(), HasSubstr(" CHost::Run Command is Invoke: print=in; delay=60000\n"));
    EXPECT_FALSE(IsProcessRunning(run.WorkbenchId()));
}

TEST(ClientEnd, HungBreakpointTimesOutAfterTheFirstResponse)
{
    ClientRun::Setup setup = Scripted({L"--timeout", L"1", L"invoke x"});
    setup.environment = {{L"ORV_SCRIPT_BREAKPOINT", L"delay=60000"}};
    const ClientResult result = Finish(setup);
    EXPECT_THAT(result.output, HasSubstr("    response success\n"
                                         "    message idle\n"
                                         "  timed out after # ms\n"));
    EXPECT_EQ(4, result.status);
}

TEST(ClientEnd, KilledWorkbenchIsNoticedInACall)
{
    ClientRun run(Scripted({L"invoke print=in; delay=60000"}));
    run.AwaitOutput("| in\n");
    const UniqueHandle workbench(OpenProcess(PROCESS_TERMINATE, FALSE, run.WorkbenchId()));
    TerminateProcess(workbench.Get(), 77);
    EXPECT_EQ(3, run.Wait());
    EXPECT_THAT(run.Errors(), HasSubstr("the workbench ended before its final response\n  its exit code is 77: it "
                                        "was ended in the call, as by Environment.Exit\n"));
}

TEST(ClientEnd, KilledWorkbenchIsNoticedAtThePrompt)
{
    ClientRun::Setup setup = Scripted({});
    setup.keepsInputOpen = true;
    ClientRun run(setup);
    run.AwaitOutput("ready after");
    const UniqueHandle workbench(OpenProcess(PROCESS_TERMINATE, FALSE, run.WorkbenchId()));
    TerminateProcess(workbench.Get(), 77);
    EXPECT_EQ(3, run.Wait());
    EXPECT_THAT(run.Errors(), HasSubstr("the workbench ended unasked\n  its exit code is 77\n"));
}

TEST(ClientEnd, WorkbenchDoesNotOutliveAKilledClient)
{
    ClientRun::Setup setup = Scripted({});
    setup.keepsInputOpen = true;
    ClientRun run(setup);
    run.AwaitOutput("ready after");
    const unsigned workbench = run.WorkbenchId();
    EXPECT_TRUE(IsProcessRunning(workbench));
    run.Kill();
    AwaitProcessEnd(workbench);
    EXPECT_FALSE(IsProcessRunning(workbench));
}

TEST(ClientEnd, CtrlCInACallStopsTheWorkbenchInOrder)
{
    ClientRun::Setup setup = Scripted({L"invoke print=in; delay=3000", L"load never"});
    setup.hasConsole = true;
    const ClientRun run(setup);
    run.AwaitOutput("| in\n");
    run.PressCtrlC();
    EXPECT_EQ(5, run.Wait());
    EXPECT_THAT(Masked(run.Output()), HasSubstr("  interrupted after # ms\n"));
    // The call ended, and then the workbench did.
    EXPECT_THAT(run.Output(), HasSubstr("    message exiting\nworkbench ended with exit code 1\n"));
    EXPECT_THAT(run.Output(), Not(HasSubstr("never")));
    EXPECT_THAT(Masked(run.Errors()), MatchesRegex("OrvClient: interrupted\n"
                                                   "  its evidence: .*\\\\OrvClient\\\\evidence\\\\#\\\\\n"));
}

TEST(ClientEnd, CtrlCAtThePromptStopsTheWorkbenchInOrder)
{
    ClientRun::Setup setup = Scripted({L"-i"});
    setup.hasConsole = true;
    setup.keepsInputOpen = true;
    const ClientRun run(setup);
    run.AwaitOutput("orv> ");
    run.PressCtrlC();
    EXPECT_EQ(5, run.Wait());
    EXPECT_THAT(run.Output(), HasSubstr("    message exiting\nworkbench ended with exit code 1\n"));
}

TEST(ClientEnd, SecondCtrlCEndsEverythingAtOnce)
{
    ClientRun::Setup setup = Scripted({L"--stop-timeout", L"0", L"invoke print=in; delay=80000"});
    setup.hasConsole = true;
    const ClientRun run(setup);
    run.AwaitOutput("| in\n");
    run.PressCtrlC();
    run.AwaitOutput("interrupted after");
    run.PressCtrlC();
    EXPECT_EQ(5, run.Wait());
    AwaitProcessEnd(run.WorkbenchId());
}
