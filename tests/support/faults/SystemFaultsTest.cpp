#include "tests/support/faults/SystemFaults.h"

#include "OrvProfiler/foundation/SystemFunction.h"
#include "tests/support/faults/HeldResources.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <stdexcept>

namespace
{
// Calls of the test program, through its import table.
HANDLE MakeEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

BOOL CloseEvent(HANDLE event)
{
    return CloseHandle(event);
}
} // namespace

TEST(SystemFaults, FailsTheCallAskedForAndCountsThoseThatAreNotTheTestsOwn)
{
    SystemFaults faults;
    CloseEvent(MakeEvent());
    EXPECT_EQ(0U, faults.Calls("CreateEventW"));
    faults.FailCall("CreateEventW", 2);
    HANDLE const first = MakeEvent();
    HANDLE own = nullptr;
    {
        const SystemFaults::Paused paused;
        own = MakeEvent();
    }
    EXPECT_FALSE(faults.HasFailed());
    SetLastError(0);
    HANDLE const second = MakeEvent();
    const DWORD error = GetLastError();
    HANDLE const third = MakeEvent();
    faults.Stop();
    EXPECT_TRUE(faults.HasFailed());
    EXPECT_NE(nullptr, first);
    EXPECT_NE(nullptr, own);
    EXPECT_EQ(nullptr, second);
    EXPECT_EQ(1450U, error);
    EXPECT_NE(nullptr, third);
    EXPECT_EQ(3U, faults.Calls("CreateEventW"));
    EXPECT_EQ(2U, faults.Successes("CreateEventW"));
    for (HANDLE const event : {first, own, third})
        CloseEvent(event);
    EXPECT_THROW(faults.FailCall("NoSuchFunction", 1), std::runtime_error);
}

TEST(SystemFaults, LetsACallThatGivesBackDoSoBeforeItFails)
{
    SystemFaults faults;
    const unsigned handles = OpenHandleCount();
    faults.FailCall("CloseHandle", 1);
    HANDLE const event = MakeEvent();
    EXPECT_FALSE(CloseEvent(event));
    EXPECT_EQ(0U, faults.SurplusReleases());
    EXPECT_FALSE(CloseEvent(event));
    EXPECT_EQ(1U, faults.SurplusReleases());
    EXPECT_FALSE(CloseEvent(nullptr));
    faults.Stop();
    EXPECT_EQ(1U, faults.SurplusReleases());
    EXPECT_EQ(1U, faults.Successes("CloseHandle"));
    EXPECT_EQ(handles, OpenHandleCount());
}

TEST(SystemFaults, ReachesWhatIsLookedUp)
{
    SystemFaults faults;
    const SystemFunction<DWORD(HANDLE)> getId(GetModuleHandleW(L"kernel32"), "GetProcessId");
    ASSERT_TRUE(getId != nullptr);
    faults.FailCall("GetProcessId", 1);
    EXPECT_EQ(0U, getId(GetCurrentProcess()));
    EXPECT_EQ(GetCurrentProcessId(), getId(GetCurrentProcess()));
    EXPECT_EQ(2U, faults.Calls("GetProcessId"));
}
