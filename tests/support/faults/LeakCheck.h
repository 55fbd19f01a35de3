#pragma once

#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/HeldResources.h"

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

// Runs an operation with its first allocation failing, then with its second, and so on until none fails. Expects that
// no run leaves kernel handles or memory behind. Returns how many allocations were made to fail. The operation must
// do without the test framework, which allocates too.
template <class Operation>
unsigned ExpectNothingLeaksWithoutMemory(Operation operation)
{
    unsigned handles = 0;
    for (unsigned number = 1;; ++number)
    {
        bool failed = false;
        size_t blocks = 0;
        {
            AllocationProbe probe;
            probe.FailRequest(number);
            operation();
            failed = probe.HasFailed();
            probe.StopFailing();
            blocks = probe.LiveBlocks();
        }
        EXPECT_EQ(blocks, 0U) << "failed allocation " << number;
        if (!failed)
            return number - 1;
        // The first exception of a process opens handles for good.
        if (number == 1)
            handles = OpenHandleCount();
        EXPECT_EQ(OpenHandleCount(), handles) << "failed allocation " << number;
    }
}
