#include "client/log/WorkbenchLog.h"

#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

namespace
{
WorkbenchLog::Setup Keeping()
{
    WorkbenchLog::Setup setup;
    setup.keepsText = true;
    return setup;
}

// Another workbench holds the log's file, as on Windows.
class HeldLog
{
private:
    const Redirect<decltype(CreateFileW)> m_open{
        "CreateFileW", [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            SetLastError(ERROR_SHARING_VIOLATION);
            return INVALID_HANDLE_VALUE;
        }};
};
} // namespace

TEST(ClientWorkbenchLog, KeepsWhatIsTracedWhereAnotherHoldsTheFile)
{
    const HeldLog held;
    WorkbenchLog log(Keeping());
    ASSERT_TRUE(log.Listen());
    OutputDebugStringW(L"1 before\n");
    log.Begin(GetCurrentProcessId(), 1, LogFollower::From::Start);
    OutputDebugStringW(L"2 behind\n");
    // What prints waits for the listener, so the line before has been taken.
    OutputDebugStringW(L"3 last\n");
    log.CatchUp();
    EXPECT_EQ(0U, log.Text().find(L"1 before\r\n2 behind\r\n"));
    log.End();
    EXPECT_EQ(L"1 before\r\n2 behind\r\n3 last\r\n", log.Text()) << "the end takes the rest";
}

TEST(ClientWorkbenchLog, KeepsTheEndOfALongOne)
{
    const HeldLog held;
    WorkbenchLog log(Keeping());
    ASSERT_TRUE(log.Listen());
    log.Begin(GetCurrentProcessId(), 1, LogFollower::From::Start);
    const std::wstring line(3000, L'x');
    for (size_t units = 0; units < 2 * WorkbenchLog::c_keptText; units += line.size())
        OutputDebugStringW((line + L"\n").c_str());
    OutputDebugStringW(L"last\n");
    log.End();
    const std::wstring text = log.Text();
    EXPECT_GE(WorkbenchLog::c_keptText, text.size());
    EXPECT_LE(WorkbenchLog::c_keptText / 2, text.size());
    EXPECT_EQ(L"last\r\n", text.substr(text.size() - 6));
}

// The file tells it all, once the workbench has ended: a listener would slow everybody.
TEST(ClientWorkbenchLog, DoesNotListenWhereTheFileIsFree)
{
    WorkbenchLog log(Keeping());
    EXPECT_TRUE(log.Listen());
    EXPECT_TRUE(DebugOutput([](uint32_t, const std::string&) {}).IsListening());
    OutputDebugStringW(L"line\n");
    log.End();
    EXPECT_EQ(L"", log.Text());
}

TEST(ClientWorkbenchLog, KeepsNothingUnasked)
{
    const HeldLog held;
    WorkbenchLog log({});
    EXPECT_TRUE(log.Listen());
    EXPECT_TRUE(DebugOutput([](uint32_t, const std::string&) {}).IsListening());
    log.End();
    EXPECT_EQ(L"", log.Text());
}
