#include "OrvProfiler/TString.h"

#include <gtest/gtest.h>

TEST(TString, NewStringIsEmptyWithRoomFor260Units)
{
    const TString text;
    EXPECT_STREQ(L"", text.GetBuffer());
    EXPECT_EQ(0U, text.GetLength());
    EXPECT_EQ(260U, text.GetCapacity());
    EXPECT_TRUE(text.IsEmpty());
}

TEST(TString, AssigningCountsTheOldContentToo)
{
    TString text(std::wstring(255, L'o').c_str());
    text = L"0123456789";
    EXPECT_STREQ(L"0123456789", text);
    EXPECT_EQ(265U, text.GetCapacity());
}

TEST(TString, ReplaceResumesAfterEachMatch)
{
    TString text(L"aaa");
    EXPECT_EQ(1U, text.Replace(L"aa", L"b"));
    EXPECT_STREQ(L"ba", text);
}

TEST(TString, FileNameIsCutOutOfAPath)
{
    const TString path(L"a\\b\\c.dll");
    EXPECT_EQ(3U, path.ReverseFind(L'\\', 0));
    EXPECT_STREQ(L"c.dll", path.Mid(path.ReverseFind(L'\\', 0) + 1));
}
