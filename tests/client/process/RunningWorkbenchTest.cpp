#include "client/process/RunningWorkbench.h"

#include "tests/client/SessionFailure.h"
#include "tests/support/faults/SystemCall.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <optional>

TEST(SessionRunningWorkbench, ProcessThatCannotBeOpenedIsNone)
{
    const SystemCall<decltype(OpenProcess)> open("OpenProcess", ERROR_ACCESS_DENIED);
    EXPECT_EQ(SessionFailure::NoWorkbench,
              FailureOf([] { FindWorkbench(GetCurrentProcessId(), std::nullopt); }).second);
}

TEST(SessionRunningWorkbench, ClientIdThatIsGivenIsNotLookedUp)
{
    const SystemCall<decltype(OpenProcess)> open("OpenProcess", ERROR_ACCESS_DENIED);
    const RunningWorkbench found = FindWorkbench(0x1234, 0xABC);
    EXPECT_EQ(0x1234U, found.processId);
    EXPECT_EQ(0xABCU, found.clientId);
    EXPECT_TRUE(open.Calls().empty());
}
