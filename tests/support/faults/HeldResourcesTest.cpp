#include "tests/support/faults/HeldResources.h"

#include <windows.h>

#include <gmock/gmock.h>

TEST(HeldResources, CountAHandleThatStaysOpen)
{
    const unsigned before = OpenHandleCount();
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(before + 1, OpenHandleCount());
    CloseHandle(event);
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_TRUE(HeapIsConsistent());
}
