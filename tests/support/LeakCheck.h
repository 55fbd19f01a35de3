#pragma once

#include "tests/support/AllocationWatch.h"
#include "tests/support/SystemProbe.h"

#include <gtest/gtest.h>

// Expects that an operation, which frees what it is given, leaves neither kernel handles nor memory behind. It runs
// several times: what the system and the C runtime keep from a first call is no leak. The operation must not keep
// anything for the test, such as captured lines.
template <class Operation>
void ExpectNothingLeaks(Operation operation)
{
    {
        const AllocationWatch watch;
        operation();
    }
    const unsigned handles = OpenHandleCount();
    int blocks = 0;
    {
        const AllocationWatch watch;
        operation();
        operation();
        blocks = watch.Outstanding();
    }
    EXPECT_EQ(blocks, 0);
    EXPECT_EQ(OpenHandleCount(), handles);
    EXPECT_TRUE(HeapIsConsistent());
}
