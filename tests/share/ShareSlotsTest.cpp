#include "OrvProfiler/share/ProxyPrivate.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/contract/VirtualTable.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;

// The slots of the mappings' virtual operations.

namespace
{
std::vector<std::string> g_called;

class NamedMap : public CProxyMap
{
public:
    NamedMap() : CProxyMap(L"Slots") {}
};

class NamedPrivate : public CProxyPrivate
{
public:
    NamedPrivate() : CProxyPrivate(L"Slots") {}
};

// Says which of its operations were called.
template <class Base>
class Telling : public Base
{
public:
    Telling() = default;
    ~Telling() override { g_called.emplace_back("destructor"); }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;

    void OnMapped() override { g_called.emplace_back("OnMapped"); }
    void Close() override { g_called.emplace_back("Close"); }
    void* GetView() override
    {
        g_called.emplace_back("GetView");
        return this;
    }
};

template <class Base>
class MappingSlots : public testing::Test
{
};

struct MappingNumbers
{
    template <class Mapping>
    static std::string GetName(int index)
    {
        return std::to_string(index);
    }
};

using Mappings = testing::Types<NamedMap, CProxyShare, NamedPrivate>;
TYPED_TEST_SUITE(MappingSlots, Mappings, MappingNumbers);
} // namespace

TYPED_TEST(MappingSlots, AreOnMappedDestructorCloseGetView)
{
    auto* const mapping = new Telling<TypeParam>;
    const VirtualTable table(mapping, 1);
    g_called.clear();
    table.Call<void>(0);
    table.Call<void>(2);
    EXPECT_EQ(mapping, table.Call<void*>(3));
    table.Delete();
    EXPECT_THAT(g_called, ElementsAre("OnMapped", "Close", "GetView", "destructor"));
}

// The base's own slots, which a derived class inherits.
TEST(InheritedMappingSlots, AreThoseOfTheBase)
{
    NamedMap map;
    const VirtualTable table(&map, 1);
    EXPECT_EQ(nullptr, table.Call<void*>(3));
    table.Call<void>(0);
    table.Call<void>(2);
    EXPECT_EQ(nullptr, map.GetView());
}
