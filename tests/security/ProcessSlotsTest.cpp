#include "OrvProfiler/security/ProxyProcess.h"
#include "tests/support/contract/VirtualTable.h"

#include <gtest/gtest.h>

namespace
{
unsigned g_destroyed = 0;

class CountedProcess : public CProcess
{
public:
    CountedProcess() : CProcess(GetSystemFunctions(), 0, UniqueHandle()) {}
    ~CountedProcess() override { ++g_destroyed; }
    CountedProcess(const CountedProcess&) = delete;
    CountedProcess& operator=(const CountedProcess&) = delete;
};
} // namespace

TEST(CProcessSlots, AreTheDestructorAlone)
{
    const VirtualTable table(new CountedProcess, 0);
    table.Delete();
    EXPECT_EQ(1U, g_destroyed);
}
