#include "client/base/Folders.h"

#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

TEST(SessionFolders, AFolderIsAPathUpToItsLastSeparator)
{
    EXPECT_EQ(L"C:\\a\\", FolderOf(L"C:\\a\\b.exe"));
    EXPECT_EQ(L"C:\\a/", FolderOf(L"C:\\a/b"));
    EXPECT_EQ(L"C:\\a\\", FolderOf(L"C:\\a\\"));
    EXPECT_EQ(L"", FolderOf(L"b.exe"));
    EXPECT_EQ(L"", FolderOf(L""));
}

TEST(SessionFolders, EnvironmentValuesAreWholeOrEmpty)
{
    const std::wstring value(5000, L'v');
    SetEnvironmentVariableW(L"ORV_FOLDERS", value.c_str());
    EXPECT_EQ(value, EnvironmentValue(L"ORV_FOLDERS"));
    SetEnvironmentVariableW(L"ORV_FOLDERS", nullptr);
    EXPECT_EQ(L"", EnvironmentValue(L"ORV_FOLDERS"));
}

TEST(SessionFolders, KeptFilesLieInTheUsersLocalData)
{
    const std::wstring before = EnvironmentValue(L"LOCALAPPDATA");
    SetEnvironmentVariableW(L"LOCALAPPDATA", L"X:\\local");
    EXPECT_EQ(L"X:\\local\\OrvClient\\", KeptFilesFolder());
    SetEnvironmentVariableW(L"LOCALAPPDATA", nullptr);
    EXPECT_EQ(L"", KeptFilesFolder());
    SetEnvironmentVariableW(L"LOCALAPPDATA", before.c_str());
}

TEST(SessionFolders, AreMadeWithThoseThatTheyLieIn)
{
    const TemporaryFolder place;
    for (const wchar_t* name : {L"a\\b\\c", L"a\\b\\c", L"a\\b\\d\\", L"e/f", L"g"})
    {
        EXPECT_TRUE(MakeFolders(place.PathOf(name)));
        EXPECT_TRUE(PathExists(place.PathOf(name)));
    }
}

TEST(SessionFolders, AFileInTheWayIsAReason)
{
    const TemporaryFolder place;
    place.MakeFile(L"file");
    EXPECT_FALSE(MakeFolders(place.PathOf(L"file")));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, GetLastError());
    EXPECT_FALSE(MakeFolders(place.PathOf(L"file\\b")));
    EXPECT_NE(DWORD{ERROR_SUCCESS}, GetLastError());
    EXPECT_FALSE(MakeFolders(L""));
}
