#include "client/picture/PictureRecorder.h"

#include "client/console/EndNow.h"
#include "client/picture/ReportPair.h"
#include "tests/client/ClientFailure.h"
#include "tests/client/PageData.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::json;

namespace
{
CommandResult ResultOf(double postedMs, double elapsedMs)
{
    CommandResult result;
    result.outcome = Outcome::Succeeded;
    result.postedMs = postedMs;
    result.elapsedMs = elapsedMs;
    return result;
}

// As on Windows, where the workbench shares its log with nobody.
class LogThatIsKept
{
public:
    LogThatIsKept() { s_real = m_open.Real(); }

private:
    static inline decltype(CreateFileW)* s_real = nullptr;
    Redirect<decltype(CreateFileW)> m_open{"CreateFileW",
                                           [](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                              DWORD disposition, DWORD flags, HANDLE from) -> HANDLE {
                                               if (std::wstring(path).find(L"OrvWorkBench.log") == std::wstring::npos)
                                                   return s_real(path, access, share, security, disposition, flags,
                                                                 from);
                                               SetLastError(ERROR_SHARING_VIOLATION);
                                               return INVALID_HANDLE_VALUE;
                                           }};
};

class PictureRecorderTest : public testing::Test
{
protected:
    void Happen(Happening::Kind kind, const wchar_t* text) { m_recorder.OnHappening({kind, text}); }

    void Run(const wchar_t* line, double elapsedMs = 1.5)
    {
        m_recorder.OnCommand(ParseCommand(line), L"");
        const double posted = TickMs();
        Happen(Happening::Kind::Response, L"success");
        m_recorder.OnResult(ResultOf(posted, elapsedMs), {}, Verdict::Succeeded, L"");
    }

    Json Data() const { return PageData(FileBytes(m_path)); }
    Json Written()
    {
        m_recorder.Write();
        return Data();
    }
    // The commands, and the rest as "-".
    std::vector<std::string> StepsOf(const Json& data) const
    {
        std::vector<std::string> steps;
        for (const Json& step : data["steps"])
            steps.push_back(step.contains("number") ? step["command"].get<std::string>() : "-");
        return steps;
    }
    static std::vector<std::string> MomentsOf(const Json& step)
    {
        std::vector<std::string> moments;
        for (const Json& moment : step["moments"])
            moments.push_back(moment[1].get<std::string>() + " " + moment[2].get<std::string>());
        return moments;
    }

    const TemporaryFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"page.html");
    PictureRecorder m_recorder{PictureFile(m_path), false};
};
} // namespace

TEST_F(PictureRecorderTest, KeepsACommandWithAllThatHappened)
{
    m_recorder.OnStarted(336, 0x130, false);
    Happen(Happening::Kind::Message, L"ready");
    m_recorder.OnAnswered(TickMs());
    m_recorder.OnReady(10);
    m_recorder.OnCommand(ParseCommand(L"invoke t.Raise(2)"), L"demo.txt:3");
    Happen(Happening::Kind::Output, L"raising");
    Happen(Happening::Kind::Response, L"success");
    Happen(Happening::Kind::Message, L"idle");
    m_recorder.OnAnswered(TickMs());
    Happen(Happening::Kind::Response, L"success");
    CommandRecord record;
    record.result = 10;
    record.resultName = L"ActionInvokedOk";
    record.json = R"({"result":10,"value":{"type":"double","text":"4"},"list":[1],"more":1})";
    m_recorder.OnResult(ResultOf(TickMs() - 2, 2.0004), record, Verdict::Succeeded, L"");
    m_recorder.OnShown({L"t.Target = 4"}, {});
    Happen(Happening::Kind::Message, L"exiting");
    m_recorder.OnAnswered(TickMs());
    m_recorder.OnEnd(1);
    const Json data = Data();
    EXPECT_THAT(StepsOf(data), ElementsAre("-", "invoke", "-"));
    EXPECT_THAT(MomentsOf(data["steps"][0]), ElementsAre("message ready"));
    const Json& command = data["steps"][1];
    EXPECT_THAT(MomentsOf(command), ElementsAre("output raising", "response success", "message idle", "answer ",
                                                "response success", "shown t.Target = 4"));
    EXPECT_THAT(MomentsOf(data["steps"][2]), ElementsAre("message exiting", "answer "));
    EXPECT_EQ("demo.txt:3", command["where"]);
    EXPECT_EQ(2.0, command["elapsedMs"]);
    EXPECT_EQ("4", command["value"]["text"]);
    EXPECT_FALSE(command.contains("list"));
    EXPECT_FALSE(command.contains("more"));
    EXPECT_EQ(1, data["lives"][0]["exitCode"]);
    EXPECT_EQ(10.0, data["lives"][0]["readyElapsedMs"]);
}

TEST_F(PictureRecorderTest, TimesAreThoseOfTheHappenings)
{
    m_recorder.OnStarted(1, 1, false);
    m_recorder.OnCommand(ParseCommand(L"load x"), L"");
    Happening happening{Happening::Kind::Output, L"x"};
    const double at = happening.tickMs;
    Sleep(20);
    m_recorder.OnHappening(happening);
    m_recorder.OnResult(ResultOf(at - 5, 6), {}, Verdict::Succeeded, L"");
    const Json command = Written()["steps"][0];
    EXPECT_NEAR(5, command["moments"][0][0].get<double>() - command["atMs"].get<double>(), 0.01);
    EXPECT_NEAR(6, command["endMs"].get<double>() - command["atMs"].get<double>(), 0.01);
}

TEST_F(PictureRecorderTest, WhatWasNeverBegunIsNotWritten)
{
    m_recorder.OnError(ClientError(ExitStatus::Usage, L"bad"), {});
    EXPECT_FALSE(m_recorder.HasBegun());
    m_recorder.Write();
    EXPECT_FALSE(PathExists(m_path));
}

TEST_F(PictureRecorderTest, StartThatFailedIsWritten)
{
    m_recorder.OnError(ClientError(ExitStatus::WorkbenchLost, L"cannot be started"), {L"look"});
    EXPECT_TRUE(m_recorder.HasBegun());
    const Json data = Written();
    EXPECT_EQ("cannot be started", data["errors"][0]["message"]);
    EXPECT_EQ(3, data["errors"][0]["exitStatus"]);
    EXPECT_EQ("look", data["errors"][0]["hints"][0]);
}

TEST_F(PictureRecorderTest, EachEndOfAWorkbenchIsWritten)
{
    m_recorder.OnStarted(1, 1, false);
    Run(L"load x");
    EXPECT_FALSE(PathExists(m_path));
    m_recorder.OnEnd(1);
    EXPECT_EQ(1U, Data()["lives"].size());
    m_recorder.OnStarted(2, 1, false);
    Run(L"load y");
    m_recorder.OnEnd(std::nullopt);
    const Json data = Data();
    EXPECT_EQ(2U, data["lives"].size());
    EXPECT_FALSE(data["lives"][1].contains("exitCode"));
    EXPECT_EQ(2, data["session"]["commands"]);
}

TEST_F(PictureRecorderTest, CommandThatIsUnderWayHasNoOutcome)
{
    m_recorder.OnStarted(1, 1, false);
    m_recorder.OnCommand(ParseCommand(L"invoke x"), L"");
    Happen(Happening::Kind::Output, L"in");
    const Json data = Written();
    EXPECT_FALSE(data["steps"][0].contains("outcome"));
    EXPECT_THAT(MomentsOf(data["steps"][0]), ElementsAre("output in"));
    EXPECT_EQ(1, data["session"]["failed"]);
    EXPECT_FALSE(data["lives"][0].contains("endMs"));
}

TEST_F(PictureRecorderTest, ErrorEndsTheCommand)
{
    m_recorder.OnStarted(1, 1, false);
    m_recorder.OnCommand(ParseCommand(L"invoke x"), L"");
    m_recorder.OnError(ClientError(ExitStatus::WorkbenchLost, L"lost"), {});
    Happen(Happening::Kind::Output, L"late");
    EXPECT_THAT(StepsOf(Written()), ElementsAre("invoke", "-"));
}

TEST_F(PictureRecorderTest, SeveralRunsAreOneCommand)
{
    m_recorder.OnStarted(1, 1, false);
    m_recorder.OnCommand(ParseCommand(L"get x"), L"");
    m_recorder.OnTimes(Durations({1, 2, 3}));
    const Json command = Written()["steps"][0];
    EXPECT_EQ(3, command["times"]["count"]);
    EXPECT_EQ("succeeded", command["outcome"]);
}

TEST_F(PictureRecorderTest, QuestionsStandThereAsTheUserAskedThem)
{
    m_recorder.OnStarted(1, 1, false);
    Command command = ParseCommand(L"invoke OrvWorkBench.Look.Types(\"a\")");
    command.asked = L"types a";
    m_recorder.OnCommand(command, L"");
    m_recorder.OnResult(ResultOf(TickMs(), 1), {}, Verdict::Succeeded, L"");
    const Json step = Written()["steps"][0];
    EXPECT_EQ("types", step["command"]);
    EXPECT_EQ("a", step["text"]);
}

TEST_F(PictureRecorderTest, ValuesThatWerePrintedElsewhereAreShown)
{
    m_recorder.OnStarted(1, 1, true);
    Run(L"get x");
    m_recorder.OnShown({}, {{{"name", L"t.Target"}, {"type", L"double"}, {"text", L"21"}}});
    const std::vector<std::string> moments = MomentsOf(Written()["steps"][0]);
    ASSERT_EQ(2U, moments.size());
    EXPECT_THAT(moments[1], HasSubstr("t.Target"));
    EXPECT_THAT(moments[1], HasSubstr("21"));
}

TEST_F(PictureRecorderTest, LongTextsAreCut)
{
    const std::wstring longText(100000, L'x');
    m_recorder.OnStarted(1, 1, false);
    m_recorder.OnCommand(ParseCommand(L"load " + longText.substr(0, 30000)), L"");
    Happen(Happening::Kind::Output, longText.c_str());
    CommandRecord record;
    Json causes = Json::array();
    for (int i = 0; i < 60; ++i)
        causes.push_back(std::string(5000, 'y'));
    record.json = Json{{"exception", {{"message", std::string(500000, 'z')}, {"frames", causes}}}}.dump();
    m_recorder.OnResult(ResultOf(TickMs(), 1), record, Verdict::Raised, L"");
    m_recorder.OnError(ClientError(ExitStatus::ExceptionRaised, longText), {longText});
    const Json data = Written();
    const Json& step = data["steps"][0];
    EXPECT_LT(step["text"].get<std::string>().size(), 4100U);
    EXPECT_THAT(step["text"].get<std::string>(), HasSubstr("x [... 26000 more characters]"));
    EXPECT_LT(step["moments"][0][2].get<std::string>().size(), 4100U);
    EXPECT_LT(step["exception"]["message"].get<std::string>().size(), 2100U);
    EXPECT_EQ(50U, step["exception"]["frames"].size());
    EXPECT_LT(step["exception"]["frames"][0].get<std::string>().size(), 2100U);
    EXPECT_LT(data["errors"][0]["message"].get<std::string>().size(), 4100U);
}

TEST_F(PictureRecorderTest, ManyCommandsAreBounded)
{
    m_recorder.OnStarted(1, 1, false);
    for (int i = 0; i < 12500; ++i)
        Run(L"get x");
    const Json data = Written();
    EXPECT_EQ(12500, data["session"]["commands"]);
    EXPECT_EQ(500, data["session"]["commandsLeftOut"]);
    EXPECT_EQ(12000U, data["steps"].size());
    EXPECT_EQ(12500, data["steps"][11999]["number"]);
}

TEST_F(PictureRecorderTest, PageThatCannotBeWrittenIsToldByWriteAlone)
{
    m_recorder.OnStarted(1, 1, false);
    Run(L"get x");
    const FailingCall<decltype(WriteFile)> write("WriteFile", ERROR_DISK_FULL);
    m_recorder.OnEnd(1);
    EXPECT_EQ(2, ClientFailureOf([&] { m_recorder.Write(); }).second);
}

TEST_F(PictureRecorderTest, WhatHasNotChangedIsNotWrittenAgain)
{
    m_recorder.OnStarted(1, 1, false);
    m_recorder.OnEnd(1);
    WriteFileBytes(m_path, "mine");
    m_recorder.Write();
    EXPECT_EQ("mine", FileBytes(m_path));
}

TEST_F(PictureRecorderTest, FollowedLinesStandInForALogThatCannotBeRead)
{
    const LogThatIsKept kept;
    m_recorder.OnStarted(1, 1, false);
    const std::wstring now = std::to_wstring(static_cast<int64_t>(TickMs()));
    Run(L"load x", 3);
    std::thread([&] {
        m_recorder.OnLogLine(now + L" CWBEvent::Wait Event is EV_LOAD");
        m_recorder.OnLogLine(now + L" CHost::Run Command is Load: c:\\x");
        m_recorder.OnLogLine(now + L" CHost::Run command succeeded, result = ActionSuccess");
    }).join();
    m_recorder.OnEnd(1);
    EXPECT_EQ(3U, Data()["steps"][0]["log"].size());
}

TEST_F(PictureRecorderTest, EvidenceIsNamed)
{
    m_recorder.OnStarted(1, 1, false);
    m_recorder.OnEvidence(L"C:\\evidence\\1", L"");
    m_recorder.OnEvidence(L"", L"disk full");
    const Json data = Written();
    EXPECT_EQ(Json::parse(R"([{"folder":"C:\\evidence\\1"}])"), data["session"]["evidence"]);
    EXPECT_EQ("the evidence cannot be kept: disk full", data["errors"][0]["message"]);
    for (int i = 0; i < 200; ++i)
        m_recorder.OnEvidence(std::to_wstring(i), L"");
    const Json evidence = Written()["session"]["evidence"];
    EXPECT_EQ(100U, evidence.size());
    EXPECT_EQ("199", evidence[99]["folder"]);
    m_recorder.OnEvidence(m_folder.PathOf(L"left\\1\\"), L"");
    EXPECT_EQ("left\\1\\", Written()["session"]["evidence"][99]["below"]);
}

ORV_CHILD_ROLE(EndInACommand)
{
    PictureRecorder recorder{PictureFile(arguments.at(0)), false};
    recorder.OnStarted(1, 1, false);
    recorder.OnCommand(ParseCommand(L"invoke x"), L"");
    std::thread([] { EndNow(ExitStatus::OutputClosed); }).join();
    return 0;
}

TEST(PictureRecorderEnd, ProcessThatEndsAtOnceLeavesItsPage)
{
    const TemporaryFolder folder;
    EXPECT_EQ(8U, ChildProcess::StartRole(L"EndInACommand", {folder.PathOf(L"page.html")}).WaitForExit());
    EXPECT_EQ("invoke", PageData(FileBytes(folder.PathOf(L"page.html")))["steps"][0]["command"]);
}

namespace
{
// What a report was told, one letter each.
class Named final : public Report
{
public:
    Named(char name, std::string& told) : m_name(name), m_told(told) {}

    void OnHappening(const Happening& happening) override { Tell("happening", happening.text); }
    void OnAnswered(double tickMs) override { Tell("answered", std::to_wstring(tickMs)); }
    void OnStarted(uint32_t workbenchId, uint32_t, bool) override { Tell("started", std::to_wstring(workbenchId)); }
    void OnReady(double elapsedMs) override { Tell("ready", std::to_wstring(elapsedMs)); }
    void OnDebuggerMayAttach(uint32_t, std::optional<uint16_t> port, bool) override
    {
        Tell("debugger", std::to_wstring(*port));
    }
    void OnCommand(const Command& command, const std::wstring& where) override
    {
        Tell("command", command.text + where);
    }
    void OnResult(const CommandResult&, const CommandRecord&, Verdict, const std::wstring& hint) override
    {
        Tell("result", hint);
    }
    void OnTimes(const Durations& durations) override { Tell("times", std::to_wstring(durations.Count())); }
    void OnEnd(std::optional<uint32_t> code) override { Tell("end", std::to_wstring(*code)); }
    void OnError(const ClientError& error, const std::vector<std::wstring>&) override
    {
        Tell("error", error.Message());
    }
    void OnEvidence(const std::wstring& folder, const std::wstring& failure) override
    {
        Tell("evidence", folder + failure);
    }
    void OnLogLine(const std::wstring& line) override { Tell("log", line); }
    void OnHistory(const std::vector<std::wstring>& commands) override { Tell("history", commands[0]); }
    void OnShown(const std::vector<std::wstring>& lines, const std::vector<ListEntry>&) override
    {
        Tell("shown", lines[0]);
    }
    void OnHelp(const std::wstring& text) override { Tell("help", text); }
    void OnPicture(const std::wstring& path) override { Tell("picture", path); }

private:
    void Tell(const std::string& what, const std::wstring& text)
    {
        m_told += m_name + what + " " + std::string(text.begin(), text.end()) + ";";
    }

    const char m_name;
    std::string& m_told;
};
} // namespace

TEST(ReportPair, TellsBothAllThatItIsToldInOrder)
{
    std::string told;
    Named first('1', told);
    Named second('2', told);
    ReportPair pair(first, second);
    Report& report = pair;
    report.OnHappening({Happening::Kind::Output, L"a"});
    report.OnAnswered(1);
    report.OnStarted(2, 3, true);
    report.OnReady(4);
    report.OnDebuggerMayAttach(5, uint16_t{6}, true);
    report.OnCommand(ParseCommand(L"load b"), L"c");
    report.OnResult({}, {}, Verdict::Failed, L"d");
    report.OnTimes(Durations({1, 2}));
    report.OnEnd(7);
    report.OnError(ClientError(ExitStatus::Usage, L"e"), {});
    report.OnEvidence(L"k", L"l");
    report.OnLogLine(L"f");
    report.OnHistory({L"g"});
    report.OnShown({L"h"}, {});
    report.OnHelp(L"i");
    report.OnPicture(L"j");
    EXPECT_EQ("1happening a;2happening a;1answered 1.000000;2answered 1.000000;1started 2;2started 2;"
              "1ready 4.000000;2ready 4.000000;1debugger 6;2debugger 6;1command bc;2command bc;1result d;2result d;"
              "1times 2;2times 2;1end 7;2end 7;1error e;2error e;1evidence kl;2evidence kl;1log f;2log f;1history "
              "g;2history g;"
              "1shown h;2shown h;1help i;2help i;1picture j;2picture j;",
              told);
}
