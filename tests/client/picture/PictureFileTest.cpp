#include "client/picture/PictureFile.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/client/ClientFailure.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::HasSubstr;
using testing::StartsWith;

namespace
{
size_t EntriesOf(const TemporaryFolder& folder)
{
    WIN32_FIND_DATAW data{};
    const HANDLE found = FindFirstFileW(folder.PathOf(L"*").c_str(), &data);
    size_t count = 0;
    do
        count += data.cFileName[0] != L'.' ? 1U : 0U;
    while (FindNextFileW(found, &data) != FALSE);
    FindClose(found);
    return count;
}

std::pair<std::wstring, int> FailureToOpen(const std::wstring& path)
{
    return ClientFailureOf([&] { const PictureFile file(path); });
}
} // namespace

TEST(PictureFile, IsWrittenWhereNoneIs)
{
    const TemporaryFolder folder;
    const PictureFile file(folder.PathOf(L"a page.html"));
    EXPECT_EQ(folder.PathOf(L"a page.html"), file.Path());
    EXPECT_EQ(0U, EntriesOf(folder));
    file.Write("first");
    EXPECT_EQ("first", FileBytes(file.Path()));
    file.Write("second, which is longer");
    file.Write("third");
    EXPECT_EQ("third", FileBytes(file.Path()));
    EXPECT_EQ(1U, EntriesOf(folder));
}

TEST(PictureFile, GreatPagesAreWrittenWhole)
{
    const TemporaryFolder folder;
    std::string page(size_t{33} << 20, 'x');
    page.back() = 'y';
    PictureFile(folder.PathOf(L"great.html")).Write(page);
    EXPECT_TRUE(page == FileBytes(folder.PathOf(L"great.html")));
}

TEST(PictureFile, OlderOneStaysUntilTheNewOneIsWhole)
{
    const TemporaryFile older("older", L"page.html");
    const PictureFile file(older.Path());
    EXPECT_EQ("older", FileBytes(older.Path()));
    {
        const FailingCall<decltype(WriteFile)> write("WriteFile", ERROR_DISK_FULL);
        const auto [message, status] = ClientFailureOf([&] { file.Write("new"); });
        EXPECT_THAT(message, StartsWith(L"the report cannot be written to " + std::wstring(older.Path()) + L": "));
        EXPECT_THAT(message, HasSubstr(L"112"));
        EXPECT_EQ(2, status);
    }
    EXPECT_EQ("older", FileBytes(older.Path()));
    {
        const FailingCall<decltype(MoveFileExW)> move("MoveFileExW", ERROR_ACCESS_DENIED);
        EXPECT_EQ(2, ClientFailureOf([&] { file.Write("new"); }).second);
    }
    EXPECT_EQ("older", FileBytes(older.Path()));
    file.Write("new");
    EXPECT_EQ("new", FileBytes(older.Path()));
}

TEST(PictureFile, WhatFailedLeavesNothingBeside)
{
    const TemporaryFolder folder;
    const PictureFile file(folder.PathOf(L"page.html"));
    {
        const FailingCall<decltype(WriteFile)> write("WriteFile", ERROR_DISK_FULL);
        EXPECT_EQ(2, ClientFailureOf([&] { file.Write("new"); }).second);
    }
    EXPECT_EQ(0U, EntriesOf(folder));
}

TEST(PictureFile, FolderThatIsMissingIsToldAtTheBeginning)
{
    const TemporaryFolder folder;
    const auto [message, status] = FailureToOpen(folder.PathOf(L"none\\page.html"));
    EXPECT_THAT(message, HasSubstr(L"the report cannot be written to "));
    EXPECT_THAT(message, HasSubstr(L"none\\page.html: "));
    EXPECT_EQ(2, status);
}

TEST(PictureFile, WhatCannotBeReplacedIsToldAtTheBeginning)
{
    const TemporaryFolder folder;
    EXPECT_EQ(2, FailureToOpen(folder.Path()).second);
    const std::wstring readOnly = folder.MakeFile(L"read-only.html", 3);
    SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(2, FailureToOpen(readOnly).second);
    SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(0, FailureToOpen(readOnly).second);
    EXPECT_EQ(3U, FileBytes(readOnly).size());
}

TEST(PictureFile, OneThatAnotherProgramKeepsIsToldAtTheBeginning)
{
    const TemporaryFile kept("kept", L"page.html");
    const UniqueHandle keeper = UniqueHandle::FromFile(
        CreateFileW(kept.Path(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(2, FailureToOpen(kept.Path()).second);
}
