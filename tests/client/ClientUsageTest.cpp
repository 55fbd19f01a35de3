#include "tests/client/ScriptedClient.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::HasSubstr;
using testing::StartsWith;

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
        {L"--stream", L"load x"},
        {L"--eval", L"--json", L"load x"},
        {L"--interactive", L"--script", L"-"},
    };
    for (const std::vector<std::wstring>& arguments : bad)
    {
        const ClientResult result = Finish(Scripted(arguments));
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
        const ClientResult result = Finish(setup);
        EXPECT_THAT(result.errors, HasSubstr("is no process id")) << testing::PrintToString(id);
        EXPECT_EQ(2, result.status) << testing::PrintToString(id);
    }
    const ClientResult both = Finish(Scripted({L"--attach", L"1", L"load x"}));
    EXPECT_EQ(2, both.status);
}

TEST(ClientUsage, HelpNamesEveryOptionWordAndExitStatus)
{
    ClientRun::Setup setup;
    setup.arguments = {L"--help"};
    const ClientResult result = Finish(setup);
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
                              "--report FILE",
                              "--report-from LOG",
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
    const ClientResult result = Finish(setup);
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
    const ClientResult result = Finish(setup);
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: c:\\no such folder\\OrvWorkBench64.exe cannot be started: "));
    EXPECT_EQ(3, result.status);
}
