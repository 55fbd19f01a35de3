#include "client/session/ResultFile.h"

#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <optional>
#include <string>

TEST(SessionResultFile, GivesTheLastWholeLineOnce)
{
    ResultFile results;
    EXPECT_EQ("", results.TakeLine());
    AddFileBytes(results.Path(), "one\ntwo\n");
    EXPECT_EQ("two", results.TakeLine());
    EXPECT_EQ("", results.TakeLine());
    AddFileBytes(results.Path(), "three");
    EXPECT_EQ("", results.TakeLine()) << "its end is missing";
    AddFileBytes(results.Path(), "\nfo");
    EXPECT_EQ("three", results.TakeLine());
    AddFileBytes(results.Path(), "ur\n");
    EXPECT_EQ("four", results.TakeLine());
    AddFileBytes(results.Path(), "\n");
    EXPECT_EQ("", results.TakeLine());
}

TEST(SessionResultFile, EachHasItsOwnAndTakesItAway)
{
    std::optional<ResultFile> first(std::in_place);
    const ResultFile second;
    const std::wstring path = first->Path();
    EXPECT_NE(path, second.Path());
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(path.c_str()));
    first.reset();
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(path.c_str()));
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(second.Path().c_str()));
}

TEST(SessionResultFile, WithoutAFolderForItTellsNothing)
{
    wchar_t folder[MAX_PATH];
    GetEnvironmentVariableW(L"TMP", folder, MAX_PATH);
    SetEnvironmentVariableW(L"TMP", L"C:\\no such folder");
    ResultFile results;
    SetEnvironmentVariableW(L"TMP", folder);
    EXPECT_EQ(L"", results.Path());
    EXPECT_EQ("", results.TakeLine());
}

TEST(SessionResultFile, WhatIsTooLongForALineIsNotRead)
{
    ResultFile results;
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(results.Path().c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size{};
    size.QuadPart = (64LL << 20) + 1;
    ASSERT_NE(FALSE, SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN));
    ASSERT_NE(FALSE, SetEndOfFile(file.Get()));
    EXPECT_EQ("", results.TakeLine());
}

TEST(SessionResultFile, OfAnotherClientIsReadFromItsEndOn)
{
    const uint32_t clientId = GetCurrentProcessId();
    EXPECT_FALSE(ResultFile::OfOther(clientId));
    std::optional<ResultFile> own(std::in_place);
    AddFileBytes(own->Path(), "old\n");
    std::optional<ResultFile> other = ResultFile::OfOther(clientId);
    ASSERT_TRUE(other);
    EXPECT_EQ(own->Path(), other->Path());
    EXPECT_EQ("", other->TakeLine());
    AddFileBytes(own->Path(), "new\n");
    EXPECT_EQ("new", other->TakeLine());
    EXPECT_EQ("new", own->TakeLine()) << "both are told";
    AddFileBytes(own->Path(), "one\n");
    other->SkipLines();
    EXPECT_EQ("", other->TakeLine());
    AddFileBytes(own->Path(), "two\n");
    EXPECT_EQ("two", other->TakeLine());
    own.reset();
    EXPECT_EQ("", other->TakeLine());
}

TEST(SessionResultFile, OfTwoThatAnotherClientHasNeitherIsMeant)
{
    const uint32_t clientId = GetCurrentProcessId();
    const ResultFile one;
    {
        const ResultFile two;
        EXPECT_FALSE(ResultFile::OfOther(clientId));
    }
    EXPECT_TRUE(ResultFile::OfOther(clientId));
    EXPECT_FALSE(ResultFile::OfOther(clientId / 10)) << "whose id begins the same way";
}
