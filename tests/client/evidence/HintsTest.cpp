#include "client/evidence/Hints.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
LostWorkbench Of(const std::wstring& program)
{
    LostWorkbench lost;
    lost.program = program;
    return lost;
}

LostWorkbench EndedWith(uint32_t exitCode, bool inCommand = false)
{
    LostWorkbench lost;
    lost.exitCode = exitCode;
    lost.wasInCommand = inCommand;
    return lost;
}
} // namespace

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
        EXPECT_EQ(expected.hint, HintsAfterLoss(EndedWith(expected.exitCode)).at(0));
}

TEST(ClientHintTexts, InACommandTheCalledCodeHasEndedTheProcess)
{
    for (const uint32_t exitCode : {0U, 7U})
        EXPECT_EQ(L"its exit code is " + std::to_wstring(exitCode) +
                      L": it was ended in the call, as by Environment.Exit",
                  HintsAfterLoss(EndedWith(exitCode, true)).at(0));
    EXPECT_EQ(L"its exit code is 1: it crashed in the call, or was ended there",
              HintsAfterLoss(EndedWith(1, true)).at(0));
    EXPECT_EQ(L"its exit code is 3221225477 (0xC0000005): access violation",
              HintsAfterLoss(EndedWith(0xC0000005, true)).at(0));
}

TEST(ClientHintTexts, MissingDispatcherIsNamedAndAPresentOneIsNot)
{
    const TemporaryFile dispatcher("", L"Program.dll");
    const std::wstring path = dispatcher.Path();
    const std::wstring folder = path.substr(0, path.find_last_of(L'\\') + 1);
    for (const std::wstring& hint : HintsAfterLoss(Of(folder + L"Program.exe")))
        EXPECT_EQ(std::wstring::npos, hint.find(L"dispatcher")) << testing::PrintToString(hint);
    EXPECT_EQ(L"the managed dispatcher is missing: " + folder + L"Other.dll",
              HintsAfterLoss(Of(folder + L"Other.exe")).at(0));
}

TEST(ClientHintTexts, LogOfAnEarlierRunIsNotShown)
{
    LostWorkbench lost;
    lost.startTime = 0x7000000000000000; // in the future
    for (const std::wstring& hint : HintsAfterLoss(lost))
        EXPECT_EQ(std::wstring::npos, hint.find(L"ends with")) << testing::PrintToString(hint);
}

TEST(ClientHintTexts, OnlyTheClientsOwnLogIsShown)
{
    const std::wstring log =
        L"\xFEFF"
        L"1 CProxySecManager::OrvPCreateEvent CreateEvent Local\\EV_STOP7ffffff3 succeeded \r\n2 last line\r\n";
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(L"c:\\zeph\\logs\\OrvWorkBench.log", GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    ASSERT_NE(FALSE,
              WriteFile(file.Get(), log.data(), static_cast<DWORD>(log.size() * sizeof(wchar_t)), &written, nullptr));
    LostWorkbench lost;
    lost.clientId = 0x7FFFFFF3;
    EXPECT_EQ(L"  2 last line", HintsAfterLoss(lost).back());
    lost.clientId = 0xFFFFFF3;
    EXPECT_EQ(L"the trace log c:\\zeph\\logs\\OrvWorkBench.log cannot be read, or is of another run",
              HintsAfterLoss(lost).back());
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
