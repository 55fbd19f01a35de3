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
