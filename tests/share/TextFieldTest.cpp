#include "OrvProfiler/share/TextField.h"

#include "tests/support/faults/PageEdge.h"

#include <gmock/gmock.h>

TEST(TextField, CopyTextCutsWhatDoesNotFit)
{
    struct Row
    {
        uint64_t capacity;
        const wchar_t* copied;
    };
    for (const Row& row : {Row{1, L""}, Row{2, L"a"}, Row{4, L"abc"}, Row{5, L"abcd"}, Row{6, L"abcd"}})
    {
        wchar_t text[] = L"xxxxxxxx";
        CopyText(text, L"abcd", row.capacity);
        EXPECT_STREQ(row.copied, text) << row.capacity;
        EXPECT_EQ(L'x', text[row.capacity]) << "nothing behind the capacity";
    }
}

TEST(TextField, CopyTextOfNothingGivesAnEmptyText)
{
    const PageEdge<wchar_t> edge(L"");
    for (const wchar_t* const source :
         {static_cast<const wchar_t*>(nullptr), L"", static_cast<const wchar_t*>(edge.Unreadable())})
    {
        wchar_t text[] = L"before";
        CopyText(text, source, 7);
        EXPECT_STREQ(L"", text);
    }
}

TEST(TextField, CopyTextReadsNoFurtherThanItWrites)
{
    const PageEdge<wchar_t> edge(L"abcd");
    edge.Text()[4] = L'e'; // now the page ends without a NUL
    wchar_t text[16] = L"before";
    CopyText(text, edge.Text(), 6);
    EXPECT_STREQ(L"abcde", text);
    CopyText(text, edge.Text(), 7);
    EXPECT_STREQ(L"", text) << "a text that runs out of its page cannot be read";
}

TEST(TextField, CopyTextToNowhereDoesNothing)
{
    wchar_t text[] = L"before";
    CopyText(text, L"after", 0);
    EXPECT_STREQ(L"before", text);
    CopyText(nullptr, L"after", 5);
}

TEST(TextField, CopyTextTakesOverlappingTexts)
{
    wchar_t text[] = L"abcdef";
    CopyText(text, text + 2, 7);
    EXPECT_STREQ(L"cdef", text);
    wchar_t other[] = L"abcdef";
    CopyText(other + 2, other, 5);
    EXPECT_STREQ(L"ababcd", other);
}
