#include "tests/client/ScriptedClient.h"
#include "tests/support/worlds/Files.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Json = nlohmann::json;

TEST(ClientScript, EveryCommandIsPostedAnsweredAndShown)
{
    const TemporaryFile script("# a comment\n"
                               "load print=loading; result=6\n"
                               "\n"
                               "   # another comment\n"
                               "create print=creating; result=8\r\n"
                               "get result=5\n"
                               "set print=one\n"
                               "\tinvoke print=two; result=10\n"
                               "DELETE print=three\n"
                               "reset print=not looked at\n"
                               "stop",
                               L"golden.orv");
    const ClientResult result = Finish(Scripted({L"--script", script.Path()}));
    EXPECT_EQ("workbench # started, client id #\n"
              "    message ready\n"
              "  ready after # ms\n"
              "> load print=loading; result=6\n"
              "    | loading\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> create print=creating; result=8\n"
              "    | creating\n"
              "    response success\n"
              "    message idle\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> get result=5\n"
              "    response success\n"
              "    message idle\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> set print=one\n"
              "    | one\n"
              "    response success\n"
              "    message idle\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> invoke print=two; result=10\n"
              "    | two\n"
              "    response success\n"
              "    message idle\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> delete print=three\n"
              "    | three\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> reset print=not looked at\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "> stop\n"
              "    message exiting\n"
              "  succeeded after # ms\n"
              "workbench ended with exit code 1\n",
              result.output);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(0, result.status);
}

TEST(ClientScript, TextsReachTheDispatcherUnchanged)
{
    const ScriptRecord record;
    ClientRun::Setup setup = Scripted({}, "load  c:\\a b\\x.dll  \n"
                                          "create \"quoted\" # no comment\n"
                                          "invoke\ta\tb\n"
                                          "get\n"
                                          "reset ignored\n");
    setup.environment = {record.Variable()};
    EXPECT_EQ(0, Finish(setup).status);
    EXPECT_THAT(record.Calls(),
                ElementsAre("LoadAssembly: c:\\\\a b\\\\x.dll  ", "CreateType: \\\"quoted\\\" # no comment",
                            "Invoke: a\\tb", "GetProperty: ", "Reset: "));
}

TEST(ClientScript, StopsAtTheFirstFailure)
{
    const ClientResult result = Finish(Scripted({}, "load result=2\nload never\n"));
    EXPECT_THAT(result.output, HasSubstr("> load result=2\n"
                                         "    response failed\n"
                                         "  failed after # ms\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("never")));
    EXPECT_THAT(result.output, HasSubstr("    message exiting\nworkbench ended with exit code 1\n"));
    EXPECT_EQ(1, result.status);
}

TEST(ClientScript, OfADashIsTheInput)
{
    const ClientResult result = Finish(Scripted({L"--script", L"-"}, "# a comment\nload x\n"));
    EXPECT_THAT(result.output, HasSubstr("  ready after # ms\n"
                                         "> load x\n"
                                         "    response success\n"));
    EXPECT_EQ(0, result.status);
}

TEST(ClientScript, GoesOnWhenToldSo)
{
    const ClientResult result = Finish(Scripted({L"--keep-going"}, "load result=2\nload always\n"));
    EXPECT_THAT(result.output, HasSubstr("> load always\n"
                                         "    response success\n"));
    EXPECT_EQ(1, result.status);
}

TEST(ClientScript, ResultsBelowFiveFailAfterTheBreakpoint)
{
    for (const wchar_t* failing : {L"result=0", L"result=1", L"result=4", L"result=-1", L"status=0x80131513"})
        EXPECT_EQ(1, Finish(Scripted({std::wstring(L"invoke ") + failing})).status) << failing;
    for (const wchar_t* succeeding : {L"result=5", L"result=11", L"result=13"})
        EXPECT_EQ(0, Finish(Scripted({std::wstring(L"invoke ") + succeeding})).status) << succeeding;
}

namespace
{
struct OutcomeRow
{
    int result;
    const char* text;
    const char* json;
    // Exit statuses of a script with such a command, and by the response alone.
    int status;
    int protocolStatus;
};

constexpr OutcomeRow c_outcomes[] = {
    {0, "failed", "failed", 1, 1},        {1, "failed", "failed", 1, 1},
    {2, "failed", "failed", 1, 1},        {3, "failed", "failed", 1, 1},
    {4, "failed", "failed", 1, 1},        {5, "succeeded", "succeeded", 0, 0},
    {6, "succeeded", "succeeded", 0, 0},  {7, "succeeded", "succeeded", 0, 0},
    {8, "succeeded", "succeeded", 0, 0},  {9, "succeeded", "succeeded", 0, 0},
    {10, "succeeded", "succeeded", 0, 0}, {11, "not found", "notFound", 1, 0},
    {12, "not found", "notFound", 1, 0},  {13, "exception raised", "exception", 7, 0},
};

// A command that has that result and tells it.
std::string CommandWith(int result)
{
    const std::string number = std::to_string(result);
    return "load result=" + number + ";told={\"result\":" + number + "}\n";
}

// One of each.
std::string EveryResult()
{
    std::string script;
    for (const OutcomeRow& row : c_outcomes)
        script += CommandWith(row.result);
    return script;
}
} // namespace

TEST(ClientScript, EveryResultHasItsOutcome)
{
    const ClientResult text = Finish(Scripted({L"--keep-going"}, EveryResult()));
    const ClientResult json = Finish(Scripted({L"--keep-going", L"--json"}, EveryResult()));
    const ClientResult protocol = Finish(Scripted({L"--keep-going", L"--protocol-view"}, EveryResult()));
    for (const OutcomeRow& row : c_outcomes)
    {
        const std::string number = std::to_string(row.result);
        EXPECT_THAT(text.output, HasSubstr(std::string("  ") + row.text + " after # ms, result " + number + " "));
        const std::string line = "OrvClient: input:" + std::to_string(row.result + 1) + ": the command ";
        EXPECT_EQ(row.status != 0, text.errors.find(line) != std::string::npos) << line << text.errors;
        EXPECT_THAT(json.output, HasSubstr(std::string("\"outcome\":\"") + row.json +
                                           "\",\"result\":{\"number\":" + number + ",\"name\":\""));
        EXPECT_THAT(protocol.output,
                    HasSubstr(std::string("  ") + (row.protocolStatus == 0 ? "succeeded" : "failed") +
                              " after # ms, result " + number + " "));
        EXPECT_EQ(row.protocolStatus != 0, protocol.errors.find(line) != std::string::npos) << protocol.errors;
    }
    EXPECT_EQ("", json.errors);
}

TEST(ClientScript, EndsWithTheStatusOfTheFirstOutcomeThatIsNone)
{
    for (const int result : {4, 10, 11, 12, 13})
    {
        const OutcomeRow& row = c_outcomes[result];
        const std::string script = CommandWith(result) + "load last\n";
        const ClientResult byResult = Finish(Scripted({}, script));
        EXPECT_EQ(row.status, byResult.status) << result;
        EXPECT_EQ(row.status == 0, byResult.output.find("> load last\n") != std::string::npos) << result;
        const ClientResult byResponse = Finish(Scripted({L"--protocol-view"}, script));
        EXPECT_EQ(row.protocolStatus, byResponse.status) << result;
        EXPECT_EQ(row.protocolStatus == 0, byResponse.output.find("> load last\n") != std::string::npos) << result;
    }
}

TEST(ClientScript, EndsWithItsReader)
{
    ClientRun::Setup setup = Scripted({});
    for (int i = 0; i < 2000; ++i)
        setup.input += "load print=x\n";
    setup.closesOutput = true;
    const ScriptRecord record;
    setup.environment = {record.Variable()};
    const ClientRun run(setup);
    EXPECT_EQ(8, run.Wait());
    EXPECT_EQ("", run.Errors());
    EXPECT_THAT(record.Calls(), IsEmpty());
}

TEST(ClientScript, WithABadLineIsNotBegun)
{
    const TemporaryFile script("load x\nlaod y\n", L"bad.orv");
    const ClientResult result = Finish(Scripted({L"-s", script.Path()}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors,
                HasSubstr("bad.orv:2: unknown command \"laod\"; the commands are load, create, invoke, "
                          "get, set, delete, reset, stop\n"));
    EXPECT_EQ(2, result.status);
}

TEST(ClientScript, OfTheCommandLineIsCheckedToo)
{
    const ClientResult result = Finish(Scripted({L"-k", L"load x", L"laod y"}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: unknown command \"laod\""));
    EXPECT_EQ(2, result.status);
}

TEST(ClientScript, BadLineOfTheInputIsToldWithItsNumber)
{
    const ClientResult result = Finish(Scripted({L"-k"}, "load x\n\nlaod y\nload z\n"));
    EXPECT_THAT(result.errors, StartsWith("OrvClient: input:3: unknown command \"laod\""));
    EXPECT_THAT(result.output, HasSubstr("> load z\n"));
    EXPECT_EQ(2, result.status);
}

TEST(ClientScript, CommandAfterStopIsRefused)
{
    const ClientResult result = Finish(Scripted({}, "stop\nload x\n"));
    EXPECT_EQ("OrvClient: input:2: no workbench is running\n", result.errors);
    EXPECT_EQ(3, result.status);
}

TEST(ClientScript, StartBeginsANewWorkbench)
{
    const ClientResult result = Finish(Scripted({}, "load x\nstop\nstart\nload y\n"));
    EXPECT_THAT(result.output, HasSubstr("workbench ended with exit code 1\n"
                                         "workbench # started, client id #\n"
                                         "    message ready\n"
                                         "  ready after # ms\n"
                                         "> load y\n"
                                         "    response success\n"));
    EXPECT_EQ(0, result.status);
}

TEST(ClientScript, QuitEndsItBeforeTheRest)
{
    const ClientResult result = Finish(Scripted({}, "quit\nload x\n"));
    EXPECT_EQ("workbench # started, client id #\n"
              "    message ready\n"
              "  ready after # ms\n"
              "    message exiting\n"
              "workbench ended with exit code 1\n",
              result.output);
    EXPECT_EQ(0, result.status);
}

TEST(ClientScript, HundredsOfCommandsKeepTheirResponsesApart)
{
    std::string script;
    for (int i = 0; i < 300; ++i)
        script += i % 3 == 0 ? "invoke result=1\n" : i % 3 == 1 ? "get result=5\n" : "load result=6\n";
    const ClientResult result = Finish(Scripted({L"-k", L"--json"}, script));
    std::string outcomes;
    for (const std::string& line : LinesOf(result.rawOutput))
    {
        const Json object = Json::parse(line);
        if (object["type"] != "command")
            continue;
        EXPECT_FALSE(object.contains("deviation")) << line;
        EXPECT_EQ(object["command"] == "load" ? 1U : 3U, object["happenings"].size()) << line;
        outcomes += object["outcome"] == "succeeded" ? '+' : '-';
    }
    std::string expected;
    for (int i = 0; i < 100; ++i)
        expected += "-++";
    EXPECT_EQ(expected, outcomes);
    EXPECT_EQ(1, result.status);
}

TEST(ClientScript, TimeCarriesACommandOutSeveralTimes)
{
    const ScriptRecord record;
    ClientRun::Setup setup = Scripted({}, "time 3 load print=x\nagain\nTIME 2 invoke result=1\nload y\n");
    setup.environment = {record.Variable()};
    const ClientResult result = Finish(setup);
    EXPECT_THAT(result.output, HasSubstr("> time 3 load print=x\n"
                                         "  succeeded 3 times: minimum # ms, median # ms, maximum # ms\n"
                                         "> time 3 load print=x\n"
                                         "  succeeded 3 times: minimum # ms, median # ms, maximum # ms\n"
                                         "> time 2 invoke result=1\n"
                                         "  failed after # ms\n"
                                         "  hint: the dispatcher printed nothing"));
    EXPECT_EQ("OrvClient: input:3: the command failed\n", result.errors);
    EXPECT_EQ(1, result.status);
    const std::vector<std::string> calls = record.Calls();
    ASSERT_EQ(7U, calls.size());
    EXPECT_EQ("LoadAssembly: print=x", calls[0]);
    EXPECT_EQ("LoadAssembly: print=x", calls[5]);
    EXPECT_EQ("Invoke: result=1", calls[6]);
}

TEST(ClientScript, TimeWantsANumberAndACommand)
{
    for (const char* line :
         {"time", "time 3", "time 0 load x", "time x load y", "time -1 load x", "time 1000000 load x"})
        EXPECT_EQ("OrvClient: input:1: expected time N COMMAND\n",
                  Finish(Scripted({}, std::string(line) + "\n")).errors)
            << line;
    EXPECT_THAT(Finish(Scripted({}, "time 3 nothing\n")).errors, StartsWith("OrvClient: input:1: unknown command"));
    EXPECT_THAT(
        Finish(Scripted({L"--json"}, "time 2 load x\n")).output,
        HasSubstr(
            "\"outcome\":\"succeeded\",\"times\":{\"count\":2,\"minimumMs\":#,\"medianMs\":#,\"maximumMs\":#}}"));
}

TEST(ClientScript, AgainWantsACommandBefore)
{
    const ClientResult result = Finish(Scripted({}, "again\n"));
    EXPECT_EQ("OrvClient: input:1: there is no command to repeat yet\n", result.errors);
    EXPECT_EQ(2, result.status);
}
