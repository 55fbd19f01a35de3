#include "tests/support/faults/HeldResources.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

TEST(HeldResources, CountAHandleThatStaysOpen)
{
    const unsigned before = OpenHandleCount();
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(before + 1, OpenHandleCount());
    CloseHandle(event);
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_TRUE(HeapIsConsistent());
}

TEST(HeldResources, NameWhatIsOpen)
{
    const std::wstring name = L"orv-held-" + std::to_wstring(GetCurrentProcessId());
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    EXPECT_THAT(OpenHandleNames(),
                testing::ContainsRegex(" Event .*" + std::string(name.begin(), name.end()) + "\n"));
    CloseHandle(event);
}
