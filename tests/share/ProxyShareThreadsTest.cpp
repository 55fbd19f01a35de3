#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/faults/ShareMutexRecorder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamedObjects.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <gmock/gmock.h>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <utility>
#include <vector>

using contract::c_threadBlockBytes;
using contract::c_threadBlocksOffset;
using contract::c_threadCountOffset;
using contract::c_threadOrderOffset;
using contract::c_threadSlotBytes;
using contract::c_threadSlotsOffset;
using testing::ElementsAre;
using testing::IsEmpty;

// The share's thread table, as the client sees it.

namespace
{
constexpr uint64_t c_gap = 0x255174;
// From a little before the table.
constexpr uint64_t c_tableBegin = c_threadCountOffset - 64;

class ThreadTable
{
public:
    explicit ThreadTable(const ClientShare& client) : m_client(client) {}

    int32_t& Count() const { return m_client.At<int32_t>(c_threadCountOffset); }
    int32_t& Order(int position) const { return m_client.At<int32_t>(c_threadOrderOffset + Unsigned(position) * 4); }
    uint32_t& Id(int tindex) const { return m_client.At<uint32_t>(Slot(tindex)); }
    uint32_t& RecordMode(int tindex) const { return m_client.At<uint32_t>(Slot(tindex) + 148); }
    uint32_t& State(int tindex) const { return m_client.At<uint32_t>(Slot(tindex) + 152); }
    wchar_t* Name(int tindex) const { return &m_client.At<wchar_t>(Slot(tindex) + 160); }
    wchar_t* Detail(int tindex) const { return &m_client.At<wchar_t>(Slot(tindex) + 682); }
    unsigned char* SlotBytes(int tindex) const { return m_client.Bytes() + Slot(tindex); }
    unsigned char* BlockBytes(int tindex) const
    {
        return m_client.Bytes() + c_threadBlocksOffset + Unsigned(tindex) * c_threadBlockBytes;
    }

    // The used part of the order list.
    std::vector<int32_t> OrderList() const
    {
        const int32_t* const begin = &Order(0);
        return std::vector<int32_t>(begin, begin + std::clamp(Count(), 0, 128));
    }

    // Everything from a little before the table to the blocks.
    std::vector<unsigned char> Bytes() const
    {
        return std::vector<unsigned char>(m_client.Bytes() + c_tableBegin,
                                          m_client.Bytes() + c_threadBlocksOffset + 64);
    }

    // The offsets in the share that lie in Bytes() and have changed since.
    std::vector<uint64_t> ChangesSince(const std::vector<unsigned char>& earlier) const
    {
        const std::vector<unsigned char> now = Bytes();
        std::vector<uint64_t> changes;
        for (size_t i = 0; i < now.size(); ++i)
        {
            if (now[i] != earlier[i])
                changes.push_back(c_tableBegin + i);
        }
        return changes;
    }

private:
    static uint64_t Unsigned(int number) { return static_cast<uint64_t>(number); }
    static uint64_t Slot(int tindex) { return c_threadSlotsOffset + Unsigned(tindex) * c_threadSlotBytes; }

    const ClientShare& m_client;
};

class CProxyShareThreads : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_share.Create(m_id));
        m_trace.Clear();
    }

    // Adds a thread by its texts and returns its index.
    int32_t Add(uint32_t threadId, const wchar_t* name = L"")
    {
        int32_t tindex = -1;
        EXPECT_TRUE(m_share.AddThread(&tindex, threadId, L"", name));
        return tindex;
    }

    void AddMany(int count)
    {
        for (int i = 0; i < count; ++i)
            Add(1000U + static_cast<uint32_t>(i));
        m_trace.Clear();
    }

    void ClearTable()
    {
        std::memset(m_client.Bytes() + c_threadCountOffset, 0, c_threadBlocksOffset - c_threadCountOffset);
    }

    const uint32_t m_id = FreshId();
    TraceCapture m_trace;
    ClientShare m_client{m_id};
    ThreadTable m_table{m_client};
    CProxyShare m_share;
};

// A slot all of whose bytes are set.
ThreadSlot MakeRecord()
{
    ThreadSlot record{};
    auto* const bytes = reinterpret_cast<unsigned char*>(&record);
    for (size_t i = 0; i < sizeof record; ++i)
        bytes[i] = static_cast<unsigned char>(i % 200 + 1); // cppcheck-suppress objectIndex ; its own bytes
    record.threadId = 0x1F2C;
    record.recordMode = 12;
    record.state = 0x2001;
    CopyText(record.name, L"worker", 261);
    CopyText(record.detail, L"detail", 261);
    return record;
}
} // namespace

TEST(CProxyShare, ThreadOperationsOnAnUnmappedShareDoNothing)
{
    CProxyShare share;
    const TraceCapture trace;
    int32_t tindex = -7;
    EXPECT_FALSE(share.AddThread(&tindex, MakeRecord()));
    EXPECT_FALSE(share.AddThread(&tindex, 5, L"detail", L"name"));
    EXPECT_EQ(-7, tindex);
    EXPECT_FALSE(share.RemoveThread(0, true));
    EXPECT_FALSE(share.SetAllThreadsState(1));
    EXPECT_FALSE(share.Record(0, 1));
    EXPECT_EQ(nullptr, share.GetThread(0));
    EXPECT_EQ(nullptr, share.GetThreadEntry(0, 0));
    EXPECT_EQ(0, share.AddToOrder(0));
    EXPECT_EQ(0, share.RemoveFromOrder(0));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(CProxyShareThreads, AddThreadCopiesARecordAndAddsTheState)
{
    const ThreadSlot record = MakeRecord();
    int32_t tindex = -1;
    EXPECT_TRUE(m_share.AddThread(&tindex, record));
    EXPECT_EQ(0, tindex);
    EXPECT_THAT(m_trace.Lines(),
                ElementsAre(L"CProxyShare::AddThread Thread name(worker) id(0x00001f2c) tindex (0)\n",
                            L"CProxyShare::AddThread Thread count now 1\n"));
    EXPECT_EQ(0x2111U, m_table.State(0)) << "0x110 is added to the caller's bits";
    ThreadSlot expected = record;
    expected.state = 0x2111;
    EXPECT_EQ(0, std::memcmp(&expected, m_table.SlotBytes(0), 1736));
    EXPECT_EQ(1, m_table.Count());
    EXPECT_EQ(0, m_table.Order(0));
    EXPECT_EQ(0, m_table.SlotBytes(1)[0]) << "nothing of the next slot";
    EXPECT_EQ(0, m_client.At<int32_t>(c_gap));
}

TEST_F(CProxyShareThreads, AddThreadMakesASlotFromIdAndTexts)
{
    // What an earlier thread left in a free slot.
    std::memset(m_table.SlotBytes(0) + 4, 0x5A, 1732);
    int32_t tindex = -1;
    EXPECT_TRUE(m_share.AddThread(&tindex, 0xFEDC, L"the detail", L"the name"));
    EXPECT_EQ(0, tindex);
    EXPECT_THAT(m_trace.Lines(),
                ElementsAre(L"CProxyShare::AddThread Thread name(the name) id(0x0000fedc) tindex (0)\n",
                            L"CProxyShare::AddThread Thread count now 1\n"));
    EXPECT_EQ(0xFEDCU, m_table.Id(0));
    EXPECT_EQ(0U, m_table.RecordMode(0));
    EXPECT_EQ(0x110U, m_table.State(0));
    EXPECT_STREQ(L"the name", m_table.Name(0));
    EXPECT_STREQ(L"the detail", m_table.Detail(0));
    const unsigned char* const slot = m_table.SlotBytes(0);
    const auto zero = [](unsigned char byte) { return byte == 0; };
    EXPECT_TRUE(std::all_of(slot + 4, slot + 152, zero));
    EXPECT_TRUE(std::all_of(slot + 156, slot + 160, zero));
    EXPECT_TRUE(std::all_of(slot + 160 + 16, slot + 682, zero));
    EXPECT_TRUE(std::all_of(slot + 682 + 20, slot + 1736, zero));
}

TEST_F(CProxyShareThreads, AddThreadStoresIdThenDetailThenNameThenState)
{
    int32_t tindex = -1;
    // Each text is read from what was stored before it.
    const auto* const idText = reinterpret_cast<const wchar_t*>(&m_table.Id(0));
    EXPECT_TRUE(m_share.AddThread(&tindex, L'a', idText, m_table.Detail(0)));
    EXPECT_STREQ(L"a", m_table.Detail(0));
    EXPECT_STREQ(L"a", m_table.Name(0));
    const auto* const stateText = reinterpret_cast<const wchar_t*>(&m_table.State(1));
    EXPECT_TRUE(m_share.AddThread(&tindex, L'b', L"", stateText));
    EXPECT_STREQ(L"", m_table.Name(1));
}

TEST_F(CProxyShareThreads, TextsAreCutAfter260Units)
{
    const std::wstring text260(260, L'n');
    const std::wstring text261(261, L'd');
    int32_t tindex = -1;
    EXPECT_TRUE(m_share.AddThread(&tindex, 1, text261.c_str(), text260.c_str()));
    EXPECT_EQ(text260, m_table.Name(0));
    EXPECT_EQ(std::wstring(260, L'd'), m_table.Detail(0));
    EXPECT_EQ(0, m_table.SlotBytes(0)[1204]) << "the unit behind the detail";

    EXPECT_TRUE(m_share.AddThread(&tindex, 2, text260.c_str(), std::wstring(5000, L'x').c_str()));
    EXPECT_EQ(std::wstring(260, L'x'), m_table.Name(1));
    EXPECT_EQ(text260, m_table.Detail(1));
}

TEST_F(CProxyShareThreads, AbsentTextsAreEmptyOnes)
{
    const PageEdge<wchar_t> edge(L"");
    int32_t tindex = -1;
    EXPECT_TRUE(m_share.AddThread(&tindex, 1, nullptr, nullptr));
    EXPECT_TRUE(m_share.AddThread(&tindex, 2, edge.Unreadable(), edge.Unreadable()));
    EXPECT_EQ(1, tindex);
    for (const int i : {0, 1})
    {
        EXPECT_STREQ(L"", m_table.Name(i));
        EXPECT_STREQ(L"", m_table.Detail(i));
    }
}

TEST_F(CProxyShareThreads, ThreadsAreAddedAndRemovedUnderLock3)
{
    ShareMutexRecorder log(m_share);
    log.OnEntry([&](const std::string& entry) {
        EXPECT_EQ(entry == "-3" ? 1 : 0, m_table.Count()) << "the work is done in between";
    });
    int32_t tindex = -1;
    EXPECT_TRUE(m_share.AddThread(&tindex, MakeRecord()));
    EXPECT_THAT(log.Entries(), ElementsAre("+3", "-3"));
    log.Clear();
    log.OnEntry([&](const std::string& entry) { EXPECT_EQ(entry == "-3" ? 2 : 1, m_table.Count()); });
    EXPECT_TRUE(m_share.AddThread(&tindex, 7, L"", L""));
    EXPECT_THAT(log.Entries(), ElementsAre("+3", "-3"));
    log.Clear();
    log.OnEntry([&](const std::string& entry) { EXPECT_EQ(entry == "-3" ? 1 : 2, m_table.Count()); });
    EXPECT_TRUE(m_share.RemoveThread(0, false));
    EXPECT_THAT(log.Entries(), ElementsAre("+3", "-3"));
    log.Clear();
    log.OnEntry(nullptr);
    EXPECT_FALSE(m_share.RemoveThread(0, true));
    EXPECT_THAT(log.Entries(), ElementsAre("+3", "-3")) << "also when there is nothing to do";
}

TEST_F(CProxyShareThreads, AFullTableTakesNoMoreAndSaysNothing)
{
    for (int i = 0; i < 128; ++i)
        EXPECT_EQ(i, Add(1000U + static_cast<uint32_t>(i)));
    EXPECT_EQ(128, m_table.Count());
    EXPECT_EQ(127, m_table.Order(127));
    m_trace.Clear();
    const std::vector<unsigned char> before = m_table.Bytes();
    ShareMutexRecorder log(m_share);
    int32_t tindex = -7;
    EXPECT_FALSE(m_share.AddThread(&tindex, 5, L"detail", L"name"));
    EXPECT_FALSE(m_share.AddThread(&tindex, MakeRecord()));
    EXPECT_EQ(-7, tindex);
    EXPECT_THAT(m_trace.Lines(), IsEmpty());
    EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());
    EXPECT_THAT(log.Entries(), ElementsAre("+3", "-3", "+3", "-3"));

    EXPECT_TRUE(m_share.RemoveThread(77, false));
    EXPECT_EQ(77, Add(5));
    EXPECT_EQ(77, m_table.Order(127));
}

TEST_F(CProxyShareThreads, NoSlotIsFoundBehindTheTable)
{
    AddMany(128);
    m_table.Count() = 5;
    // Where the next two slots behind the last would have their ids.
    std::memset(m_client.Bytes() + c_threadBlocksOffset, 0x5A, c_threadSlotBytes);
    const std::vector<unsigned char> before = m_table.Bytes();
    int32_t tindex = -7;
    EXPECT_FALSE(m_share.AddThread(&tindex, 5, L"detail", L"name"));
    EXPECT_FALSE(m_share.AddThread(&tindex, MakeRecord()));
    EXPECT_EQ(-7, tindex);
    EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());
}

TEST_F(CProxyShareThreads, AFreedSlotIsTakenAgainAndGoesToTheEndOfTheOrder)
{
    EXPECT_EQ(0, Add(10));
    EXPECT_EQ(1, Add(11));
    EXPECT_EQ(2, Add(12));
    EXPECT_TRUE(m_share.RemoveThread(1, true));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(0, 2));
    EXPECT_EQ(2, m_table.Count());
    EXPECT_EQ(1, Add(13));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(0, 2, 1));
    EXPECT_EQ(3, m_table.Count());
}

TEST_F(CProxyShareThreads, RemoveThreadClearsSlotAndBlockAndNothingElse)
{
    int32_t tindex = -1;
    for (const int i : {0, 1, 2})
    {
        EXPECT_TRUE(m_share.AddThread(&tindex, MakeRecord()));
        std::memset(m_table.BlockBytes(i), 0x5A, c_threadBlockBytes);
    }
    m_trace.Clear();
    EXPECT_TRUE(m_share.RemoveThread(1, true));
    EXPECT_THAT(m_trace.Lines(), ElementsAre(L"CProxyShare::RemoveThread Thread name() id(00000000) tindex (1)\n",
                                             L"CProxyShare::RemoveThread Thread count now 2\n"))
        << "traced as it is after the clearing";
    const auto zero = [](unsigned char byte) { return byte == 0; };
    EXPECT_TRUE(std::all_of(m_table.SlotBytes(1), m_table.SlotBytes(2), zero));
    EXPECT_TRUE(std::all_of(m_table.BlockBytes(1), m_table.BlockBytes(2), zero));
    EXPECT_EQ(0, std::memcmp(m_table.SlotBytes(0), m_table.SlotBytes(2), 1736));
    EXPECT_EQ(0x1F2CU, m_table.Id(2));
    EXPECT_EQ(0x5A, m_table.BlockBytes(1)[-1]);
    EXPECT_EQ(0x5A, m_table.BlockBytes(2)[0]);
    EXPECT_THAT(m_table.OrderList(), ElementsAre(0, 2));
}

TEST_F(CProxyShareThreads, TheLastSlotAndBlockAreClearedToTheirEnd)
{
    AddMany(128);
    std::memset(m_table.BlockBytes(127), 0x5A, c_threadBlockBytes);
    m_client.At<uint32_t>(0x6E4B978) = 0x5A5A5A5A;
    EXPECT_TRUE(m_share.RemoveThread(127, true));
    EXPECT_EQ(0, m_client.Bytes()[0x6E4B977]);
    EXPECT_EQ(0x5A5A5A5AU, m_client.At<uint32_t>(0x6E4B978));
    EXPECT_EQ(127, m_table.Count());
}

TEST_F(CProxyShareThreads, RemoveThreadOfAFreeSlotOrOfNoneChangesNothing)
{
    AddMany(3);
    EXPECT_TRUE(m_share.RemoveThread(1, false));
    m_trace.Clear();
    const std::vector<unsigned char> before = m_table.Bytes();
    for (const int32_t tindex : {1, 3, 127, 128, 129, -1, -128, INT_MIN, INT_MAX})
    {
        EXPECT_FALSE(m_share.RemoveThread(tindex, false)) << tindex;
        EXPECT_FALSE(m_share.RemoveThread(tindex, true)) << tindex;
    }
    EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());
    EXPECT_THAT(m_trace.Lines(), IsEmpty());
}

TEST_F(CProxyShareThreads, AThreadMissingFromTheOrderIsRemovedWithoutChangingTheCount)
{
    AddMany(3);
    m_table.Order(0) = 9;
    EXPECT_TRUE(m_share.RemoveThread(0, false));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(9, 1, 2));
    EXPECT_EQ(L"CProxyShare::RemoveThread Thread count now 3\n", m_trace.Lines().back());
}

TEST_F(CProxyShareThreads, OrderListIsMaintained)
{
    EXPECT_EQ(1, m_share.AddToOrder(5));
    EXPECT_EQ(2, m_share.AddToOrder(0));
    EXPECT_EQ(3, m_share.AddToOrder(127));
    EXPECT_EQ(4, m_share.AddToOrder(5));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(5, 0, 127, 5));
    EXPECT_EQ(4, m_share.RemoveFromOrder(1)) << "not in it";
    EXPECT_EQ(3, m_share.RemoveFromOrder(5)) << "the first one";
    EXPECT_THAT(m_table.OrderList(), ElementsAre(0, 127, 5));
    EXPECT_EQ(2, m_share.RemoveFromOrder(127));
    EXPECT_EQ(1, m_share.RemoveFromOrder(5)) << "the last one";
    EXPECT_EQ(0, m_share.RemoveFromOrder(0));
    EXPECT_EQ(0, m_share.RemoveFromOrder(0)) << "an empty list";
    EXPECT_EQ(0, m_table.Count());
    EXPECT_THAT(m_trace.Lines(), IsEmpty());
}

TEST_F(CProxyShareThreads, SetAllThreadsStateGoesByPosition)
{
    AddMany(4);
    EXPECT_TRUE(m_share.RemoveThread(0, false));
    m_trace.Clear();
    const ShareMutexRecorder log(m_share);
    EXPECT_TRUE(m_share.SetAllThreadsState(0xABC));
    EXPECT_THAT(log.Entries(), ElementsAre("+3", "-3"));
    EXPECT_THAT(m_trace.Lines(), ElementsAre(L"CProxyShare::SetAllThreadsState all threads running\n\n"));
    // Three threads in slots 1 to 3: the first three slots are set.
    EXPECT_EQ(0xABCU, m_table.State(0));
    EXPECT_EQ(0xABCU, m_table.State(1));
    EXPECT_EQ(0xABCU, m_table.State(2));
    EXPECT_EQ(0x110U, m_table.State(3));
}

TEST_F(CProxyShareThreads, SetAllThreadsStateOfNoneIsTracedToo)
{
    const std::vector<unsigned char> before = m_table.Bytes();
    EXPECT_TRUE(m_share.SetAllThreadsState(0xABC));
    EXPECT_THAT(m_trace.Lines(), ElementsAre(L"CProxyShare::SetAllThreadsState all threads running\n\n"));
    EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());
}

TEST_F(CProxyShareThreads, RecordSetsTheModeBelowTheCountUnderLock2)
{
    AddMany(3);
    ShareMutexRecorder log(m_share);
    log.OnEntry([&](const std::string& entry) {
        EXPECT_EQ(entry == "-2" ? 12U : 0U, m_table.RecordMode(2)) << "the work is done in between";
    });
    EXPECT_TRUE(m_share.Record(2, 12));
    EXPECT_THAT(log.Entries(), ElementsAre("+2", "-2"));
    EXPECT_THAT(m_trace.Lines(), ElementsAre(L"CProxyShare::Record tindex(2) RecordMode(Silent Auto Recording)\n"));
    EXPECT_EQ(12U, m_table.RecordMode(2));
    EXPECT_EQ(0U, m_table.RecordMode(1));

    log.Clear();
    log.OnEntry(nullptr);
    m_trace.Clear();
    const std::vector<unsigned char> before = m_table.Bytes();
    for (const int32_t tindex : {3, 4, 127, 128, INT_MAX, -1, INT_MIN})
    {
        EXPECT_TRUE(m_share.Record(tindex, 1)) << tindex;
        EXPECT_THAT(log.Entries(), ElementsAre("+2", "-2"));
        log.Clear();
    }
    EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());
    EXPECT_THAT(m_trace.Lines(), IsEmpty());
}

TEST_F(CProxyShareThreads, RecordGoesByPositionToo)
{
    AddMany(2);
    EXPECT_TRUE(m_share.RemoveThread(0, false));
    EXPECT_TRUE(m_share.Record(0, 2));
    EXPECT_EQ(2U, m_table.RecordMode(0)) << "a free slot below the count";
    EXPECT_TRUE(m_share.Record(1, 2));
    EXPECT_EQ(0U, m_table.RecordMode(1)) << "a thread in a slot not below it";
}

TEST_F(CProxyShareThreads, GetThreadGivesSlotsInUse)
{
    AddMany(2);
    m_table.Id(127) = 5;
    auto* const base = static_cast<unsigned char*>(m_share.GetView());
    EXPECT_EQ(base + 0x255178, reinterpret_cast<unsigned char*>(m_share.GetThread(0)));
    EXPECT_EQ(base + 0x255178 + 1736, reinterpret_cast<unsigned char*>(m_share.GetThread(1)));
    EXPECT_EQ(base + 0x255178 + 127 * size_t{1736}, reinterpret_cast<unsigned char*>(m_share.GetThread(127)));
    for (const int32_t tindex : {2, 126, 128, 129, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(nullptr, m_share.GetThread(tindex)) << tindex;
}

TEST_F(CProxyShareThreads, GetThreadEntryGivesEntriesBelowTheCount)
{
    auto* const base = static_cast<unsigned char*>(m_share.GetView());
    const auto at = [&](uint64_t tindex, uint64_t entry) {
        return base + 0x28B578 + tindex * 882696 + 8 + entry * 3448;
    };
    const auto entry = [&](int32_t tindex, int32_t index) {
        return reinterpret_cast<unsigned char*>(m_share.GetThreadEntry(tindex, index));
    };
    EXPECT_EQ(nullptr, entry(0, 0)) << "none in use";
    m_client.At<int32_t>(0x28B578 + 4) = 2;
    EXPECT_EQ(at(0, 0), entry(0, 0));
    EXPECT_EQ(at(0, 1), entry(0, 1));
    EXPECT_EQ(nullptr, entry(0, 2));
    EXPECT_EQ(nullptr, entry(0, -1));

    m_client.At<int32_t>(0x28B578 + 127 * 882696 + 4) = 256;
    EXPECT_EQ(at(127, 255), entry(127, 255));
    EXPECT_EQ(base + 0x6E4B978 - 3448, entry(127, 255)) << "the last bytes of the blocks";
    for (const int32_t index : {256, 257, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(nullptr, entry(127, index)) << index;
    for (const int32_t tindex : {128, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(nullptr, entry(tindex, 0)) << tindex;
}

// Tables that a broken or hostile process may have written.

TEST_F(CProxyShareThreads, AnEntryCountThatLiesLeadsNowhere)
{
    for (const int32_t count : {257, INT_MAX})
    {
        m_client.At<int32_t>(0x28B578 + 127 * 882696 + 4) = count;
        EXPECT_NE(nullptr, m_share.GetThreadEntry(127, 255));
        EXPECT_EQ(nullptr, m_share.GetThreadEntry(127, 256)) << count;
        EXPECT_EQ(nullptr, m_share.GetThreadEntry(127, INT_MAX)) << count;
    }
    for (const int32_t count : {-1, INT_MIN})
    {
        m_client.At<int32_t>(0x28B578 + 127 * 882696 + 4) = count;
        EXPECT_EQ(nullptr, m_share.GetThreadEntry(127, 0)) << count;
        EXPECT_EQ(nullptr, m_share.GetThreadEntry(127, INT_MIN)) << count;
    }
}

TEST_F(CProxyShareThreads, WhatLiesOutsideTheTableIsNoSlotAndNoBlock)
{
    // Where a slot before the first and one behind the last would lie, and the same for blocks.
    m_client.At<uint32_t>(c_threadSlotsOffset - c_threadSlotBytes) = 5;
    m_client.At<uint32_t>(c_threadSlotsOffset + 128 * c_threadSlotBytes) = 5;
    m_client.At<int32_t>(c_threadBlocksOffset - c_threadBlockBytes + 4) = 256;
    m_client.At<int32_t>(c_threadBlocksOffset + 128 * c_threadBlockBytes + 4) = 256;
    for (const int32_t tindex : {-1, 128})
    {
        EXPECT_EQ(nullptr, m_share.GetThread(tindex)) << tindex;
        EXPECT_EQ(nullptr, m_share.GetThreadEntry(tindex, 0)) << tindex;
        EXPECT_FALSE(m_share.RemoveThread(tindex, false)) << tindex;
    }
    EXPECT_EQ(5U, m_client.At<uint32_t>(c_threadSlotsOffset - c_threadSlotBytes));
    EXPECT_EQ(5U, m_client.At<uint32_t>(c_threadSlotsOffset + 128 * c_threadSlotBytes));
    EXPECT_EQ(256, m_client.At<int32_t>(c_threadBlocksOffset + 128 * c_threadBlockBytes + 4));
}

TEST_F(CProxyShareThreads, AHugeThreadCountCountsAs128)
{
    for (const int32_t count : {129, 1000, INT_MAX})
    {
        AddMany(3);
        std::memset(m_client.Bytes() + c_gap, 0x5A, 4);
        m_table.Count() = count;
        std::vector<unsigned char> before = m_table.Bytes();
        int32_t tindex = -7;
        EXPECT_FALSE(m_share.AddThread(&tindex, 5, L"", L"name")) << "no place in the order list";
        EXPECT_FALSE(m_share.AddThread(&tindex, MakeRecord()));
        EXPECT_EQ(-7, tindex);
        EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());
        EXPECT_THAT(m_trace.Lines(), IsEmpty());

        EXPECT_TRUE(m_share.SetAllThreadsState(0x77));
        for (uint64_t offset : m_table.ChangesSince(before))
        {
            ASSERT_GE(offset, c_threadSlotsOffset + 152);
            ASSERT_LT(offset, c_threadBlocksOffset);
            ASSERT_EQ(152U, (offset - c_threadSlotsOffset) % c_threadSlotBytes / 4 * 4) << "state fields only";
        }
        EXPECT_EQ(0x77U, m_table.State(127));

        before = m_table.Bytes();
        EXPECT_TRUE(m_share.Record(128, 2));
        EXPECT_TRUE(m_share.Record(1000, 2));
        EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());
        EXPECT_TRUE(m_share.Record(127, 2));
        EXPECT_EQ(2U, m_table.RecordMode(127));

        // An index found in the part that counts is removed; what lies behind the list is no entry.
        m_trace.Clear();
        EXPECT_TRUE(m_share.RemoveThread(2, false));
        EXPECT_EQ(127, m_table.Count());
        EXPECT_EQ(0x5A5A5A5A, m_client.At<int32_t>(c_gap));
        EXPECT_EQ(0, m_table.Order(126));
        EXPECT_EQ(L"CProxyShare::RemoveThread Thread count now 127\n", m_trace.Lines().back());

        m_table.Count() = count;
        EXPECT_EQ(128, m_share.AddToOrder(3));
        EXPECT_EQ(0x5A5A5A5A, m_client.At<int32_t>(c_gap));
        ClearTable();
        m_trace.Clear();
    }
}

TEST_F(CProxyShareThreads, ANegativeThreadCountCountsAsNone)
{
    for (const int32_t count : {-1, -1000, INT_MIN})
    {
        AddMany(3);
        m_table.Count() = count;
        const std::vector<unsigned char> before = m_table.Bytes();
        EXPECT_TRUE(m_share.SetAllThreadsState(0x77));
        for (const int32_t tindex : {0, -1, count, -2000})
            EXPECT_TRUE(m_share.Record(tindex, 2));
        EXPECT_EQ(0, m_share.RemoveFromOrder(0));
        EXPECT_THAT(m_table.ChangesSince(before), IsEmpty());

        m_trace.Clear();
        EXPECT_TRUE(m_share.RemoveThread(2, false));
        EXPECT_EQ(0U, m_table.Id(2));
        EXPECT_EQ(L"CProxyShare::RemoveThread Thread count now " + std::to_wstring(count) + L"\n",
                  m_trace.Lines().back());

        EXPECT_EQ(2, Add(42)) << "the table works again";
        EXPECT_EQ(1, m_table.Count());
        EXPECT_EQ(2, m_table.Order(0));
        EXPECT_THAT(
            std::vector<unsigned char>(m_client.Bytes() + c_tableBegin, m_client.Bytes() + c_threadCountOffset),
            testing::Each(0))
            << "nothing before the list";
        ClearTable();
        m_trace.Clear();
    }
}

TEST_F(CProxyShareThreads, OrderEntriesOutsideTheTableAreOnlyMoved)
{
    AddMany(5);
    m_table.Order(0) = -1;
    m_table.Order(1) = 128;
    m_table.Order(3) = INT_MIN;
    const std::vector<unsigned char> before = m_table.Bytes();
    EXPECT_TRUE(m_share.RemoveThread(2, false));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(-1, 128, INT_MIN, 4));
    for (const uint64_t offset : m_table.ChangesSince(before))
    {
        const bool inList = offset >= c_threadCountOffset && offset < c_gap;
        const bool inSlot = offset >= c_threadSlotsOffset + 2 * c_threadSlotBytes &&
                            offset < c_threadSlotsOffset + 3 * c_threadSlotBytes;
        EXPECT_TRUE(inList || inSlot) << offset;
    }
    EXPECT_EQ(3, m_share.RemoveFromOrder(INT_MIN));
    EXPECT_EQ(2, m_share.RemoveFromOrder(-1));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(128, 4));
}

TEST_F(CProxyShareThreads, ANameWithoutANulIsTracedToTheEndOfItsField)
{
    ThreadSlot record = MakeRecord();
    std::fill(std::begin(record.name), std::end(record.name), L'n');
    std::fill(std::begin(record.detail), std::end(record.detail), L'd');
    int32_t tindex = -1;
    EXPECT_TRUE(m_share.AddThread(&tindex, record));
    EXPECT_EQ(L"CProxyShare::AddThread Thread name(" + std::wstring(261, L'n') + L") id(0x00001f2c) tindex (0)\n",
              m_trace.Lines().front());
}

TEST_F(CProxyShareThreads, ARecordWithoutAnIdLeavesItsSlotFree)
{
    ThreadSlot record = MakeRecord();
    record.threadId = 0;
    int32_t tindex = -1;
    EXPECT_TRUE(m_share.AddThread(&tindex, record));
    EXPECT_EQ(0, tindex);
    EXPECT_EQ(nullptr, m_share.GetThread(0));
    EXPECT_FALSE(m_share.RemoveThread(0, false));
    // However often that is done, the order list does not overflow.
    for (int i = 1; i < 128; ++i)
        EXPECT_TRUE(m_share.AddThread(&tindex, record));
    EXPECT_FALSE(m_share.AddThread(&tindex, record));
    EXPECT_EQ(128, m_table.Count());
    EXPECT_EQ(0, m_client.At<int32_t>(c_gap));
}

// Two processes use one table.

namespace
{
// How many threads each process has in the table at most, and where the child reports which ones it has left.
constexpr size_t c_maxLive = 15;
constexpr uint64_t c_report = 0x6E4B978;

struct LiveThread
{
    int32_t tindex;
    uint32_t id;
};

// Adds, records and removes threads many times, leaves some in the table and returns those. Throws when one is not as
// it was left. The tag keeps the ids apart from those of the other process.
std::vector<LiveThread> Churn(CProxyShare& share, uint32_t tag, int rounds)
{
    const auto require = [](bool condition, const char* what) {
        if (!condition)
            throw std::runtime_error(what);
    };
    std::vector<LiveThread> live;
    uint32_t random = tag;
    uint32_t nextId = tag;
    for (int round = 0; round < rounds; ++round)
    {
        random = random * 1664525 + 1013904223;
        const uint32_t dice = random >> 16;
        if (live.empty() || (live.size() < c_maxLive && dice % 2 == 0))
        {
            const uint32_t id = ++nextId;
            const std::wstring name = L"thread " + std::to_wstring(id);
            int32_t tindex = -1;
            if (dice % 3 == 0)
            {
                ThreadSlot record{};
                record.threadId = id;
                CopyText(record.name, name.c_str(), 261);
                require(share.AddThread(&tindex, record), "a record is added");
            }
            else
            {
                require(share.AddThread(&tindex, id, L"", name.c_str()), "a thread is added");
            }
            require(tindex >= 0 && tindex < 128, "its index lies in the table");
            live.push_back({tindex, id});
            require(share.GetThread(tindex) != nullptr && share.GetThread(tindex)->name == name, "it is there");
            continue;
        }
        const size_t chosen = dice / 2 % live.size();
        const LiveThread thread = live[chosen];
        const ThreadSlot* const slot = share.GetThread(thread.tindex);
        require(slot != nullptr && slot->threadId == thread.id, "nobody else has taken the slot");
        if (dice % 5 == 0)
        {
            require(share.Record(thread.tindex, 1U << dice / 5 % 4), "a mode is recorded");
            require(share.SetAllThreadsState(dice), "the states are set");
            continue;
        }
        require(share.RemoveThread(thread.tindex, true), "a thread is removed");
        live.erase(live.begin() + static_cast<std::ptrdiff_t>(chosen));
    }
    return live;
}

constexpr int c_churnRounds = 3000;
constexpr uint32_t c_parentTag = 0x10000000;
constexpr uint32_t c_childTag = 0x20000000;
} // namespace

ORV_CHILD_ROLE(ChurnThreads)
{
    CProxyShare share;
    if (!share.Create(std::stoul(arguments.at(0), nullptr, 16)))
        return 1;
    Meeting(arguments.at(1)).Signal();
    const std::vector<LiveThread> live = Churn(share, c_childTag, c_churnRounds);
    // Reports to the parent in a part of the share that the library does not touch.
    auto* report = reinterpret_cast<uint32_t*>(static_cast<unsigned char*>(share.GetView()) + c_report);
    *report = static_cast<uint32_t>(live.size());
    for (const LiveThread& thread : live)
    {
        *++report = static_cast<uint32_t>(thread.tindex);
        *++report = thread.id;
    }
    return 0;
}

TEST_F(CProxyShareThreads, TwoProcessesAddAndRemoveWithoutLosingAny)
{
    const std::wstring readyName = FreshName(L"ready");
    const Meeting ready(readyName);
    const ChildProcess child = ChildProcess::StartRole(L"ChurnThreads", {contract::PaddedHex(m_id), readyName});
    ready.Wait();
    const std::vector<LiveThread> own = Churn(m_share, c_parentTag, c_churnRounds);
    ASSERT_EQ(0U, child.WaitForExit(60000));

    std::vector<LiveThread> others(m_client.At<uint32_t>(c_report));
    ASSERT_LE(others.size(), c_maxLive);
    ASSERT_FALSE(others.empty() || own.empty());
    for (size_t i = 0; i < others.size(); ++i)
        others[i] = {m_client.At<int32_t>(c_report + 4 + i * 8), m_client.At<uint32_t>(c_report + 8 + i * 8)};

    std::map<int32_t, uint32_t> expected;
    for (const std::vector<LiveThread>* list : {&own, &std::as_const(others)})
    {
        for (const LiveThread& thread : *list)
            EXPECT_TRUE(expected.emplace(thread.tindex, thread.id).second) << "no slot is given twice";
    }
    std::map<int32_t, uint32_t> found;
    for (int tindex = 0; tindex < 128; ++tindex)
    {
        if (m_table.Id(tindex) != 0)
            found[tindex] = m_table.Id(tindex);
    }
    EXPECT_EQ(expected, found);
    EXPECT_EQ(static_cast<int32_t>(expected.size()), m_table.Count());

    // The order list holds each of them once, those of one process in the order in which it added them.
    const std::vector<int32_t> order = m_table.OrderList();
    EXPECT_EQ(expected.size(), std::set<int32_t>(order.begin(), order.end()).size());
    for (const std::vector<LiveThread>* list : {&own, &std::as_const(others)})
    {
        std::vector<int32_t> inOrder;
        for (const int32_t tindex : order)
        {
            const auto mine = [tindex](const LiveThread& thread) { return thread.tindex == tindex; };
            if (std::any_of(list->begin(), list->end(), mine))
                inOrder.push_back(tindex);
        }
        std::vector<int32_t> added;
        for (const LiveThread& thread : *list)
            added.push_back(thread.tindex);
        EXPECT_EQ(added, inOrder);
    }
}

ORV_CHILD_ROLE(DieHoldingLock3)
{
    CProxyShare share;
    int32_t tindex = -1;
    if (!share.Create(std::stoul(arguments.at(0), nullptr, 16)) || !share.AddThread(&tindex, 77, L"", L"child's"))
        return 1;
    share.Lock(3);
    Meeting(arguments.at(1)).Signal();
    Sleep(INFINITE);
    return 2;
}

TEST_F(CProxyShareThreads, TheLockOfAProcessThatDiedIsTakenOver)
{
    EXPECT_EQ(0, Add(10));
    const std::wstring heldName = FreshName(L"held");
    const Meeting held(heldName);
    const ChildProcess child = ChildProcess::StartRole(L"DieHoldingLock3", {contract::PaddedHex(m_id), heldName});
    held.Wait();
    EXPECT_EQ(MutexState::Held, MutexStateOf(contract::LocalName(contract::ShareMutexName(m_id, 3))));
    child.Kill();
    EXPECT_EQ(2, Add(11));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(0, 1, 2));
    EXPECT_EQ(77U, m_table.Id(1)) << "what the dead process did stands";
    EXPECT_TRUE(m_share.RemoveThread(1, true));
    EXPECT_THAT(m_table.OrderList(), ElementsAre(0, 2));
    EXPECT_EQ(MutexState::Free, MutexStateOf(contract::LocalName(contract::ShareMutexName(m_id, 3))));
}
