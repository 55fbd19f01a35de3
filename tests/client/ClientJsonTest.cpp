#include "tests/client/ScriptedClient.h"

#include <gmock/gmock.h>

using testing::StartsWith;

TEST(ClientJson, OneObjectPerLine)
{
    const ClientResult result =
        Finish(Scripted({L"--json", L"-k"}, "invoke print=\"ä\"; result=1\nload\tx\nnothing\n"));
    EXPECT_EQ(
        "{\"type\":\"started\",\"workbench\":#,\"client\":\"#\"}\n"
        "{\"type\":\"message\",\"text\":\"ready\"}\n"
        "{\"type\":\"ready\",\"elapsedMs\":#}\n"
        "{\"type\":\"command\",\"command\":\"invoke\",\"text\":\"print=\\\"ä\\\"; result=1\",\"happenings\":["
        "{\"output\":\"\\\"ä\\\"\"},{\"response\":\"success\"},{\"message\":\"idle\"},{\"response\":\"failed\"}],"
        "\"outcome\":\"failed\",\"elapsedMs\":#}\n"
        "{\"type\":\"command\",\"command\":\"load\",\"text\":\"x\",\"happenings\":[{\"response\":\"success\"}],"
        "\"outcome\":\"succeeded\",\"elapsedMs\":#}\n"
        "{\"type\":\"error\",\"message\":\"input:3: unknown command \\\"nothing\\\"; the commands are load, create, "
        "invoke, get, set, delete, reset, stop\",\"exitStatus\":2,\"hints\":[]}\n"
        "{\"type\":\"message\",\"text\":\"exiting\"}\n"
        "{\"type\":\"ended\",\"workbenchExitCode\":1}\n",
        result.output);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(1, result.status);
}

TEST(ClientJson, ProgramCanDriveItLineByLine)
{
    ClientRun::Setup setup = Scripted({L"-j"});
    setup.keepsInputOpen = true;
    ClientRun run(setup);
    run.Type("load first\n");
    run.AwaitOutput("\"text\":\"first\"");
    run.Type("load second\n");
    run.AwaitOutput("\"text\":\"second\"");
    run.EndInput();
    EXPECT_EQ(0, run.Wait());
}

TEST(ClientJson, ErrorsOfTheCommandLineAreJsonNowhere)
{
    const ClientResult result = Finish(Scripted({L"--json", L"--no-such-option"}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: The following argument was not expected: --no-such-option"));
    EXPECT_EQ(2, result.status);
}
