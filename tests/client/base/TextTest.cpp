#include "client/base/Text.h"

#include <gtest/gtest.h>
#include <string>

TEST(SessionText, IsUtf8Outside)
{
    EXPECT_EQ("a\xC3\xA4\xE6\x97\xA5\xF0\x9F\x8E\x88", ToUtf8(L"a\x00E4\x65E5\xD83C\xDF88"));
    EXPECT_EQ(L"a\x00E4\x65E5\xD83C\xDF88", FromUtf8("a\xC3\xA4\xE6\x97\xA5\xF0\x9F\x8E\x88").value());
    EXPECT_EQ("", ToUtf8(L""));
    EXPECT_EQ(L"", FromUtf8("").value());
}

TEST(SessionText, LoneSurrogateIsReplaced)
{
    EXPECT_EQ("\xEF\xBF\xBD", ToUtf8(L"\xD83C"));
}

TEST(SessionText, BytesThatAreNotUtf8AreNoText)
{
    for (const char* bytes : {"\xFF", "a\xC3", "\xC0\x80", "\xED\xA0\x80"})
        EXPECT_FALSE(FromUtf8(bytes).has_value()) << testing::PrintToString(bytes);
}

TEST(SessionText, ProgramOutputThatIsNotUtf8IsStillText)
{
    EXPECT_EQ(L"\x65E5", FromProgramOutput("\xE6\x97\xA5"));
    const std::wstring other = FromProgramOutput("a\xE4z");
    EXPECT_EQ(3U, other.size());
    EXPECT_EQ(L'a', other.front());
    EXPECT_EQ(L'z', other.back());
}
