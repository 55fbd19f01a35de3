#include "client/log/LogFollower.h"

#include "tests/support/faults/CallRecorder.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

TEST(ClientLogFollower, FileIsNotReadWhereTheWorkbenchCannotWriteIt)
{
    EXPECT_TRUE(LogFollower::CanReadFile());
    const Redirect<decltype(_wfopen_s)> open("_wfopen_s", [](FILE** file, const wchar_t*, const wchar_t*) -> errno_t {
        *file = nullptr;
        return ENOENT;
    });
    EXPECT_FALSE(LogFollower::CanReadFile());
}

TEST(ClientLogFollower, FileIsNotReadWhereItsWriterKeepsItForItself)
{
    const Redirect<decltype(CreateFileW)> open(
        "CreateFileW", [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            SetLastError(ERROR_SHARING_VIOLATION);
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_FALSE(LogFollower::CanReadFile());
}

TEST(ClientLogFollower, LogThatCannotBeReadAfterAllIsTold)
{
    const Redirect<decltype(CreateFileW)> open(
        "CreateFileW", [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            SetLastError(ERROR_SHARING_VIOLATION);
            return INVALID_HANDLE_VALUE;
        });
    std::vector<std::wstring> lines;
    LogFollower follower([&](const std::wstring& line) { lines.push_back(line); }, true);
    EXPECT_FALSE(follower.Begin(GetCurrentProcessId(), 1, LogFollower::From::Start));
    follower.Finish();
    EXPECT_THAT(lines, testing::IsEmpty());
}

TEST(ClientLogFollower, OnlyTheFollowedProcessIsHeard)
{
    std::vector<std::wstring> lines;
    LogFollower follower([&](const std::wstring& line) { lines.push_back(line); }, false);
    follower.OnDebugText(1, "early\n");
    follower.OnDebugText(2, "other\n");
    follower.OnDebugText(1, "\n");
    EXPECT_TRUE(follower.Begin(1, 2, LogFollower::From::Start));
    follower.OnDebugText(2, "other\n");
    follower.OnDebugText(1, "late\n");
    follower.Finish();
    EXPECT_THAT(lines, testing::ElementsAre(L"early", L"late"));
}

TEST(ClientLogFollower, AttachedFollowerShowsNothingOld)
{
    std::vector<std::wstring> lines;
    LogFollower follower([&](const std::wstring& line) { lines.push_back(line); }, false);
    follower.OnDebugText(1, "early\n");
    EXPECT_TRUE(follower.Begin(1, 2, LogFollower::From::Now));
    follower.OnDebugText(1, "late\n");
    EXPECT_THAT(lines, testing::ElementsAre(L"late"));
}
