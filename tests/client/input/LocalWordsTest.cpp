#include "client/input/LocalWords.h"

#include "client/input/CommandHelp.h"
#include "tests/client/ClientFailure.h"
#include "tests/client/SessionFailure.h"

#include <gmock/gmock.h>
#include <string>

using testing::HasSubstr;

TEST(LocalWords, AreToldByTheFirstWord)
{
    EXPECT_EQ(LocalWord::Help, LocalWordOf(L"  HELP x"));
    EXPECT_EQ(LocalWord::Start, LocalWordOf(L"start"));
    EXPECT_EQ(LocalWord::Again, LocalWordOf(L"again\t"));
    EXPECT_EQ(LocalWord::Time, LocalWordOf(L"time"));
    EXPECT_EQ(LocalWord::History, LocalWordOf(L"history"));
    EXPECT_EQ(LocalWord::Show, LocalWordOf(L"show t"));
    EXPECT_EQ(LocalWord::Hide, LocalWordOf(L"hide"));
    EXPECT_EQ(LocalWord::Quit, LocalWordOf(L"quit"));
    EXPECT_EQ(LocalWord::Quit, LocalWordOf(L"Exit"));
    for (const wchar_t* line : {L"", L" ", L"get t", L"helpx", L"# help"})
        EXPECT_EQ(LocalWord::None, LocalWordOf(line));
}

TEST(LocalWords, TheTextIsWhatFollowsTheWord)
{
    EXPECT_EQ(L"t.X  y", TextOf(L" \tshow \t t.X  y \t"));
    EXPECT_EQ(L"", TextOf(L"show"));
    EXPECT_EQ(L"", TextOf(L"show  "));
    EXPECT_EQ(L"", TextOf(L""));
}

TEST(LocalWords, EmptyLinesAndCommentsAreNone)
{
    for (const wchar_t* line : {L"", L" \t ", L"#", L"  # get x"})
        EXPECT_TRUE(IsEmptyOrComment(line));
    EXPECT_FALSE(IsEmptyOrComment(L"get x # y"));
}

TEST(LocalWords, TimeTakesACountAndACommandToItsLastBlank)
{
    const TimedCommand timed = ParseTimed({L" time  10   get t.X ", L""});
    EXPECT_EQ(10U, timed.count);
    EXPECT_STREQ(L"get", timed.command.word->word);
    EXPECT_EQ(L"t.X ", timed.command.text);
    EXPECT_EQ(L"time", timed.command.ShownWord());
    EXPECT_EQ(L"10   get t.X ", timed.command.ShownText());
    EXPECT_EQ(999999U, ParseTimed({L"time 999999 reset", L""}).count);
    EXPECT_EQ(L"x 10", ParseTimed({L"time 10 load x 10", L""}).command.text);
}

TEST(LocalWords, ABadLineIsToldWithItsPlace)
{
    EXPECT_EQ(L"demo.txt:3: expected time N COMMAND", ClientFailureOf([] {
                                                          CheckLine({L"time 0 get x", L"demo.txt:3"});
                                                      }).first);
    EXPECT_THAT(FailureOf([] {
                    CheckLine({L"nonsense", L"demo.txt:3"});
                }).first,
                HasSubstr(L"demo.txt:3: unknown command \"nonsense\""));
    for (const wchar_t* line : {L"", L"# x", L"get t", L"time 2 get t", L"help x", L"history", L"show", L"types"})
        EXPECT_EQ(0, ClientFailureOf([&] { CheckLine({line, L""}); }).second);
}

TEST(WordHelp, EachWordHasItsLineAndTheClientsOwnAnExample)
{
    EXPECT_EQ(L"  get TEXT                     read a property\n", WordHelp(L"GET"));
    EXPECT_EQ(L"  instances                    list what was made\n", WordHelp(L" instances "));
    EXPECT_EQ(L"  again                        repeat the last command\n  for example: again\n", WordHelp(L"again"));
    EXPECT_EQ(L"  quit, exit                   end the client\n  for example: quit\n", WordHelp(L"exit"));
    EXPECT_EQ(L"", WordHelp(L"nothing"));
    EXPECT_EQ(L"", WordHelp(L""));
}
