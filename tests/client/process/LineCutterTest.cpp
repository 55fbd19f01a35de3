#include "client/process/LineCutter.h"

#include <gmock/gmock.h>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SessionLineCutter, EndWithLineFeed)
{
    LineCutter lines;
    EXPECT_THAT(lines.Feed("one\ntw"), ElementsAre(L"one"));
    EXPECT_THAT(lines.Feed("o\r\n\nthr"), ElementsAre(L"two", L""));
    EXPECT_THAT(lines.Feed(""), IsEmpty());
    EXPECT_EQ(L"thr", lines.TakeRest());
    EXPECT_EQ(L"", lines.TakeRest());
}

TEST(SessionLineCutter, CharacterMayComeInPieces)
{
    LineCutter lines;
    EXPECT_THAT(lines.Feed("\xE6\x97"), IsEmpty());
    EXPECT_THAT(lines.Feed("\xA5\n"), ElementsAre(L"\x65E5"));
}

TEST(SessionLineCutter, ByteOrderMarkAtTheStartIsNoText)
{
    LineCutter lines;
    EXPECT_THAT(lines.Feed("\xEF\xBB\xBF"
                           "a\n\xEF\xBB\xBF"
                           "b\n"),
                ElementsAre(L"a", L"\xFEFF"
                                  L"b"));
}

TEST(SessionLineCutter, WhatWasTakenOfALineIsNotGivenAgain)
{
    LineCutter lines;
    EXPECT_FALSE(lines.HasRest());
    EXPECT_THAT(lines.Feed("wait"), IsEmpty());
    EXPECT_TRUE(lines.HasRest());
    EXPECT_EQ(L"wait", lines.TakePartial());
    EXPECT_FALSE(lines.HasRest());
    EXPECT_EQ(L"", lines.TakePartial());
    EXPECT_THAT(lines.Feed("\n"), IsEmpty()) << "its end";
    EXPECT_THAT(lines.Feed("\n"), ElementsAre(L"")) << "a line of its own";
    EXPECT_THAT(lines.Feed("a"), IsEmpty());
    EXPECT_EQ(L"a", lines.TakeRest());
    EXPECT_THAT(lines.Feed("b\r\n\r\n"), ElementsAre(L"b", L""));
}

TEST(SessionLineCutter, APartialLineEndsWithAWholeCharacter)
{
    LineCutter lines;
    EXPECT_THAT(lines.Feed("a\xE6\x97"), IsEmpty());
    EXPECT_EQ(L"a", lines.TakePartial());
    EXPECT_EQ(L"", lines.TakePartial());
    EXPECT_TRUE(lines.HasRest());
    EXPECT_THAT(lines.Feed("\xA5"), IsEmpty());
    EXPECT_EQ(L"\x65E5", lines.TakePartial());
    EXPECT_THAT(lines.Feed("\xC3"), IsEmpty());
    EXPECT_EQ(L"", lines.TakePartial());
    EXPECT_THAT(lines.Feed("\xA9\xF0\x9F\x98"), IsEmpty());
    EXPECT_EQ(L"\x00E9", lines.TakePartial());
    EXPECT_THAT(lines.Feed("\x80\n"), ElementsAre(L"\xD83D\xDE00"));
}
