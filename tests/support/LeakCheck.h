#pragma once

#include "tests/support/AllocationProbe.h"
#include "tests/support/SystemProbe.h"

#include <gtest/gtest.h>

// Expects that an operation, which frees what it is given, leaves neither kernel handles nor memory behind. It runs
// several times: what the system and the C runtime keep from a first call is no leak. The operation must not keep
// anything for the test, such as captured lines.
template <class Operation>
void ExpectNothingLeaks(Operation operation)
{
    {
        const AllocationProbe probe;
        operation();
    }
    const unsigned handles = OpenHandleCount();
    size_t blocks = 0;
    {
        const AllocationProbe probe;
        operation();
        operation();
        blocks = probe.LiveBlocks();
    }
    EXPECT_EQ(blocks, 0U);
    EXPECT_EQ(OpenHandleCount(), handles);
    EXPECT_TRUE(HeapIsConsistent());
}
