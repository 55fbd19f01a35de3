#include "client/input/LineSource.h"

#include "tests/client/ClientFailure.h"
#include "tests/support/worlds/Files.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::HasSubstr;
using testing::IsEmpty;

TEST(ClientScriptFile, LinesCarryTheirPlace)
{
    const TemporaryFile file("one\r\n\ntwo", L"x.orv");
    const std::vector<ScriptLine> lines = ReadScript(file.Path());
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ(L"one", lines[0].text);
    EXPECT_EQ(L"", lines[1].text);
    EXPECT_EQ(L"two", lines[2].text);
    EXPECT_EQ(std::wstring(file.Path()) + L":3", lines[2].where);
}

TEST(ClientScriptFile, EncodingIsToldByTheMark)
{
    const TemporaryFile plain("\xE6\x97\xA5\n");
    EXPECT_EQ(L"\x65E5", ReadScript(plain.Path()).at(0).text);
    const TemporaryFile marked("\xEF\xBB\xBF\xE6\x97\xA5\n");
    EXPECT_EQ(L"\x65E5", ReadScript(marked.Path()).at(0).text);
    const TemporaryFile wide(std::string("\xFF\xFE\xE5\x65\r\0\n\0x\0", 10));
    const std::vector<ScriptLine> lines = ReadScript(wide.Path());
    ASSERT_EQ(2U, lines.size());
    EXPECT_EQ(L"\x65E5", lines[0].text);
    EXPECT_EQ(L"x", lines[1].text);
}

TEST(ClientScriptFile, EmptyFileHasNoLines)
{
    const TemporaryFile file("");
    EXPECT_THAT(ReadScript(file.Path()), IsEmpty());
}

TEST(ClientScriptFile, OtherBytesAreRefused)
{
    for (const std::string& bytes : {std::string("load \xFF"), std::string("\xFF\xFE"
                                                                           "a",
                                                                           3)})
    {
        const TemporaryFile file(bytes, L"x.orv");
        const auto failure = ClientFailureOf([&] { ReadScript(file.Path()); });
        EXPECT_THAT(failure.first, HasSubstr(L"x.orv is neither UTF-8 nor UTF-16 text"));
        EXPECT_EQ(2, failure.second);
    }
}

TEST(ClientScriptFile, MissingFileIsToldWithTheReason)
{
    const auto failure = ClientFailureOf([] { ReadScript(L"c:\\no such folder\\x.orv"); });
    EXPECT_THAT(failure.first, HasSubstr(L"c:\\no such folder\\x.orv cannot be read: "));
    EXPECT_THAT(failure.first, HasSubstr(L"(error 3)"));
    EXPECT_EQ(2, failure.second);
}
