#include "client/input/CommandLine.h"

#include "client/console/ClientError.h"
#include "client/input/LoadPath.h"
#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <initializer_list>
#include <utility>
#include <vector>

namespace
{
Options OptionsOf(std::initializer_list<const wchar_t*> arguments)
{
    std::vector<const wchar_t*> words{L"OrvClient"};
    words.insert(words.end(), arguments);
    return ParseCommandLine(static_cast<int>(words.size()), words.data()).value();
}

// Every standard stream is a console.
class AtConsole
{
    Redirect<decltype(GetConsoleMode)> m_mode{"GetConsoleMode", [](HANDLE, DWORD* mode) -> BOOL {
                                                  *mode = 0;
                                                  return TRUE;
                                              }};
};
} // namespace

TEST(CommandLine, AtAPromptCommandsHaveNoTimeLimit)
{
    EXPECT_EQ(TimeLimits::c_noLimit, OptionsOf({L"-i"}).limits.commandMs);
    const AtConsole console;
    EXPECT_EQ(TimeLimits::c_noLimit, OptionsOf({}).limits.commandMs);
    EXPECT_EQ(60000U, OptionsOf({L"--timeout", L"60"}).limits.commandMs);
    EXPECT_EQ(60000U, OptionsOf({L"load x"}).limits.commandMs);
    EXPECT_EQ(60000U, OptionsOf({L"--script", L"-"}).limits.commandMs);
    EXPECT_EQ(30000U, OptionsOf({}).limits.readyMs);
}

TEST(CommandLine, OnlyAUserAtAConsoleIsAsked)
{
    EXPECT_FALSE(OptionsOf({L"-i"}).isAtConsole);
    const AtConsole console;
    EXPECT_TRUE(OptionsOf({}).isAtConsole);
    EXPECT_TRUE(OptionsOf({L"-i"}).isAtConsole);
    EXPECT_TRUE(OptionsOf({}).isInteractive);
    EXPECT_FALSE(OptionsOf({L"--json"}).isAtConsole);
    EXPECT_FALSE(OptionsOf({L"--eval"}).isAtConsole);
    EXPECT_FALSE(OptionsOf({L"load x"}).isAtConsole);
}

TEST(CommandLine, ColourIsAutomaticUnlessSaid)
{
    EXPECT_EQ(ColourUse::Automatic, OptionsOf({L"load x"}).colour);
    EXPECT_EQ(ColourUse::Automatic, OptionsOf({L"--color", L"auto", L"load x"}).colour);
    EXPECT_EQ(ColourUse::Always, OptionsOf({L"--color=always", L"load x"}).colour);
    EXPECT_EQ(ColourUse::Never, OptionsOf({L"--color", L"never", L"load x"}).colour);
}

TEST(CommandLine, ADebuggerHasNoTimeLimit)
{
    EXPECT_FALSE(OptionsOf({L"load x"}).debuggerPort);
    EXPECT_EQ(0, OptionsOf({L"--debug", L"load x"}).debuggerPort);
    EXPECT_EQ(1U, OptionsOf({L"--debug", L"load x"}).commands.size());
    EXPECT_EQ(55555, OptionsOf({L"--debug=55555", L"load x"}).debuggerPort);
    EXPECT_EQ(TimeLimits::c_noLimit, OptionsOf({L"-d", L"load x"}).limits.commandMs);
    EXPECT_EQ(10000U, OptionsOf({L"-d", L"load x"}).limits.stopMs);
    EXPECT_FALSE(OptionsOf({L"-d", L"load x"}).awaitsDebugger);
    EXPECT_TRUE(OptionsOf({L"-d", L"--debug-wait", L"load x"}).awaitsDebugger);
}

TEST(CommandLine, PageHasTheNameThatItIsGiven)
{
    EXPECT_EQ(L"", OptionsOf({L"load x"}).picture);
    EXPECT_EQ(L"C:\\a b\\page.html", OptionsOf({L"--report", L"C:\\a b\\page.html", L"load x"}).picture);
    EXPECT_EQ(FullPath(L"page.html"), OptionsOf({L"-r", L"page.html", L"load x"}).picture);
}

TEST(CommandLine, PageOfALogIsNamedAfterItInTheCurrentFolder)
{
    for (const auto& [log, page] : std::vector<std::pair<const wchar_t*, const wchar_t*>>{
             {L"C:\\zeph\\logs\\OrvWorkBench.log", L"OrvWorkBench.html"},
             {L"C:\\a.b\\sent in", L"sent in.html"},
             {L"C:\\logs\\x.1.log", L"x.1.html"}})
    {
        const Options options = OptionsOf({L"--report-from", log});
        EXPECT_EQ(log, options.pictureLog);
        EXPECT_EQ(FullPath(page), options.picture);
    }
    EXPECT_EQ(L"C:\\page.html", OptionsOf({L"--report-from", L"x.log", L"--report", L"C:\\page.html"}).picture);
}

TEST(CommandLine, PageDoesNotReplaceItsLog)
{
    EXPECT_THROW(OptionsOf({L"--report-from", L"x.html"}), ClientError);
    EXPECT_THROW(OptionsOf({L"--report-from", L"x.log", L"--report", L"X.LOG"}), ClientError);
}

TEST(CommandLine, WhatIsNoPortIsRefused)
{
    for (const wchar_t* option : {L"--debug=65536", L"--debug=x", L"--debug=-1", L"--debug=1x", L"--debug=123456"})
        EXPECT_THROW(OptionsOf({option, L"load x"}), ClientError) << option;
    EXPECT_EQ(65535, OptionsOf({L"--debug=65535", L"load x"}).debuggerPort);
    EXPECT_THROW(OptionsOf({L"--debug-wait", L"load x"}), ClientError);
    EXPECT_THROW(OptionsOf({L"--debug", L"--timeout", L"5", L"load x"}), ClientError);
}

TEST(CommandLine, ARunningWorkbenchHasItsPort)
{
    EXPECT_EQ(TimeLimits::c_noLimit, OptionsOf({L"--debug", L"--attach", L"5", L"load x"}).limits.commandMs);
    EXPECT_THROW(OptionsOf({L"--debug=55555", L"--attach", L"5", L"load x"}), ClientError);
    EXPECT_THROW(OptionsOf({L"--debug", L"--debug-wait", L"--attach", L"5", L"load x"}), ClientError);
}
