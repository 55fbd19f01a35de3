#include "tests/support/faults/GuardedBlock.h"

#include "tests/support/faults/HeapCalls.h"

#include <windows.h>

#include <gmock/gmock.h>

TEST(GuardedBlock, EndsWithItsPage)
{
    const GuardedBlock guard(12);
    void* const other = g_malloc(16);
    EXPECT_FALSE(guard.IsTaken());
    void* const block = g_malloc(12);
    EXPECT_TRUE(guard.IsTaken());
    EXPECT_FALSE(IsBadWritePtr(block, 12));
    EXPECT_TRUE(IsBadWritePtr(block, 13));
    g_free(block);
    g_free(other);
    g_free(g_malloc(12));
}
