#include "OrvProfiler/foundation/Trace.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/VirtualTable.h"

using testing::ElementsAre;

namespace
{
// A host whose destruction shows.
class TellingHost : public CHost
{
public:
    using CHost::CHost;
    ~TellingHost() override { Trace(L"%6.0f destructor\n", TickMs()); }
    TellingHost(const TellingHost&) = delete;
    TellingHost& operator=(const TellingHost&) = delete;
};
} // namespace

TEST_F(CHostWithStandIns, SlotsAreTheDestructorAlone)
{
    const VirtualTable table(new TellingHost(m_id, c_assembly, c_type), 0);
    m_trace.Clear();
    table.Delete();
    EXPECT_THAT(m_trace.Lines(), ElementsAre(L"destructor\n", L"runtime release\n"));
}
