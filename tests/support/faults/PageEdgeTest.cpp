#include "tests/support/faults/PageEdge.h"

#include <windows.h>

#include <gmock/gmock.h>

TEST(PageEdge, TextEndsWithItsPage)
{
    const PageEdge<wchar_t> page(L"abc");
    EXPECT_STREQ(L"abc", page.Text());
    EXPECT_EQ(page.Text() + 4, page.Unreadable());
    EXPECT_FALSE(IsBadReadPtr(page.Text(), 8));
    EXPECT_TRUE(IsBadReadPtr(page.Text(), 9));
}
