#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/client/ScriptedClient.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Json = nlohmann::json;

TEST(ClientFollowLog, ShowsTheLinesOfTheRun)
{
    const ClientResult result = Finish(Scripted({L"--follow-log", L"load \x65E5\x672C"}));
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
    const ClientResult result = Finish(Scripted({L"-f", L"load x", L"load \x65E5\x672C"}));
    EXPECT_THAT(result.output, HasSubstr(" CHost::CHost Loaded Runtime\n"));
    EXPECT_THAT(result.output, HasSubstr(" CHost::Run Command is Load: x\n"));
    EXPECT_THAT(result.output, HasSubstr(" CHost::Run Command is Load: ??\n")) << "not in the system's code page";
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
    const ClientResult result = Finish(attached);
    EXPECT_THAT(result.output, HasSubstr(" CHost::Run Command is Load: after\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("Command is Load: before")));
    EXPECT_EQ(0, result.status);
}

TEST(ClientFollowLog, OfTheFirstWorkbenchIsNotThatOfTheSecond)
{
    ClientRun::Setup setup = Scripted({L"-f"});
    setup.keepsInputOpen = true;
    ClientRun first(setup);
    for (int i = 0; i < 20; ++i)
        first.Type("load first\n");
    first.Type("load last\n");
    first.AwaitOutput("Command is Load: last");
    const ClientResult second = Finish(Scripted({L"-f", L"load second"}));
    EXPECT_THAT(second.output, HasSubstr("CHost::Run Command is Load: second\n"));
    first.EndInput();
    EXPECT_EQ(0, first.Wait());
    EXPECT_THAT(first.Output(), Not(HasSubstr("Command is Load: second")));
}
