// The client as its users see it: the real workbench under it, with a scripted stand-in for the managed runtime that
// answers what the command texts tell it to.

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{
using Json = nlohmann::json;

constexpr size_t c_textLimit = 35225;

const WorkbenchFolder& ScriptedFolder()
{
    static const WorkbenchFolder folder(
        {{L"bin\\OrvWorkBench64.exe", L"OrvWorkBench64.exe"}, {L"tests\\scripted\\mscoree.dll", L"mscoree.dll"}});
    return folder;
}

ClientRun::Setup Scripted(const std::vector<std::wstring>& arguments, const std::string& input = {})
{
    ClientRun::Setup setup;
    setup.workbenchFolder = ScriptedFolder().Path();
    setup.arguments = arguments;
    setup.input = input;
    return setup;
}

struct Result
{
    int status;
    std::string output;
    // With the numbers that differ from run to run.
    std::string rawOutput;
    std::string errors;
};

Result Finish(const ClientRun::Setup& setup)
{
    const ClientRun run(setup);
    const int status = run.Wait();
    const std::string output = run.Output();
    return {status, Masked(output), output, run.Errors()};
}

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string ReadRecord(const std::wstring& path)
{
    const UniqueHandle file = UniqueHandle::FromFile(CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    std::string text;
    char buffer[4096];
    DWORD size = 0;
    while (file && ReadFile(file.Get(), buffer, sizeof buffer, &size, nullptr) != FALSE && size != 0)
        text.append(buffer, size);
    return text;
}

// Where the stand-in records how it was used.
class Record
{
public:
    Record() : m_file("") {}

    std::pair<std::wstring, std::wstring> Variable() const { return {L"ORV_SCRIPT_LOG", m_file.Path()}; }

    // The calls of the dispatcher, as "Invoke: its text", in order, those of the breakpoint method left out.
    std::vector<std::string> Calls() const
    {
        std::vector<std::string> calls;
        for (const std::string& line : LinesOf(ReadRecord(m_file.Path())))
        {
            constexpr const char* methodMark = " method=\"";
            constexpr const char* argumentMark = "\" argument=\"";
            const size_t method = line.find(methodMark);
            const size_t argument = line.find(argumentMark);
            if (method == std::string::npos || argument == std::string::npos)
                continue;
            const size_t methodStart = method + std::string(methodMark).size();
            const size_t argumentStart = argument + std::string(argumentMark).size();
            const std::string name = line.substr(methodStart, argument - methodStart);
            if (name != "OrvBreakPoint")
                calls.push_back(name + ": " + line.substr(argumentStart, line.size() - 1 - argumentStart));
        }
        return calls;
    }

private:
    TemporaryFile m_file;
};
} // namespace

// Scripts

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
    const Result result = Finish(Scripted({L"--script", script.Path()}));
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
    const Record record;
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
    const Result result = Finish(Scripted({}, "load result=2\nload never\n"));
    EXPECT_THAT(result.output, HasSubstr("> load result=2\n"
                                         "    response failed\n"
                                         "  failed after # ms\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("never")));
    EXPECT_EQ(1, result.status);
}

TEST(ClientScript, GoesOnWhenToldSo)
{
    const Result result = Finish(Scripted({L"--keep-going"}, "load result=2\nload always\n"));
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

TEST(ClientScript, WithABadLineIsNotBegun)
{
    const TemporaryFile script("load x\nlaod y\n", L"bad.orv");
    const Result result = Finish(Scripted({L"-s", script.Path()}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors,
                HasSubstr("bad.orv:2: unknown command \"laod\"; the commands are load, create, invoke, "
                          "get, set, delete, reset, stop\n"));
    EXPECT_EQ(2, result.status);
}

TEST(ClientScript, BadLineOfTheInputIsToldWithItsNumber)
{
    const Result result = Finish(Scripted({L"-k"}, "load x\n\nlaod y\nload z\n"));
    EXPECT_THAT(result.errors, StartsWith("OrvClient: input:3: unknown command \"laod\""));
    EXPECT_THAT(result.output, HasSubstr("> load z\n"));
    EXPECT_EQ(2, result.status);
}

TEST(ClientScript, CommandAfterStopIsRefused)
{
    const Result result = Finish(Scripted({}, "stop\nload x\n"));
    EXPECT_EQ("OrvClient: input:2: no workbench is running\n", result.errors);
    EXPECT_EQ(3, result.status);
}

TEST(ClientScript, StartBeginsANewWorkbench)
{
    const Result result = Finish(Scripted({}, "load x\nstop\nstart\nload y\n"));
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
    const Result result = Finish(Scripted({}, "quit\nload x\n"));
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
    const Result result = Finish(Scripted({L"-k", L"--json"}, script));
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

// Text

TEST(ClientText, GreatestLengthIsServedAndOneMoreIsRefused)
{
    const Record record;
    const std::string greatest(c_textLimit, 'x');
    ClientRun::Setup setup = Scripted({L"-k"}, "load " + greatest + "\nload " + greatest + "y\nload z\n");
    setup.environment = {record.Variable()};
    const Result result = Finish(setup);
    EXPECT_THAT(record.Calls(), ElementsAre("LoadAssembly: " + greatest, "LoadAssembly: z"));
    EXPECT_EQ("OrvClient: input:2: the command text has 35226 characters, at most 35225 fit the control block\n",
              result.errors);
    EXPECT_EQ(2, result.status);
}

TEST(ClientText, TooLongTextOfAFileIsRefusedBeforeTheStart)
{
    const TemporaryFile script("load " + std::string(c_textLimit + 1, 'x'), L"long.orv");
    const Result result = Finish(Scripted({L"-s", script.Path()}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, HasSubstr("long.orv:1: the command text has 35226 characters, at most 35225 fit"));
    EXPECT_EQ(2, result.status);
}

TEST(ClientText, OtherScriptsPassBothWays)
{
    const Record record;
    ClientRun::Setup setup = Scripted({}, "\xEF\xBB\xBFinvoke print=Grüße, 日本, 🎈\n");
    setup.environment = {record.Variable()};
    const Result result = Finish(setup);
    EXPECT_THAT(record.Calls(), ElementsAre("Invoke: print=Grüße, 日本, 🎈"));
    EXPECT_THAT(result.output, HasSubstr("> invoke print=Grüße, 日本, 🎈\n"
                                         "    | Grüße, 日本, 🎈\n"));
    EXPECT_EQ(0, result.status);
}

TEST(ClientText, OtherScriptsPassOnTheCommandLine)
{
    const Record record;
    ClientRun::Setup setup = Scripted({L"load print=\x65E5\x672C"});
    setup.environment = {record.Variable()};
    EXPECT_THAT(Finish(setup).output, HasSubstr("    | 日本\n"));
    EXPECT_THAT(record.Calls(), ElementsAre("LoadAssembly: print=日本"));
}

TEST(ClientText, InputThatIsNotUtf8IsRefused)
{
    const Result result = Finish(Scripted({L"-k"}, "load \xFF\xFE\nload x\n"));
    EXPECT_EQ("OrvClient: input:1: this line is not UTF-8 text\n", result.errors);
    EXPECT_THAT(result.output, HasSubstr("> load x\n"));
    EXPECT_EQ(2, result.status);
}

// JSON

TEST(ClientJson, OneObjectPerLine)
{
    const Result result = Finish(Scripted({L"--json", L"-k"}, "invoke print=\"ä\"; result=1\nload\tx\nnothing\n"));
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
    const Result result = Finish(Scripted({L"--json", L"--no-such-option"}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: The following argument was not expected: --no-such-option"));
    EXPECT_EQ(2, result.status);
}

// The command line

TEST(ClientUsage, BadUsageIsToldAndStartsNothing)
{
    const std::vector<std::vector<std::wstring>> bad = {
        {L"--nonsense"},
        {L"--timeout"},
        {L"--timeout", L"soon", L"load x"},
        {L"--timeout", L"-1", L"load x"},
        {L"--script", L"c:\\no such folder\\x.orv"},
        {L"--script", L"-", L"load x"},
        {L"--interactive", L"load x"},
        {L"load", L"x"},
        {L"--client", L"1a", L"load x"},
    };
    for (const std::vector<std::wstring>& arguments : bad)
    {
        const Result result = Finish(Scripted(arguments));
        const std::wstring& first = arguments.front();
        EXPECT_EQ(2, result.status) << testing::PrintToString(first);
        EXPECT_EQ("", result.output) << testing::PrintToString(first);
        EXPECT_THAT(result.errors, StartsWith("OrvClient: ")) << testing::PrintToString(first);
    }
}

TEST(ClientUsage, AttachOptionsAreChecked)
{
    for (const wchar_t* id : {L"0", L"-1", L"12x", L"x", L"4294967296"})
    {
        ClientRun::Setup setup;
        setup.arguments = {L"--attach", id, L"load x"};
        const Result result = Finish(setup);
        EXPECT_THAT(result.errors, HasSubstr("is no process id")) << testing::PrintToString(id);
        EXPECT_EQ(2, result.status) << testing::PrintToString(id);
    }
    const Result both = Finish(Scripted({L"--attach", L"1", L"load x"}));
    EXPECT_EQ(2, both.status);
}

TEST(ClientUsage, HelpNamesEveryOptionWordAndExitStatus)
{
    ClientRun::Setup setup;
    setup.arguments = {L"--help"};
    const Result result = Finish(setup);
    for (const char* named : {"--help",
                              "--version",
                              "--script",
                              "--interactive",
                              "--keep-going",
                              "--workbench",
                              "--attach",
                              "--client",
                              "--json",
                              "--follow-log",
                              "--timeout",
                              "--ready-timeout",
                              "--stop-timeout",
                              "  load TEXT",
                              "  create TEXT",
                              "  invoke TEXT",
                              "  get TEXT",
                              "  set TEXT",
                              "  delete TEXT",
                              "  reset ",
                              "  stop ",
                              "  start ",
                              "  help ",
                              "  quit, exit ",
                              "  0  everything succeeded",
                              "  1  a command failed",
                              "  2  bad usage",
                              "  3  the workbench",
                              "  4  time-out",
                              "  5  interrupted",
                              "  6  the workbench departed"})
        EXPECT_THAT(result.output, HasSubstr(named));
    EXPECT_EQ(0, result.status);
}

TEST(ClientUsage, VersionIsShown)
{
    ClientRun::Setup setup;
    setup.arguments = {L"--version"};
    const Result result = Finish(setup);
    EXPECT_EQ("OrvClient 1.0.0\n", result.output);
    EXPECT_EQ(0, result.status);
}

TEST(ClientUsage, NoLimitIsALimitToo)
{
    EXPECT_EQ(0,
              Finish(Scripted({L"-t", L"0", L"--ready-timeout", L"0", L"--stop-timeout", L"0", L"load x"})).status);
}

TEST(ClientUsage, WorkbenchThatCannotBeStartedIsToldWithTheReason)
{
    ClientRun::Setup setup;
    setup.workbenchFolder = L"c:\\no such folder";
    setup.arguments = {L"load x"};
    const Result result = Finish(setup);
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: c:\\no such folder\\OrvWorkBench64.exe cannot be started: "));
    EXPECT_EQ(3, result.status);
}

// The prompt

TEST(ClientPrompt, AsksHelpsAndGoesOnAfterFailures)
{
    const Result result =
        Finish(Scripted({L"-i"}, "load result=2; print=no\n\nnonsense\nhelp\nload x\nstop\nstart\nexit\nload y\n"));
    EXPECT_EQ("workbench # started, client id #\n"
              "    message ready\n"
              "  ready after # ms\n"
              "orv>     | no\n"
              "    response failed\n"
              "  failed after # ms\n"
              "orv> orv> orv>   load TEXT       load an assembly\n"
              "  create TEXT     create an instance of a type\n"
              "  invoke TEXT     call a method\n"
              "  get TEXT        read a property\n"
              "  set TEXT        write a property\n"
              "  delete TEXT     forget an instance\n"
              "  reset           forget everything\n"
              "  stop            end the workbench\n"
              "  start           start a new workbench after the end of the last one\n"
              "  help            show this list\n"
              "  quit, exit      end the client\n"
              "orv>     response success\n"
              "  succeeded after # ms\n"
              "orv>     message exiting\n"
              "  succeeded after # ms\n"
              "workbench ended with exit code 1\n"
              "orv> workbench # started, client id #\n"
              "    message ready\n"
              "  ready after # ms\n"
              "orv>     message exiting\n"
              "workbench ended with exit code 1\n",
              result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: input:3: unknown command \"nonsense\""));
    EXPECT_EQ(1, result.status);
}

TEST(ClientPrompt, NewWorkbenchCanBeStartedAfterTheLossOfOne)
{
    const Result result = Finish(Scripted({L"-i"}, "load exit=3\nload x\nstart\nload y\n"));
    EXPECT_THAT(result.output, HasSubstr("workbench ended with exit code 3\n"));
    EXPECT_THAT(result.output, HasSubstr("  succeeded after # ms\n"));
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: input:2: no workbench is running\n"));
    EXPECT_EQ(3, result.status);
}

// Hints

TEST(ClientHints, FailureWithoutAWordPointsToTheTraceLog)
{
    ClientRun::Setup setup = Scripted({L"load x"});
    setup.environment = {{L"ORV_SCRIPT_BIND", L"0x80131700"}};
    const Result result = Finish(setup);
    EXPECT_THAT(result.output, HasSubstr("  failed after # ms\n"
                                         "  hint: the dispatcher printed nothing; the trace log "
                                         "c:\\zeph\\logs\\OrvWorkBench.log tells whether it could be called\n"));
    EXPECT_EQ(1, result.status);
}

TEST(ClientHints, LossShowsTheEndOfTheTraceLog)
{
    const Result result = Finish(Scripted({L"load exit=3"}));
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: the workbench ended before its final response\n"
                                         "  its exit code is 3\n"));
    EXPECT_THAT(result.errors, HasSubstr("  the trace log c:\\zeph\\logs\\OrvWorkBench.log ends with:\n"));
    EXPECT_THAT(result.errors, HasSubstr(" CHost::Run Command is Load: exit=3\n"));
    EXPECT_EQ(3, result.status);
}

// The end of the workbench

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
    const Result result = Finish(setup);
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
    EXPECT_THAT(run.Errors(), HasSubstr("the workbench ended before its final response\n  its exit code is 77\n"));
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
    EXPECT_EQ("OrvClient: interrupted\n", run.Errors());
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

// Several at once

TEST(ClientSessions, SideBySideTheyDoNotMeet)
{
    constexpr int count = 3;
    const Record records[count];
    std::vector<std::unique_ptr<ClientRun>> runs;
    for (int i = 0; i < count; ++i)
    {
        std::string script;
        for (int k = 0; k < 40; ++k)
            script += "invoke print=" + std::to_string(i) + "/" + std::to_string(k) +
                      "; result=" + (k % 2 == 0 ? "10" : "1") + "\n";
        ClientRun::Setup setup = Scripted({L"-k"}, script);
        setup.environment = {records[i].Variable()};
        runs.push_back(std::make_unique<ClientRun>(setup));
    }
    for (int i = 0; i < count; ++i)
    {
        EXPECT_EQ(1, runs[static_cast<size_t>(i)]->Wait());
        std::string expected;
        std::vector<std::string> expectedCalls;
        for (int k = 0; k < 40; ++k)
        {
            const std::string name = std::to_string(i) + "/" + std::to_string(k);
            const std::string text = "print=" + name + "; result=" + (k % 2 == 0 ? "10" : "1");
            expectedCalls.push_back("Invoke: " + text);
            expected += "> invoke " + text +
                        "\n"
                        "    | " +
                        name +
                        "\n"
                        "    response success\n"
                        "    message idle\n"
                        "    response " +
                        (k % 2 == 0 ? "success" : "failed") + "\n  " + (k % 2 == 0 ? "succeeded" : "failed") +
                        " after # ms\n";
        }
        EXPECT_THAT(Masked(runs[static_cast<size_t>(i)]->Output()), HasSubstr(expected));
        EXPECT_EQ(expectedCalls, records[i].Calls());
    }
}

// Attaching

TEST(ClientAttached, DrivesTheWorkbenchOfAnotherClientAndLeavesIt)
{
    ClientRun::Setup setup = Scripted({});
    setup.keepsInputOpen = true;
    ClientRun owner(setup);
    owner.AwaitOutput("ready after");
    ClientRun::Setup attached;
    attached.arguments = {L"--attach", std::to_wstring(owner.WorkbenchId()), L"-k", L"invoke print=shared; result=1",
                          L"load x"};
    const Result result = Finish(attached);
    EXPECT_EQ("workbench # attached, client id #\n"
              "> invoke print=shared; result=1\n"
              "    response success\n"
              "    response failed\n"
              "  failed after # ms\n"
              "> load x\n"
              "    response success\n"
              "  succeeded after # ms\n"
              "workbench left running\n",
              result.output);
    EXPECT_EQ(1, result.status);
    // What it prints, and its messages, are the owner's.
    owner.AwaitOutput("    | shared\n");
    owner.AwaitOutput("    message idle\n");
    owner.Type("load again\n");
    owner.EndInput();
    EXPECT_EQ(0, owner.Wait());
    EXPECT_THAT(Masked(owner.Output()), HasSubstr("> load again\n"
                                                  "    response success\n"
                                                  "  succeeded after # ms\n"));
}

// Its window is gone, so nothing holds the workbench between its two responses.
TEST(ClientAttached, ResponsesOfManyCommandsAreToldApart)
{
    const unsigned clientId = FreshId() & 0x7FFFFFFF;
    CProxyShare share;
    ASSERT_TRUE(share.Create(clientId));
    share.GetControl()->clientWindow = 0x00FFFFF0;
    const std::wstring program = ScriptedFolder().Path() + L"\\OrvWorkBench64.exe";
    const ChildProcess workbench =
        ChildProcess::Start(program, L"\"" + program + L"\" workbench " + FormatSlot(L"%x", clientId));
    std::string script;
    for (int i = 0; i < 100; ++i)
        script += i % 2 == 0 ? "invoke result=5\n" : "get result=1\n";
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", std::to_wstring(workbench.Id()), L"-k", L"--json", L"--timeout", L"30"};
    setup.input = script;
    const Result result = Finish(setup);
    std::string outcomes;
    for (const std::string& line : LinesOf(result.rawOutput))
        if (const Json object = Json::parse(line); object["type"] == "command")
            outcomes += object["outcome"] == "succeeded" ? '+' : '-';
    std::string expected;
    for (int i = 0; i < 50; ++i)
        expected += "+-";
    EXPECT_EQ(expected, outcomes);
    EXPECT_EQ(1, result.status);
    EXPECT_TRUE(workbench.IsRunning());
}

// The trace log

TEST(ClientFollowLog, ShowsTheLinesOfTheRun)
{
    const Result result = Finish(Scripted({L"--follow-log", L"load \x65E5\x672C"}));
    EXPECT_THAT(result.output, HasSubstr(" CHost::CHost Loaded Runtime\n"));
    const size_t started = result.output.find(" wmain  arg 1 = workbench\n");
    const size_t served = result.output.find(" CHost::Run Command is Load: 日本\n");
    const size_t finished = result.output.find(" CHost::Run command succeeded, result = ActionSuccess\n");
    const size_t ended = result.output.find(" CHost::Run WorkBench Exiting\n");
    EXPECT_LT(started, served);
    EXPECT_LT(served, finished);
    EXPECT_LT(finished, ended);
    EXPECT_NE(std::string::npos, ended);
    EXPECT_EQ(0, result.status);
}

TEST(ClientFollowLog, LinesAreMarkedAndNotEmpty)
{
    for (const std::string& line : LinesOf(Finish(Scripted({L"-f", L"load x"})).output))
        if (line.find("CHost::") != std::string::npos)
        {
            EXPECT_THAT(line, StartsWith("    log "));
            EXPECT_GT(line.size(), 12U);
        }
}

TEST(ClientFollowLog, IsJsonWhenAskedForIt)
{
    std::string texts;
    for (const std::string& line : LinesOf(Finish(Scripted({L"-f", L"-j", L"load x"})).rawOutput))
        if (const Json object = Json::parse(line); object["type"] == "log")
            texts += object["text"].get<std::string>() + "\n";
    EXPECT_THAT(texts, HasSubstr(" CHost::Run Command is Load: x\n"));
}

TEST(ClientFollowLog, ComesFromTheDebuggerOutputWhereTheFileCannotBeRead)
{
    // Nobody else can open the file now, the workbench neither.
    const UniqueHandle locked = UniqueHandle::FromFile(
        CreateFileW(L"c:\\zeph\\logs\\OrvWorkBench.log", GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr));
    ASSERT_TRUE(locked);
    const Result result = Finish(Scripted({L"-f", L"load x"}));
    EXPECT_THAT(result.output, HasSubstr(" CHost::CHost Loaded Runtime\n"));
    EXPECT_THAT(result.output, HasSubstr(" CHost::Run Command is Load: x\n"));
    EXPECT_THAT(result.output, HasSubstr(" CHost::Run WorkBench Exiting\n"));
    EXPECT_EQ(0, result.status);
}

TEST(ClientFollowLog, OfAnAttachedWorkbenchShowsWhatIsNew)
{
    ClientRun::Setup setup = Scripted({});
    setup.keepsInputOpen = true;
    ClientRun owner(setup);
    owner.Type("load before\n");
    owner.AwaitOutput("succeeded after");
    ClientRun::Setup attached;
    attached.arguments = {L"--attach", std::to_wstring(owner.WorkbenchId()), L"--follow-log", L"load after"};
    const Result result = Finish(attached);
    EXPECT_THAT(result.output, HasSubstr(" CHost::Run Command is Load: after\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("Command is Load: before")));
    EXPECT_EQ(0, result.status);
}
