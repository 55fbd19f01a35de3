#include "OrvProfiler/objects/ProxyEvent.h"
#include "tests/support/contract/VirtualTable.h"
#include "tests/support/worlds/FreshNames.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace
{
std::vector<std::string> g_called;

// Says which of its operations were called.
class TellingEvents : public CProxyEvent
{
public:
    TellingEvents() : CProxyEvent(FreshId()) {}
    ~TellingEvents() override { g_called.emplace_back("destructor"); }
    TellingEvents(const TellingEvents&) = delete;
    TellingEvents& operator=(const TellingEvents&) = delete;

    uint32_t DoWait(uint32_t count, const HANDLE* handles, uint32_t timeoutMs) override
    {
        g_called.emplace_back("DoWait");
        return count + timeoutMs + (handles != nullptr ? 1000 : 0);
    }
    bool WaitForResponse(uint32_t timeoutMs) override
    {
        g_called.emplace_back("WaitForResponse");
        return timeoutMs == 5;
    }
};
} // namespace

TEST(CProxyEventSlots, AreDoWaitDestructorWaitForResponse)
{
    auto* const events = new TellingEvents;
    const VirtualTable table(events, 1);
    const HANDLE handles[] = {nullptr};
    g_called.clear();
    EXPECT_EQ(1042U, (table.Call<uint32_t, uint32_t, const HANDLE*, uint32_t>(0, 2, handles, 40)));
    EXPECT_TRUE((table.Call<bool, uint32_t>(2, 5)));
    EXPECT_FALSE((table.Call<bool, uint32_t>(2, 6)));
    table.Delete();
    EXPECT_THAT(g_called, ElementsAre("DoWait", "WaitForResponse", "WaitForResponse", "destructor"));
}
