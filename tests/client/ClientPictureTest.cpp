#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/client/PageData.h"
#include "tests/client/ScriptedClient.h"
#include "tests/support/processes/WorkbenchRun.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using Json = nlohmann::json;

namespace
{
class ClientPicture : public testing::Test
{
protected:
    ClientRun::Setup Reporting(std::vector<std::wstring> arguments, const std::string& input = {}) const
    {
        arguments.insert(arguments.begin(), {L"--report", m_page});
        return Scripted(arguments, input);
    }
    Json Page() const { return PageData(FileBytes(m_page)); }
    Json Commands() const
    {
        const Json page = Page();
        Json commands = Json::array();
        for (const Json& step : page["steps"])
            if (step.contains("number"))
                commands.push_back(step);
        return commands;
    }
    // The log of a run that has ended, where a user would put it.
    std::wstring LogOfARun(const std::vector<std::wstring>& commands) const
    {
        Finish(Scripted(commands));
        WriteFileBytes(m_folder.PathOf(L"sent in.log"), FileBytes(WorkbenchRun::c_logPath));
        return m_folder.PathOf(L"sent in.log");
    }
    static ClientRun::Setup From(const std::wstring& log, const std::wstring& folder = {})
    {
        ClientRun::Setup setup;
        setup.arguments = {L"--report-from", log};
        setup.folder = folder;
        return setup;
    }

    const TemporaryFolder m_folder;
    const std::wstring m_page = m_folder.PathOf(L"a page.html");
};

std::vector<std::string> TextsOf(const Json& command, const char* kind)
{
    std::vector<std::string> texts;
    for (const Json& moment : command["moments"])
        if (moment[1] == kind)
            texts.push_back(moment[2]);
    return texts;
}
} // namespace

TEST_F(ClientPicture, IsWrittenAtTheEndAndNamed)
{
    const ClientResult result = Finish(Reporting({L"invoke print=hello", L"get x"}));
    EXPECT_THAT(result.output, EndsWith("workbench ended with exit code 1\nreport written to " +
                                        Json(std::string(m_page.begin(), m_page.end())).get<std::string>() + "\n"));
    EXPECT_EQ(0, result.status);
    const Json commands = Commands();
    ASSERT_THAT(commands, SizeIs(2));
    EXPECT_THAT(TextsOf(commands[0], "output"), ElementsAre("hello"));
    EXPECT_THAT(TextsOf(commands[0], "response"), ElementsAre("success", "success"));
    EXPECT_THAT(TextsOf(commands[0], "message"), ElementsAre("idle"));
    EXPECT_THAT(TextsOf(commands[0], "answer"), SizeIs(1));
    EXPECT_EQ(1, Page()["lives"][0]["exitCode"]);
}

TEST_F(ClientPicture, ItsNumbersAndTextsAreThoseOfJson)
{
    const std::wstring told = LR"(get told={"result":5,"value":{"type":"string","text":"\"a\"","string":"a"}})";
    const ClientResult result =
        Finish(Reporting({L"--json", L"-k"}, "invoke print=one\nload result=11\nget x; delay=30\n"
                                             "time 3 get x\nset result=1\nnothing\n"));
    const Json page = Page();
    Json printed = Json::array();
    for (const std::string& line : LinesOf(result.rawOutput))
    {
        const Json object = Json::parse(line);
        if (object["type"] == "command")
            printed.push_back(object);
        if (object["type"] == "ready")
        {
            EXPECT_EQ(object["elapsedMs"], page["lives"][0]["readyElapsedMs"]);
        }
        if (object["type"] == "started")
        {
            EXPECT_EQ(object["workbench"], page["lives"][0]["workbench"]);
        }
        if (object["type"] == "error")
        {
            EXPECT_EQ(object["message"], page["errors"][0]["message"]);
        }
    }
    const Json shown = Commands();
    ASSERT_EQ(5U, printed.size());
    ASSERT_EQ(5U, shown.size());
    for (size_t i = 0; i < printed.size(); ++i)
    {
        for (const char* member : {"command", "text", "where", "outcome", "elapsedMs", "times", "deviation", "hint"})
            EXPECT_EQ(printed[i].value(member, Json()), shown[i].value(member, Json())) << i << member;
        Json happenings = Json::array();
        for (const Json& moment : shown[i]["moments"])
            if (moment[1] != "answer")
                happenings.push_back({{moment[1].get<std::string>(), moment[2]}});
        EXPECT_EQ(printed[i]["happenings"], happenings) << i;
    }
    EXPECT_THAT(result.rawOutput, EndsWith("{\"type\":\"report\",\"file\":" +
                                           Json(std::string(m_page.begin(), m_page.end())).dump() + "}\n"));
    EXPECT_EQ(1, result.status);
    Finish(Reporting({L"--json", told}));
    EXPECT_EQ("a", Commands()[0]["value"]["string"]);
}

TEST_F(ClientPicture, MomentsStandInTheirOrderWithinTheirCommand)
{
    Finish(Reporting({L"invoke print=a; delay=40", L"load x"}));
    double last = 0;
    for (const Json& command : Commands())
    {
        EXPECT_LE(last, command["atMs"]);
        last = command["atMs"];
        for (const Json& moment : command["moments"])
        {
            EXPECT_LE(last, moment[0].get<double>() + 0.001) << command;
            last = moment[0];
        }
    }
    EXPECT_GE(Commands()[0]["elapsedMs"], 40.0);
    EXPECT_LE(last, Page()["session"]["durationMs"]);
}

TEST_F(ClientPicture, LinesOfTheLogStandAtTheirCommandWithoutFollowing)
{
    Finish(Reporting({L"load x", L"get y", L"get y"}));
    const Json commands = Commands();
    ASSERT_THAT(commands, SizeIs(3));
    for (const Json& command : commands)
    {
        std::string lines;
        for (const Json& line : command["log"])
        {
            lines += line[1].get<std::string>() + "\n";
            EXPECT_NEAR(command["atMs"].get<double>(), line[0].get<double>(), 30000);
        }
        EXPECT_THAT(lines, HasSubstr("CHost::Run Command is "));
        EXPECT_THAT(lines, HasSubstr("command succeeded, result = ActionSuccess"));
        EXPECT_EQ(command["command"] == "load" ? 5U : 10U, command["log"].size()) << lines;
    }
    EXPECT_THAT(Page()["log"], Not(IsEmpty()));
}

TEST_F(ClientPicture, TimeOutIsShown)
{
    const ClientResult result = Finish(Reporting({L"--timeout", L"1", L"invoke print=in; delay=60000"}));
    EXPECT_EQ(4, result.status);
    EXPECT_EQ("timedOut", Commands()[0]["outcome"]);
    EXPECT_THAT(TextsOf(Commands()[0], "output"), ElementsAre("in"));
    EXPECT_EQ(4, Page()["errors"][0]["exitStatus"]);
    EXPECT_EQ(1, Page()["session"]["failed"]);
}

TEST_F(ClientPicture, LossIsShown)
{
    const ClientResult result = Finish(Reporting({L"load x", L"invoke exit=7"}));
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("lost", Commands()[1]["outcome"]);
    EXPECT_EQ(7, Page()["lives"][0]["exitCode"]);
    EXPECT_THAT(Page()["errors"][0]["hints"][0].get<std::string>(), HasSubstr("its exit code is 7"));
    EXPECT_THAT(Commands()[1]["log"], Not(IsEmpty()));
}

TEST_F(ClientPicture, EvidenceOfALostCallIsLinked)
{
    const std::wstring place = m_folder.PathOf(L"evidence");
    Finish(Reporting({L"--evidence", place, L"invoke exit=7"}));
    const Json evidence = Page()["session"]["evidence"];
    ASSERT_THAT(evidence, SizeIs(1));
    const std::string folder = evidence[0]["folder"];
    EXPECT_THAT(folder, StartsWith(std::string(place.begin(), place.end()) + "\\"));
    EXPECT_THAT(evidence[0]["below"].get<std::string>(), StartsWith("evidence\\"));
    EXPECT_TRUE(PathExists(std::wstring(folder.begin(), folder.end())));
    Finish(Reporting({L"--no-evidence", L"invoke exit=7"}));
    EXPECT_THAT(Page()["session"]["evidence"], IsEmpty());
}

TEST_F(ClientPicture, StartThatFailedIsShown)
{
    ClientRun::Setup setup = Reporting({L"load x"});
    const TemporaryFolder empty;
    setup.workbenchFolder = empty.Path();
    EXPECT_EQ(3, Finish(setup).status);
    EXPECT_EQ(3, Page()["errors"][0]["exitStatus"]);
    EXPECT_EQ(0, Page()["session"]["commands"]);
}

TEST_F(ClientPicture, DepartureFromTheProtocolIsShown)
{
    ClientRun::Setup setup = Reporting({L"invoke x"});
    setup.workbenchFolder = BuildFolder(L"tests\\fake");
    setup.environment = {{L"ORV_FAKE", L"ready;wait;set=9;sleep=200;exiting"}};
    EXPECT_EQ(6, Finish(setup).status);
    EXPECT_THAT(Commands()[0]["deviation"].get<std::string>(), HasSubstr("before the breakpoint step was over"));
    EXPECT_EQ(1, Page()["session"]["failed"]);
}

TEST_F(ClientPicture, CtrlCIsShown)
{
    ClientRun::Setup setup = Reporting({L"invoke print=in; delay=3000"});
    setup.hasConsole = true;
    const ClientRun run(setup);
    run.AwaitOutput("| in\n");
    run.PressCtrlC();
    EXPECT_EQ(5, run.Wait());
    EXPECT_EQ("interrupted", Commands()[0]["outcome"]);
}

TEST_F(ClientPicture, SecondCtrlCLeavesThePage)
{
    ClientRun::Setup setup = Reporting({L"--stop-timeout", L"0", L"invoke print=in; delay=80000"});
    setup.hasConsole = true;
    const ClientRun run(setup);
    run.AwaitOutput("| in\n");
    run.PressCtrlC();
    run.AwaitOutput("interrupted after");
    run.PressCtrlC();
    EXPECT_EQ(5, run.Wait());
    EXPECT_EQ("interrupted", Commands()[0]["outcome"]);
}

TEST_F(ClientPicture, OutputThatNobodyReadsLeavesThePage)
{
    ClientRun::Setup setup = Reporting({L"load x"});
    setup.closesOutput = true;
    const ClientRun run(setup);
    EXPECT_EQ(8, run.Wait());
    EXPECT_EQ(1U, Page()["lives"].size());
}

TEST_F(ClientPicture, PromptScriptsAndValuesHaveOneToo)
{
    const ClientResult prompt = Finish(Reporting({L"-i"}, "get x\nnothing\nstop\nstart\nget y\nquit\n"));
    EXPECT_EQ(2U, Page()["lives"].size());
    EXPECT_EQ(3, Page()["session"]["commands"]);
    EXPECT_THAT(Page()["errors"][0]["message"].get<std::string>(), HasSubstr("nothing"));
    EXPECT_THAT(prompt.output, HasSubstr("report written to "));

    const ClientResult values = Finish(
        Reporting({L"--eval", LR"(get told={"result":5,"value":{"type":"string","text":"\"a\"","string":"a"}})"}));
    EXPECT_EQ("a\n", values.output);
    EXPECT_EQ("", values.errors);
    EXPECT_EQ(1, Page()["session"]["commands"]);

    const TemporaryFile script("get x\n", L"demo.orv");
    Finish(Reporting({L"--script", script.Path()}));
    EXPECT_THAT(Commands()[0]["where"].get<std::string>(), EndsWith("demo.orv:1"));
}

TEST_F(ClientPicture, AttachedSessionHasOne)
{
    ClientRun::Setup owner = Scripted({L"-i"});
    owner.keepsInputOpen = true;
    ClientRun running(owner);
    running.AwaitOutput("orv> ");
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", std::to_wstring(running.WorkbenchId()), L"--report", m_page, L"get x"};
    EXPECT_EQ(0, Finish(setup).status);
    EXPECT_TRUE(Page()["lives"][0]["attached"].get<bool>());
    EXPECT_FALSE(Page()["lives"][0].contains("exitCode"));
    EXPECT_EQ("get", Commands()[0]["command"]);
    EXPECT_THAT(Commands()[0]["log"], SizeIs(10));
    // What the log tells of the time before belongs to the other client.
    EXPECT_THAT(Page()["log"].dump(), Not(HasSubstr("CorBindToRuntimeEx")));
    running.EndInput();
    running.Wait();
}

TEST_F(ClientPicture, FollowedLogIsNotShownTwice)
{
    Finish(Reporting({L"--follow-log", L"load x"}));
    EXPECT_THAT(Commands()[0]["log"], SizeIs(5));
}

TEST_F(ClientPicture, FileThatCannotBeWrittenIsToldBeforeAnythingIsStarted)
{
    const std::wstring folder = m_folder.MakeFolder(L"folder");
    for (const std::wstring& path : {m_folder.PathOf(L"none\\page.html"), folder})
    {
        const ClientResult result = Finish(Scripted({L"--report", path, L"load x"}));
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.output);
        EXPECT_THAT(result.errors, HasSubstr("OrvClient: the report cannot be written to "));
    }
}

TEST_F(ClientPicture, BadUsageLeavesAnOlderPageAsItIs)
{
    WriteFileBytes(m_page, "older");
    EXPECT_EQ(2, Finish(Reporting({L"nothing"})).status);
    EXPECT_EQ("older", FileBytes(m_page));
    EXPECT_EQ(2, Finish(Reporting({L"--script", m_folder.PathOf(L"none.orv")})).status);
    EXPECT_EQ("older", FileBytes(m_page));
    EXPECT_EQ(0, Finish(Reporting({L"load x"})).status);
    EXPECT_EQ(1, Page()["session"]["commands"]);
}

TEST_F(ClientPicture, KilledClientLeavesAnOlderPageAsItIs)
{
    WriteFileBytes(m_page, "older");
    ClientRun::Setup setup = Reporting({L"-i"});
    setup.keepsInputOpen = true;
    const ClientRun run(setup);
    run.AwaitOutput("ready after");
    run.Kill();
    EXPECT_EQ("older", FileBytes(m_page));
    WIN32_FIND_DATAW data{};
    const HANDLE found = FindFirstFileW(m_folder.PathOf(L"*.new").c_str(), &data);
    EXPECT_EQ(INVALID_HANDLE_VALUE, found);
}

TEST_F(ClientPicture, RelativeNameStartsInTheCurrentFolder)
{
    ClientRun::Setup setup = Scripted({L"-r",
                                       L"K\xFC"
                                       L"che.html",
                                       L"load x"});
    setup.folder = m_folder.Path();
    EXPECT_EQ(0, Finish(setup).status);
    EXPECT_TRUE(PathExists(m_folder.PathOf(L"K\xFC"
                                           L"che.html")));
}

TEST_F(ClientPicture, LogAloneHasCommandsResultsAndTimes)
{
    const std::wstring log = LogOfARun({L"-k", L"load x", L"invoke result=13", L"get result=1; delay=30"});
    const TemporaryFolder elsewhere;
    const ClientResult result = Finish(From(log, elsewhere.Path()));
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.output, HasSubstr("report written to "));
    const Json page = PageData(FileBytes(elsewhere.PathOf(L"sent in.html")));
    EXPECT_EQ("log", page["session"]["source"]);
    ASSERT_THAT(page["steps"], SizeIs(4));
    EXPECT_EQ("load", page["steps"][0]["command"]);
    EXPECT_EQ("exception", page["steps"][1]["outcome"]);
    EXPECT_EQ(13, page["steps"][1]["result"]["number"]);
    EXPECT_EQ("failed", page["steps"][2]["outcome"]);
    EXPECT_GE(page["steps"][2]["elapsedMs"], 29.0);
    EXPECT_EQ("stop", page["steps"][3]["command"]);
    EXPECT_THAT(page["errors"], IsEmpty());
    EXPECT_FALSE(page["steps"].dump().find("deviation") != std::string::npos);
}

TEST_F(ClientPicture, LogMayBeCutOffOrMailed)
{
    const std::wstring log = LogOfARun({L"load x", L"get y"});
    const std::string bytes = FileBytes(log);
    const std::wstring part = m_folder.PathOf(L"part.log");
    for (const size_t size : {bytes.size() / 2, bytes.size() / 2 + 1, bytes.size() - 401})
    {
        WriteFileBytes(part, bytes.substr(0, size));
        EXPECT_EQ(0, Finish(From(part, m_folder.Path())).status);
        WriteFileBytes(part, bytes.substr(bytes.size() - size));
        EXPECT_EQ(0, Finish(From(part, m_folder.Path())).status);
    }
    std::string narrow;
    for (size_t i = 2; i < bytes.size(); i += 2)
        narrow += bytes[i];
    WriteFileBytes(part, narrow);
    EXPECT_EQ(0, Finish(From(part, m_folder.Path())).status);
    EXPECT_EQ(3U, PageData(FileBytes(m_folder.PathOf(L"part.html")))["steps"].size());
}

TEST_F(ClientPicture, LogStartsNoWorkbench)
{
    const std::wstring log = LogOfARun({L"load x"});
    ClientRun::Setup setup = From(log, m_folder.Path());
    setup.arguments.insert(setup.arguments.end(), {L"--json", L"--report", m_page});
    EXPECT_EQ("{\"type\":\"report\",\"file\":" + Json(std::string(m_page.begin(), m_page.end())).dump() + "}\n",
              Finish(setup).rawOutput);
    EXPECT_EQ("log", Page()["session"]["source"]);
    EXPECT_FALSE(PathExists(m_folder.PathOf(L"sent in.html")));
}

TEST_F(ClientPicture, WhatIsNoLogIsRefused)
{
    const TemporaryFile no("this is no log\n", L"no.log");
    const ClientResult result = Finish(From(no.Path(), m_folder.Path()));
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, HasSubstr("no.log is no trace log of a workbench\n"));
    EXPECT_FALSE(PathExists(m_folder.PathOf(L"no.html")));
    const ClientResult none = Finish(From(m_folder.PathOf(L"none.log"), m_folder.Path()));
    EXPECT_EQ(2, none.status);
    EXPECT_THAT(none.errors, HasSubstr("none.log cannot be read: "));
}

TEST_F(ClientPicture, LogGoesWithNoSession)
{
    for (const std::vector<std::wstring>& more : std::vector<std::vector<std::wstring>>{{L"load x"},
                                                                                        {L"-s", L"-"},
                                                                                        {L"-i"},
                                                                                        {L"-a", L"1"},
                                                                                        {L"-k"},
                                                                                        {L"-e"},
                                                                                        {L"-f"},
                                                                                        {L"-d"},
                                                                                        {L"-w", L"x"},
                                                                                        {L"-j", L"--stream"}})
    {
        ClientRun::Setup setup = From(L"x.log");
        setup.arguments.insert(setup.arguments.end(), more.begin(), more.end());
        const ClientResult result = Finish(setup);
        EXPECT_EQ(2, result.status) << testing::PrintToString(more.front());
        EXPECT_THAT(result.errors, HasSubstr("--report-from")) << testing::PrintToString(more.front());
    }
}
