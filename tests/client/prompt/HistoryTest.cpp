#include "client/prompt/History.h"

#include "tests/support/processes/EnvironmentVariable.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

TEST(History, IsKeptFromSessionToSession)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"new\\history.txt");
    {
        History history(path);
        EXPECT_THAT(history.Lines(), IsEmpty());
        EXPECT_FALSE(PathExists(path)) << "nothing to keep yet";
        history.Add(L"load x");
        history.Add(L"get \x65E5");
    }
    History history(path);
    EXPECT_THAT(history.Lines(), ElementsAre(L"load x", L"get \x65E5"));
    history.Add(L"stop");
    EXPECT_EQ("load x\r\nget \xE6\x97\xA5\r\nstop\r\n", FileBytes(path));
}

TEST(History, ALineIsNotRepeated)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"h.txt");
    History history(path);
    history.Add(L"get a");
    history.Add(L"get a");
    history.Add(L"");
    history.Add(L"get b");
    history.Add(L"get a");
    EXPECT_THAT(history.Lines(), ElementsAre(L"get a", L"get b", L"get a"));
    EXPECT_EQ("get a\r\nget b\r\nget a\r\n", FileBytes(path));
}

TEST(History, SessionsSideBySideAddToOneFile)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"h.txt");
    History one(path);
    History other(path);
    one.Add(L"1");
    other.Add(L"2");
    one.Add(L"3");
    EXPECT_THAT(one.Lines(), ElementsAre(L"1", L"3"));
    EXPECT_THAT(History(path).Lines(), ElementsAre(L"1", L"2", L"3"));
}

TEST(History, WhatIsNoTextIsLeftOut)
{
    const TemporaryFile file("one\n\n\xFF\r\ntwo\r\nthree");
    EXPECT_THAT(History(file.Path()).Lines(), ElementsAre(L"one", L"two", L"three"));
}

TEST(History, TheLastThousandAreKept)
{
    std::string bytes;
    for (int i = 0; i < 1999; ++i)
        bytes += std::to_string(i) + "\r\n";
    const TemporaryFile file(bytes);
    {
        const History history(file.Path());
        ASSERT_EQ(1000U, history.Lines().size());
        EXPECT_EQ(L"999", history.Lines().front());
        EXPECT_EQ(bytes, FileBytes(file.Path())) << "cut only at twice as many";
    }
    WriteFileBytes(file.Path(), bytes + "1999\r\n");
    History history(file.Path());
    ASSERT_EQ(1000U, history.Lines().size());
    EXPECT_EQ(L"1000", history.Lines().front());
    EXPECT_EQ(bytes.substr(bytes.find("\r\n1000\r\n") + 2) + "1999\r\n", FileBytes(file.Path()));
    history.Add(L"more");
    EXPECT_EQ(1000U, history.Lines().size());
    EXPECT_EQ(L"1001", history.Lines().front());
}

TEST(History, AFileThatAnotherSessionHoldsIsWaitedFor)
{
    const TemporaryFile file("one\n");
    HANDLE held = CreateFileW(file.Path(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, held);
    EXPECT_THAT(History(file.Path()).Lines(), IsEmpty()) << "not for ever";
    CloseHandle(held);
    EXPECT_THAT(History(file.Path()).Lines(), ElementsAre(L"one"));
}

TEST(History, WithoutAFileItIsThisSessions)
{
    History history(L"");
    history.Add(L"get a");
    EXPECT_THAT(history.Lines(), ElementsAre(L"get a"));
    History impossible(L"c:\\no such folder\\deeper\\h.txt");
    impossible.Add(L"get b");
    EXPECT_THAT(impossible.Lines(), ElementsAre(L"get b"));
}

TEST(History, TheFileIsTheUsersUnlessHeNamesAnother)
{
    EXPECT_THAT(HistoryPath(), EndsWith(L"\\OrvClient\\history.txt"));
    const EnvironmentVariable other(L"ORV_CLIENT_HISTORY", L"c:\\mine.txt");
    EXPECT_EQ(L"c:\\mine.txt", HistoryPath());
    const EnvironmentVariable off(L"ORV_CLIENT_HISTORY", L"off");
    EXPECT_EQ(L"", HistoryPath());
}
