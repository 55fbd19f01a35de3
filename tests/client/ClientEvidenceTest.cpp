// The evidence of a workbench whose runtime does what it is told.

#include "tests/client/ClientEvidence.h"

#include "tests/client/ScriptedClient.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{
ClientRun::Setup Kept(const TemporaryFolder& place, std::vector<std::wstring> arguments)
{
    arguments.insert(arguments.begin(), {L"--evidence", place.Path()});
    return Scripted(arguments);
}
} // namespace

TEST(ClientEvidenceOfARun, ACaughtCrashIsLookedAtBeforeTheProcessEnds)
{
    for (const wchar_t* crash : {L"crash=access", L"throw"})
    {
        const TemporaryFolder place;
        const ClientResult result = Finish(Kept(place, {L"invoke " + std::wstring(crash)}));
        EXPECT_EQ(3, result.status);
        EXPECT_THAT(result.output, HasSubstr("    message exiting\n"));
        const LeftEvidence evidence(place, result.errors);
        EXPECT_THAT(evidence.Read(L"workbench.dmp"), StartsWith("MDMP"));
        EXPECT_THAT(evidence.Report(), HasSubstr("\nCommand    invoke " + std::string(crash, crash + wcslen(crash))));
        EXPECT_THAT(evidence.Report(), HasSubstr(", gone: its exit code is 1: it crashed in the call, or was ended "
                                                 "there\r\n"));
        EXPECT_THAT(evidence.Report(), HasSubstr(" CHost::Run WorkBench Exception in main loop\r\n"));
    }
}

TEST(ClientEvidenceOfARun, WhatIsGoneLeavesLogAndOutput)
{
    const TemporaryFolder place;
    const ClientResult result = Finish(Kept(place, {L"load print=one", L"load print=two; exit=42"}));
    const LeftEvidence evidence(place, result.errors);
    EXPECT_EQ("one\r\ntwo\r\n", evidence.Read(L"output.txt"));
    const std::string log = evidence.Read(L"trace.log");
    EXPECT_THAT(log, StartsWith("\xFF\xFE"));
    EXPECT_THAT(log, HasSubstr(std::string("e\0x\0i\0t\0=\0"
                                           "4\0",
                                           12)));
    EXPECT_FALSE(evidence.Has(L"workbench.dmp"));
    EXPECT_FALSE(evidence.Has(L"stacks.txt"));
}

TEST(ClientEvidenceOfARun, ADispatcherThatDoesNotKnowOfItIsNotWaitedFor)
{
    const TemporaryFolder place;
    const ClientResult result = Finish(Kept(place, {L"--timeout", L"1", L"invoke delay=60000"}));
    EXPECT_EQ(4, result.status);
    const LeftEvidence evidence(place, result.errors);
    EXPECT_TRUE(evidence.Has(L"workbench.dmp"));
    EXPECT_THAT(evidence.Report(), HasSubstr("\nRuntime    not known: no command had reached the dispatcher\r\n"));
}

TEST(ClientEvidenceOfARun, AStopThatHangsIsALossToo)
{
    const TemporaryFolder place;
    ClientRun::Setup setup = Kept(place, {L"--timeout", L"1", L"--stop-timeout", L"1", L"load x"});
    setup.environment = {{L"ORV_SCRIPT_RELEASE", L"delay=60000"}};
    const ClientResult result = Finish(setup);
    EXPECT_EQ(4, result.status);
    EXPECT_TRUE(LeftEvidence(place, result.errors).Has(L"workbench.dmp"));
}

TEST(ClientEvidenceOfARun, IsOnePerRun)
{
    const TemporaryFolder place;
    ClientRun::Setup setup = Kept(place, {L"-i"});
    setup.input = "invoke exit=1\nstart\ninvoke exit=2\n";
    const ClientResult result = Finish(setup);
    size_t count = 0;
    for (size_t at = result.errors.find("its evidence: "); at != std::string::npos;
         at = result.errors.find("its evidence: ", at + 1))
        ++count;
    EXPECT_EQ(2U, count);
}

TEST(ClientEvidenceOfARun, ACommandThatFailsLeavesNone)
{
    const TemporaryFolder place;
    const ClientResult result = Finish(Kept(place, {L"-k", L"invoke result=1", L"load status=0x80131500"}));
    EXPECT_THAT(result.errors, Not(HasSubstr("evidence")));
}

TEST(ClientEvidenceOfARun, JsonNamesTheFolder)
{
    const TemporaryFolder place;
    const ClientResult result = Finish(Kept(place, {L"--json", L"invoke exit=42"}));
    EXPECT_THAT(result.rawOutput, HasSubstr("{\"type\":\"evidence\",\"folder\":\""));
    EXPECT_EQ("", result.errors);
}

TEST(ClientEvidenceOfARun, APlaceThatCannotBeIsRefusedBeforeTheStart)
{
    const TemporaryFolder place;
    const std::wstring file = place.MakeFile(L"file");
    const ClientResult result = Finish(Scripted({L"--evidence", file, L"load x"}));
    EXPECT_EQ(2, result.status);
    EXPECT_THAT(result.errors, HasSubstr("\\file\\ cannot be made: "));
    EXPECT_EQ("", result.output);
    EXPECT_EQ(2, Finish(Scripted({L"--evidence", place.Path(), L"--no-evidence", L"load x"})).status);
}

// The folder went away after the start.
TEST(ClientEvidenceOfARun, TellsWhenItCannotBeKept)
{
    const TemporaryFolder place;
    const std::wstring folder = place.PathOf(L"gone");
    ClientRun::Setup setup = Scripted({L"--evidence", folder, L"-i"});
    setup.keepsInputOpen = true;
    ClientRun run(setup);
    run.AwaitOutput("ready after");
    ASSERT_NE(FALSE, RemoveDirectoryW(folder.c_str()));
    place.MakeFile(L"gone");
    run.Type("invoke exit=42\n");
    run.EndInput();
    run.Wait();
    EXPECT_THAT(run.Errors(), HasSubstr("\n  its evidence cannot be kept: "));
}
