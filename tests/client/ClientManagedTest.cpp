// The client, the workbench, the dispatcher and a real managed runtime together.

#include "tests/client/ManagedFolder.h"
#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/Files.h"

#include <gmock/gmock.h>
#include <regex>
#include <string>
#include <vector>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{
struct Result
{
    int status;
    std::string output;
    std::string errors;
};

Result ResultOf(const std::vector<std::wstring>& arguments, const std::string& script = {})
{
    ClientRun::Setup setup;
    setup.workbenchFolder = ManagedFolder().Path();
    setup.arguments = arguments;
    setup.input = script;
    const ClientRun run(setup);
    const int status = run.Wait();
    return {status, Masked(run.Output()), run.Errors()};
}

// What the client prints for a script, run to its end.
std::string OutputOf(const std::string& script, int expectedStatus, const std::string& expectedErrors = {})
{
    const Result result = ResultOf({L"--keep-going"}, script);
    EXPECT_EQ(expectedStatus, result.status);
    EXPECT_EQ(expectedErrors, result.errors);
    return result.output;
}
} // namespace

TEST(ClientManaged, AllCommandsOnARealAssembly)
{
    const std::string output =
        OutputOf("load OrvSample.dll\n"
                 "create t = OrvSample.Thermostat(\"Küche 日本\")\n"
                 "get t.Target\n"
                 "set t.Target = 22\n"
                 "get t.Target\n"
                 "get t.Room\n"
                 "invoke t.Describe(3)\n"
                 "delete t\n"
                 "reset\n"
                 "stop\n",
                 1,
                 "OrvClient: input:7: the command failed: 'OrvSample.Thermostat' has no public "
                 "instance method 'Describe'\n");
    EXPECT_THAT(output, HasSubstr("> load OrvSample.dll\n"
                                  "    | loaded OrvSample, "));
    EXPECT_THAT(output, HasSubstr("> create t = OrvSample.Thermostat(\"Küche 日本\")\n"
                                  "    | t = OrvSample.Thermostat \"Küche 日本 at 20\"\n"
                                  "    response success\n"
                                  "    message idle\n"
                                  "    response success\n"
                                  "  succeeded after # ms, result 8 ActionCreatedType\n"
                                  "> get t.Target\n"
                                  "    | => double 20\n"
                                  "    response success\n"
                                  "    message idle\n"
                                  "    response success\n"
                                  "  succeeded after # ms, result 5 ActionSuccess\n"
                                  "> set t.Target = 22\n"
                                  "    | t.Target = double 22\n"));
    EXPECT_THAT(output, HasSubstr("> get t.Target\n"
                                  "    | => double 22\n"));
    EXPECT_THAT(output, HasSubstr("    | => string \"Küche 日本\"\n"));
    EXPECT_THAT(output, HasSubstr("has no public instance method 'Describe'\n"));
    EXPECT_THAT(output, HasSubstr("    response success\n"
                                  "    message idle\n"
                                  "    response failed\n"
                                  "  failed after # ms, result 1 ActionInvokeFail\n"
                                  "> delete t\n"));
    EXPECT_THAT(output, HasSubstr("> stop\n"
                                  "    message exiting\n"
                                  "  succeeded after # ms\n"
                                  "workbench ended with exit code 1\n"));
}

// By the protocol an exception of the user's code is a success.
TEST(ClientManaged, ExceptionIsShownUnderItsCommand)
{
    const std::string script = "load OrvSample.dll\n"
                               "create t = OrvSample.Thermostat(\"x\")\n"
                               "set t.Target = 99\n"
                               "get t.Target\n";
    const Result result = ResultOf({}, script);
    EXPECT_THAT(result.output, HasSubstr("> set t.Target = 99\n"
                                         "    | exception System.ArgumentOutOfRangeException: "));
    EXPECT_THAT(result.output, HasSubstr("    response success\n"
                                         "  exception raised after # ms, result 13 Exception\n"
                                         "    message exiting\n"));
    EXPECT_THAT(result.errors, StartsWith("OrvClient: input:3: the command raised an exception: "
                                          "System.ArgumentOutOfRangeException: "));
    EXPECT_EQ(7, result.status);

    const Result protocol = ResultOf({L"--protocol-view"}, script);
    EXPECT_THAT(protocol.output, HasSubstr("  succeeded after # ms, result 13 Exception\n"
                                           "> get t.Target\n"));
    EXPECT_EQ("", protocol.errors);
    EXPECT_EQ(0, protocol.status);
}

TEST(ClientManaged, WhatIsNotFoundFails)
{
    const Result result = ResultOf({}, "load OrvSample.dll\ncreate x = OrvSample.Nothing()\nget x\n");
    EXPECT_THAT(result.output, HasSubstr("  not found after # ms, result 12 ActionTypeNotFound\n"
                                         "    message exiting\n"));
    EXPECT_THAT(result.errors, StartsWith("OrvClient: input:2: the command did not find what it names: "));
    EXPECT_EQ(1, result.status);
}

TEST(ClientManaged, EvalPrintsNothingButValues)
{
    const std::vector<std::wstring> commands{L"--eval", L"load OrvSample.dll",
                                             L"create t = OrvSample.Thermostat(\"Küche 日本\", 21)"};
    std::vector<std::wstring> asking = commands;
    asking.insert(asking.end(), {L"get t.Room", L"set t.Target = 22", L"get t.Target", L"invoke s = t.ToString()",
                                 L"invoke System.Console.WriteLine(\"printed\")"});
    const Result result = ResultOf(asking);
    EXPECT_EQ("Küche 日本\n22\n", result.output);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(0, result.status);

    std::vector<std::wstring> failing = commands;
    failing.insert(failing.end(), {L"get t.Nothing", L"get t.Room"});
    const Result failed = ResultOf(failing);
    EXPECT_EQ("", failed.output);
    EXPECT_THAT(failed.errors, StartsWith("OrvClient: the command failed: "));
    EXPECT_EQ(1, failed.status);

    EXPECT_EQ("  enum OrvSample.Mode\n  1 public type\n",
              ResultOf({L"--eval", L"load OrvSample.dll", L"types Mode"}).output)
        << "but the answer to a question";
}

TEST(ClientManaged, WhatUserCodePrintsIsNoResult)
{
    const Result result = ResultOf({L"--json", L"invoke System.Console.WriteLine(\"{\\\"result\\\":13}\")"});
    EXPECT_THAT(
        result.output,
        HasSubstr("\"outcome\":\"succeeded\",\"result\":{\"number\":10,\"name\":\"ActionInvokedOk\"},\"elapsedMs\""));
    EXPECT_EQ(0, result.status);
}

TEST(ClientManaged, OutputOfManyCommandsStaysUnderEach)
{
    std::string script = "load OrvSample.dll\ncreate t = OrvSample.Thermostat(\"x\")\n";
    std::string expected;
    for (int i = 0; i < 100; ++i)
    {
        const std::string value = std::to_string(5 + i % 25);
        script += "set t.Target = " + value + "\n";
        expected += "> set t.Target = " + value +
                    "\n"
                    "    | t.Target = double " +
                    value +
                    "\n"
                    "    response success\n"
                    "    message idle\n"
                    "    response success\n"
                    "  succeeded after # ms, result 5 ActionSuccess\n";
    }
    EXPECT_THAT(OutputOf(script, 0), HasSubstr(expected));
}

TEST(ClientManaged, QuestionsAreAnswered)
{
    const std::vector<std::wstring> commands{L"load OrvSample.dll", L"create t = OrvSample.Thermostat(\"x\", 21)",
                                             L"get t.Target"};
    std::vector<std::wstring> asking = commands;
    asking.insert(asking.end(), {L"types *Thermostat", L"members t Raise", L"instances", L"find -> OrvSample.Mode",
                                 L"dump t.History 1", L"again"});
    const Result result = ResultOf(asking);
    EXPECT_THAT(result.output, HasSubstr("> types *Thermostat\n"
                                         "    |   class OrvSample.Thermostat\n"
                                         "    |   1 public type\n"
                                         "    response success\n"
                                         "    message idle\n"
                                         "    response success\n"
                                         "  succeeded after # ms, result 10 ActionInvokedOk\n"
                                         "> members t Raise\n"
                                         "    |   class OrvSample.Thermostat\n"
                                         "    |   double Raise(double degrees)\n"
                                         "    |   1 public member\n"));
    EXPECT_THAT(result.output, HasSubstr("> instances\n"
                                         "    |   t = OrvSample.Thermostat \"x at 21\"\n"
                                         "    |   1 instance\n"));
    EXPECT_THAT(result.output, HasSubstr("    |   OrvSample.Mode Mode { get; set; }  // of OrvSample.Thermostat\n"));
    EXPECT_THAT(result.output, HasSubstr("    |     [0] = double 21\n"));
    EXPECT_THAT(result.output, HasSubstr("> get t.Target\n"
                                         "    | => double 21\n"
                                         "    response success\n"
                                         "    message idle\n"
                                         "    response success\n"
                                         "  succeeded after # ms, result 5 ActionSuccess\n"
                                         "    message exiting\n"))
        << "what again repeats is no question";
    EXPECT_EQ(0, result.status);

    std::vector<std::wstring> json{L"--json"};
    json.insert(json.end(), commands.begin(), commands.end());
    json.emplace_back(L"types Mode");
    EXPECT_THAT(ResultOf(json).output,
                HasSubstr(R"("list":[{"kind":"enum","name":"OrvSample.Mode","assembly":"OrvSample"}],"elapsedMs")"));
}

TEST(ClientManaged, AQuestionThatIsIncompleteIsNotAsked)
{
    const Result result = ResultOf({}, "find\n");
    EXPECT_EQ("OrvClient: input:1: expected find PATTERN\n", result.errors);
    EXPECT_EQ(2, result.status);
}

// A relative path is handed on in full, and the runtime names the file in its own way; it is the same one.
TEST(ClientManaged, ARelativePathIsThatOfTheFileItself)
{
    ClientRun::Setup setup;
    setup.workbenchFolder = ManagedFolder().Path();
    setup.arguments = {L"load OrvSample.dll", L"load " + ManagedFolder().Path() + L"\\OrvSample.dll"};
    setup.folder = ManagedFolder().Path();
    const ClientRun run(setup);
    EXPECT_EQ(0, run.Wait());
    EXPECT_THAT(run.Output(), HasSubstr("\n    |   3 public types\n"));
    EXPECT_THAT(run.Output(), HasSubstr("    | already loaded: OrvSample, "));
    EXPECT_THAT(run.Output(), Not(HasSubstr("the process has it from")));
}

TEST(ClientManaged, ShownValuesFollowEachCommand)
{
    const std::string script = "load OrvSample.dll\n"
                               "create t = OrvSample.Thermostat(\"k\", 21)\n"
                               "show t.Target\n"
                               "show u\n"
                               "set t.Target = 23.5\n"
                               "instances\n"
                               "again\n"
                               "time 2 set t.Target = 24\n"
                               "hide t.Target\n"
                               "invoke System.Math.Abs(-7)\n"
                               "hide\n"
                               "invoke $.ToString()\n";
    const std::string output = OutputOf(script, 0);
    EXPECT_THAT(output, HasSubstr("  succeeded after # ms, result 8 ActionCreatedType\n"
                                  "    t.Target = 21\n"
                                  "    t.Target = 21\n"
                                  "    u ("));
    EXPECT_THAT(output, HasSubstr("result 5 ActionSuccess\n    t.Target = 23.5\n    u ("));
    EXPECT_THAT(output, HasSubstr("    |   1 instance\n"
                                  "    response success\n"
                                  "    message idle\n"
                                  "    response success\n"
                                  "  succeeded after # ms, result 10 ActionInvokedOk\n"
                                  "> set t.Target = 23.5\n"))
        << "not after a question, which is not repeated either";
    EXPECT_THAT(output, HasSubstr("median # ms, maximum # ms\n    t.Target = 24\n"));
    EXPECT_THAT(output, HasSubstr("result 10 ActionInvokedOk\n    u ("));
    EXPECT_THAT(output, HasSubstr("    | => string \"7\"\n")) << "what is shown is not the last result";
    EXPECT_THAT(
        ResultOf({L"--json"}, script).output,
        HasSubstr("{\"type\":\"shown\",\"values\":[{\"name\":\"t.Target\",\"text\":\"23.5\",\"type\":\"double\"},"
                  "{\"name\":\"u\",\"raised\":"));
    EXPECT_THAT(ResultOf({L"--eval"}, "show System.Math.PI\n").output, StartsWith("3.14159"));
    // Also after the failure at which a script stops.
    EXPECT_THAT(ResultOf({}, "show System.Math.PI\ninvoke No.Such()\n").output,
                HasSubstr("result 1 ActionInvokeFail\n    System.Math.PI = 3.14159"));
}

TEST(ClientManaged, HelpGivesExamplesOfWhatIsThere)
{
    const std::string script = "load OrvSample.dll\ncreate t = OrvSample.Thermostat(\"k\", 21)\nhelp get\n";
    const std::string output = OutputOf(script, 0);
    std::smatch example;
    ASSERT_TRUE(std::regex_search(output, example, std::regex("  for example: (get t\\.[^\n]*)\n"))) << output;
    EXPECT_THAT(OutputOf(script + example.str(1) + "\n", 0), HasSubstr("> " + example.str(1) + "\n    | => "));
}

namespace
{
// A client that has started a workbench and waits for commands.
class Owner
{
public:
    Owner() : m_run(Setup()) { m_run.AwaitOutput("ready after"); }

    ClientRun& Run() noexcept { return m_run; }

    // Attaches another client to the workbench, for these commands.
    Result Attach(std::vector<std::wstring> arguments) const
    {
        ClientRun::Setup setup;
        arguments.insert(arguments.begin(), {L"--attach", std::to_wstring(m_run.WorkbenchId())});
        setup.arguments = arguments;
        const ClientRun run(setup);
        const int status = run.Wait();
        return {status, Masked(run.Output()), run.Errors()};
    }

private:
    static ClientRun::Setup Setup()
    {
        ClientRun::Setup setup;
        setup.workbenchFolder = ManagedFolder().Path();
        setup.keepsInputOpen = true;
        return setup;
    }

    ClientRun m_run;
};
} // namespace

TEST(ClientManaged, AnAttachedSessionIsToldWhatTheOtherIs)
{
    Owner owner;
    owner.Run().Type("load OrvSample.dll\ncreate t = OrvSample.Thermostat(\"k\", 21)\n");
    owner.Run().AwaitOutput("ActionCreatedType");
    const Result text = owner.Attach({L"-k", L"get t.Room", L"invoke t.Overheat()", L"get t.Nothing", L"types Mode",
                                      L"show t.Target", L"set t.Target = 22"});
    EXPECT_THAT(text.output, HasSubstr("> get t.Room\n"
                                       "    response success\n"
                                       "    response success\n"
                                       "    => string \"k\"\n"
                                       "  succeeded after # ms, result 5 ActionSuccess\n"
                                       "> invoke t.Overheat()\n"));
    EXPECT_THAT(text.output,
                HasSubstr("    exception System.InvalidOperationException: The thermostat of k cannot overheat.\n"
                          "        at OrvSample.Thermostat.Overheat ()"));
    EXPECT_THAT(text.output,
                HasSubstr("    error at column 3: 'OrvSample.Thermostat' has no public instance property or "
                          "field 'Nothing'\n"));
    EXPECT_THAT(text.output, HasSubstr("      enum OrvSample.Mode\n"));
    EXPECT_THAT(text.output, HasSubstr("    t.Target = double 21\n"));
    EXPECT_THAT(text.output, HasSubstr("result 5 ActionSuccess\n    t.Target = double 22\n"));
    EXPECT_EQ("", text.errors);
    EXPECT_EQ(7, text.status);
    // All of it was printed where the workbench prints.
    owner.Run().AwaitOutput("    |   enum OrvSample.Mode\n");

    EXPECT_EQ("k\n  enum OrvSample.Mode\n", owner.Attach({L"--eval", L"get t.Room", L"types Mode"}).output);
    EXPECT_THAT(owner.Attach({L"--json", L"get t.Room"}).output,
                HasSubstr(R"("value":{"type":"string","text":"\"k\"","string":"k"},"elapsedMs")"));
    EXPECT_THAT(owner.Attach({L"help get"}).output, HasSubstr("  for example: get t."));
}

TEST(ClientManaged, AnAttachedSessionIsToldOfItsOwnCommandsAlone)
{
    Owner owner;
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", std::to_wstring(owner.Run().WorkbenchId())};
    setup.keepsInputOpen = true;
    ClientRun attached(setup);
    attached.Type("get int.MaxValue\n");
    attached.AwaitOutput("result 5 ActionSuccess");
    owner.Run().Type("invoke System.Math.Abs(-7)\n");
    owner.Run().AwaitOutput("=> int 7");
    owner.Run().AwaitOutput("result 10 ActionInvokedOk");
    attached.Type("stop\n");
    attached.EndInput();
    EXPECT_EQ(0, attached.Wait());
    EXPECT_THAT(Masked(attached.Output()), HasSubstr("    => int 2147483647\n"
                                                     "  succeeded after # ms, result 5 ActionSuccess\n"
                                                     "> stop\n"
                                                     "  succeeded after # ms\n"));
}
