#include "client/reports/Hints.h"

#include "tests/support/worlds/Files.h"

#include <gmock/gmock.h>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ClientHintTexts, ExitCodesAreExplained)
{
    const struct
    {
        uint32_t exitCode;
        const wchar_t* hint;
    } cases[] = {
        {0, L"its exit code is 0: it got too few arguments"},
        {1, L"its exit code is 1: it ended by itself, in order"},
        {42, L"its exit code is 42"},
        {0xC0000005, L"its exit code is 3221225477 (0xC0000005): access violation"},
        {0xC0000135, L"its exit code is 3221225781 (0xC0000135): a DLL that it needs is missing"},
        {0xE0434352, L"its exit code is 3762504530 (0xE0434352): a managed exception that nobody caught"},
        {0xDEADBEEF, L"its exit code is 3735928559 (0xDEADBEEF)"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(expected.hint, HintsAfterLoss(L"", expected.exitCode, 0).at(0));
}

TEST(ClientHintTexts, MissingDispatcherIsNamedAndAPresentOneIsNot)
{
    const TemporaryFile dispatcher("", L"Program.dll");
    const std::wstring path = dispatcher.Path();
    const std::wstring folder = path.substr(0, path.find_last_of(L'\\') + 1);
    for (const std::wstring& hint : HintsAfterLoss(folder + L"Program.exe", std::nullopt, 0))
        EXPECT_EQ(std::wstring::npos, hint.find(L"dispatcher")) << testing::PrintToString(hint);
    EXPECT_EQ(L"the managed dispatcher is missing: " + folder + L"Other.dll",
              HintsAfterLoss(folder + L"Other.exe", std::nullopt, 0).at(0));
}

TEST(ClientHintTexts, LogOfAnEarlierRunIsNotShown)
{
    const uint64_t inTheFuture = 0x7000000000000000;
    for (const std::wstring& hint : HintsAfterLoss(L"", std::nullopt, inTheFuture))
        EXPECT_EQ(std::wstring::npos, hint.find(L"ends with")) << testing::PrintToString(hint);
}

TEST(ClientHintTexts, LastLinesLeaveOutTheEmptyOnes)
{
    EXPECT_THAT(LastLines(L"\xFEFF"
                          L"one\r\n\r\ntwo\r\n\r\nthree\r\n",
                          2),
                ElementsAre(L"two", L"three"));
    EXPECT_THAT(LastLines(L"\xFEFF"
                          L"one\r\ntwo",
                          5),
                ElementsAre(L"one", L"two"));
    EXPECT_THAT(LastLines(L"\xFEFF\r\n", 5), IsEmpty());
    EXPECT_THAT(LastLines(L"", 5), IsEmpty());
}
