#include "tests/client/ScriptedClient.h"
#include "tests/support/processes/WorkbenchRun.h"

#include <gmock/gmock.h>
#include <regex>
#include <string>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(ClientJson, OneObjectPerLine)
{
    const ClientResult result =
        Finish(Scripted({L"--json", L"-k"}, "invoke print=\"ä\"; result=1\nload\tx\nnothing\n"));
    EXPECT_EQ(
        "{\"type\":\"started\",\"workbench\":#,\"client\":\"#\"}\n"
        "{\"type\":\"message\",\"text\":\"ready\"}\n"
        "{\"type\":\"ready\",\"elapsedMs\":#}\n"
        "{\"type\":\"command\",\"command\":\"invoke\",\"text\":\"print=\\\"ä\\\"; "
        "result=1\",\"where\":\"input:1\",\"happenings\":["
        "{\"output\":\"\\\"ä\\\"\"},{\"response\":\"success\"},{\"message\":\"idle\"},{\"response\":\"failed\"}],"
        "\"outcome\":\"failed\",\"elapsedMs\":#}\n"
        "{\"type\":\"command\",\"command\":\"load\",\"text\":\"x\",\"where\":\"input:2\",\"happenings\":[{"
        "\"response\":\"success\"}],"
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

TEST(ClientJson, TellsWhereADebuggerComesIn)
{
    const ClientResult result = Finish(Scripted({L"--json", L"--debug=55555", L"load x"}));
    const std::string port = IsWine() ? "\"port\":55555," : "";
    EXPECT_THAT(result.output, HasSubstr("\"elapsedMs\":#}\n{\"type\":\"debugger\",\"workbench\":#," + port +
                                         "\"waits\":false}\n{\"type\":\"command\","));
    EXPECT_THAT(Finish(Scripted({L"--json", L"load x"})).output, Not(HasSubstr("debugger")));
}

TEST(ClientJson, ErrorsOfTheCommandLineAreJsonNowhere)
{
    const ClientResult result = Finish(Scripted({L"--json", L"--no-such-option"}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: The following argument was not expected: --no-such-option"));
    EXPECT_EQ(2, result.status);
}

TEST(ClientJson, HasWhatTheDispatcherTold)
{
    const ClientResult result = Finish(Scripted(
        {L"--json", LR"(get told={"result":5,"value":{"type":"string","text":"\"a\"","string":"a"},"more":1})"}));
    EXPECT_THAT(result.output, HasSubstr(R"("outcome":"succeeded","result":{"number":5,"name":"ActionSuccess"},)"
                                         R"("value":{"type":"string","text":"\"a\"","string":"a"},"elapsedMs":#})"));
}

TEST(ClientJson, HasEachMemberThatTheDispatcherTells)
{
    const std::string told =
        R"("made":"t","value":{"type":"A","text":null},"references":[{"name":"x","type":"int","text":"1"}],)"
        R"("list":[{"name":"n"}],"assembly":{"name":"a","file":"f"},"error":{"message":"m","column":3},)"
        R"("exception":{"type":"E","message":null,"frames":["f"],"causes":[]})";
    const ClientResult result = Finish(Scripted({L"--json"}, "invoke result=13;told={\"result\":13," + told + "}\n"));
    EXPECT_THAT(result.output, HasSubstr(R"("outcome":"exception","result":{"number":13,"name":"Exception"},)" +
                                         told + R"(,"elapsedMs":#})"));
    EXPECT_EQ(7, result.status);
}

TEST(ClientJson, TellsATimeOut)
{
    const ClientResult result = Finish(Scripted({L"--json", L"--timeout", L"1", L"load delay=60000"}));
    EXPECT_THAT(result.output, HasSubstr("\"happenings\":[],\"outcome\":\"timedOut\",\"elapsedMs\":#}\n"
                                         "{\"type\":\"error\",\"message\":\"no final response in time; the "
                                         "workbench was ended\",\"exitStatus\":4,\"hints\":[\""));
    EXPECT_EQ(4, result.status);
}

TEST(ClientJson, TellsALoss)
{
    const ClientResult result = Finish(Scripted({L"--json", L"load exit=3"}));
    EXPECT_THAT(result.output, HasSubstr("\"outcome\":\"lost\",\"elapsedMs\":#}\n"
                                         "{\"type\":\"error\",\"message\":\"the workbench ended before its final "
                                         "response\",\"exitStatus\":3,\"hints\":[\"its exit code is 3: "));
    EXPECT_THAT(result.output, HasSubstr("{\"type\":\"ended\",\"workbenchExitCode\":3}\n"));
    EXPECT_EQ(3, result.status);
}

TEST(ClientJson, TellsAnInterrupt)
{
    ClientRun::Setup setup = Scripted({L"--json", L"--stream", L"load print=in; delay=3000"});
    setup.hasConsole = true;
    const ClientRun run(setup);
    run.AwaitOutput("\"text\":\"in\"");
    run.PressCtrlC();
    EXPECT_EQ(5, run.Wait());
    EXPECT_THAT(run.Output(), HasSubstr("\"outcome\":\"interrupted\""));
    EXPECT_THAT(run.Output(),
                HasSubstr("{\"type\":\"error\",\"message\":\"interrupted\",\"exitStatus\":5,\"hints\":[]}\n"));
}

TEST(ClientJson, HelpsToo)
{
    EXPECT_THAT(Finish(Scripted({L"--json", L"help stop"})).output,
                HasSubstr("{\"type\":\"help\",\"text\":\"  stop                         end the workbench\\n\"}\n"));
}

TEST(ClientJson, StreamsWhatHappensWhenAsked)
{
    const std::wstring command = L"load print=one;write=two?;delay=1500;result=5";
    const ClientResult streamed = Finish(Scripted({L"--json", L"--stream", command}));
    EXPECT_THAT(streamed.output, HasSubstr("{\"type\":\"output\",\"text\":\"one\"}\n"
                                           "{\"type\":\"output\",\"text\":\"two?\",\"partial\":true}\n"
                                           "{\"type\":\"response\",\"text\":\"success\"}\n"
                                           "{\"type\":\"command\","));
    EXPECT_THAT(streamed.output, HasSubstr("\"happenings\":[{\"output\":\"one\"},{\"output\":\"two?\",\"partial\":"
                                           "true},{\"response\":\"success\"}]"));
    EXPECT_THAT(Finish(Scripted({L"--json", command})).output, Not(HasSubstr("\"type\":\"output\"")));
}

// Never shorter than what lies in between: the call, the breakpoint step, for stop the process's end.
TEST(ClientJson, TheTimeRunsToTheFinalResponse)
{
    ClientRun::Setup setup = Scripted({L"--json", L"load delay=300", L"invoke x", L"stop"});
    setup.environment = {{L"ORV_SCRIPT_BREAKPOINT", L"delay=300"}, {L"ORV_SCRIPT_RELEASE", L"delay=300"}};
    const std::string output = Finish(setup).rawOutput;
    const std::regex time("\"outcome\":\"succeeded\".*\"elapsedMs\":([0-9]+)");
    int commands = 0;
    for (auto match = std::sregex_iterator(output.begin(), output.end(), time); match != std::sregex_iterator();
         ++match)
    {
        ++commands;
        EXPECT_LE(300, std::stoi((*match)[1])) << match->str();
    }
    EXPECT_EQ(3, commands);
}
