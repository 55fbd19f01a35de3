#include "OrvProfiler/share/ProxyPrivate.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "OrvProfiler/share/TextField.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/faults/ChangingWord.h"
#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <climits>
#include <cwchar>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// Whoever maps the share may change a word of it between two reads. So a word is read once before it is checked and
// used: here each one changes right after its first read, to a value that would lead out of the table. These tests
// are also compiled together with sources of the product that no compiler has optimised: it reads a word there as
// often as it is written in the source.

using contract::c_controlOffset;
using contract::c_threadBlockBytes;
using contract::c_threadBlocksOffset;
using contract::c_threadCountOffset;
using contract::c_threadOrderOffset;
using contract::c_threadSlotBytes;
using contract::c_threadSlotsOffset;

namespace
{
constexpr int32_t c_hostile = INT32_MAX;

class SharedWord : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_share.Create(m_id)); }

    int32_t& Count() { return m_client.At<int32_t>(c_threadCountOffset); }
    int32_t& Order(uint64_t position) { return m_client.At<int32_t>(c_threadOrderOffset + position * 4); }
    uint32_t& Id(uint64_t tindex) { return m_client.At<uint32_t>(c_threadSlotsOffset + tindex * c_threadSlotBytes); }

    // The same word, where the product reads it.
    template <class Word>
    Word& Product(const Word& word)
    {
        const auto offset = reinterpret_cast<const unsigned char*>(&word) - m_client.Bytes();
        return *reinterpret_cast<Word*>(static_cast<unsigned char*>(m_share.GetView()) + offset);
    }

    const uint32_t m_id = FreshId();
    const ClientShare m_client{m_id};
    CProxyShare m_share;
};
} // namespace

TEST_F(SharedWord, ThreadCountIsReadOnceByAddThread)
{
    Count() = 2;
    int32_t tindex = -1;
    const ChangingWord count(Product(Count()), c_hostile);
    EXPECT_TRUE(m_share.AddThread(&tindex, 77, L"", L""));
    // The second read is that of the line that shows it.
    EXPECT_EQ(2U, count.Reads());
    EXPECT_EQ(1U, count.Writes());
    EXPECT_EQ(3, Count());
    EXPECT_EQ(0, Order(2));
}

TEST_F(SharedWord, ThreadCountIsReadOnceByRemoveThread)
{
    Count() = 2;
    Order(0) = 1;
    Order(1) = 0;
    Id(1) = 77;
    const ChangingWord count(Product(Count()), c_hostile);
    EXPECT_TRUE(m_share.RemoveThread(1, false));
    EXPECT_EQ(2U, count.Reads());
    EXPECT_EQ(1U, count.Writes());
    EXPECT_EQ(1, Count());
    EXPECT_EQ(0, Order(0));
}

TEST_F(SharedWord, ThreadCountIsReadOnceByAddToOrder)
{
    Count() = 3;
    const ChangingWord count(Product(Count()), c_hostile);
    EXPECT_EQ(4, m_share.AddToOrder(9));
    EXPECT_EQ(1U, count.Reads());
    EXPECT_EQ(9, Order(3));
    EXPECT_EQ(4, Count());
}

TEST_F(SharedWord, ThreadCountIsReadOnceByRemoveFromOrder)
{
    for (const bool isListed : {true, false})
    {
        Count() = 3;
        Order(0) = 7;
        Order(1) = isListed ? 8 : 6;
        Order(2) = 9;
        const ChangingWord count(Product(Count()), c_hostile);
        EXPECT_EQ(isListed ? 2 : 3, m_share.RemoveFromOrder(8));
        EXPECT_EQ(1U, count.Reads());
        EXPECT_EQ(isListed ? 2 : c_hostile, Count());
    }
}

TEST_F(SharedWord, ThreadCountIsReadOnceBySetAllThreadsState)
{
    Count() = 2;
    const ChangingWord count(Product(Count()), c_hostile);
    EXPECT_TRUE(m_share.SetAllThreadsState(5));
    EXPECT_EQ(1U, count.Reads());
    EXPECT_EQ(5U, m_client.At<uint32_t>(c_threadSlotsOffset + c_threadSlotBytes + 152));
    EXPECT_EQ(0U, m_client.At<uint32_t>(c_threadSlotsOffset + 2 * c_threadSlotBytes + 152));
}

TEST_F(SharedWord, ThreadCountIsReadOnceByRecord)
{
    Count() = 2;
    const ChangingWord count(Product(Count()), c_hostile);
    EXPECT_TRUE(m_share.Record(2, 4));
    EXPECT_EQ(1U, count.Reads());
    EXPECT_EQ(0U, m_client.At<uint32_t>(c_threadSlotsOffset + 2 * c_threadSlotBytes + 148));
}

TEST_F(SharedWord, ThreadIdIsReadOnceToFindTheSlot)
{
    Id(3) = 77;
    const ChangingWord threadId(Product(Id(3)), uint32_t{0});
    EXPECT_EQ(&Product(Id(3)), static_cast<void*>(m_share.GetThread(3)));
    EXPECT_EQ(1U, threadId.Reads());
}

TEST_F(SharedWord, ThreadIdIsReadOnceToFindAFreeSlot)
{
    Id(0) = 77;
    int32_t tindex = -1;
    const ChangingWord threadId(Product(Id(0)), uint32_t{0});
    EXPECT_TRUE(m_share.AddThread(&tindex, 78, L"", L""));
    EXPECT_EQ(1, tindex);
    EXPECT_EQ(1U, threadId.Reads());
}

TEST_F(SharedWord, EntryCountIsReadOnceByGetThreadEntry)
{
    auto& entryCount = m_client.At<int32_t>(c_threadBlocksOffset + 3 * c_threadBlockBytes + 4);
    entryCount = 2;
    const ChangingWord count(Product(entryCount), c_hostile);
    EXPECT_EQ(nullptr, m_share.GetThreadEntry(3, 2));
    EXPECT_EQ(1U, count.Reads());
}

TEST_F(SharedWord, ControlCountIsReadOnce)
{
    auto& controlCount = m_client.At<int32_t>(c_controlOffset + 4);
    controlCount = 255;
    const ChangingWord count(Product(controlCount), c_hostile);
    EXPECT_EQ(255, m_share.GetControlCount());
    EXPECT_EQ(1U, count.Reads());
}

TEST_F(SharedWord, ClientWindowIsReadOnce)
{
    m_client.StoreWindow(0x10052);
    const ChangingWord window(Product(m_client.At<uint64_t>(0x1CB30)), uint64_t{0});
    EXPECT_EQ(0x10052U, reinterpret_cast<uintptr_t>(m_share.GetClientWindow()));
    EXPECT_EQ(1U, window.Reads());
}

TEST(ReadField, ReadsEachUnitOnceToTheNulOrTheEndOfTheField)
{
    constexpr size_t capacity = 4;
    struct Row
    {
        const wchar_t* field;
        const wchar_t* text;
    };
    for (const Row& row : {Row{L"abcd", L"abcd"}, Row{L"abc", L"abc"}, Row{L"a\0cd", L"a"}, Row{L"", L""}})
    {
        // Nothing may be read behind the field, nor written behind the text.
        const PageEdge<wchar_t> source(std::wstring(capacity - 1, L'-'));
        const PageEdge<wchar_t> target(std::wstring(capacity, L'#'));
        std::wmemcpy(source.Text(), row.field, capacity);
        target.Text()[capacity] = L'#';
        ReadField(*reinterpret_cast<wchar_t(*)[capacity + 1]>(target.Text()),
                  *reinterpret_cast<wchar_t(*)[capacity]>(source.Text()));
        EXPECT_STREQ(row.text, target.Text());
    }
}

TEST_F(SharedWord, CommandTextEndsWhereItWasReadToEnd)
{
    auto& field = *reinterpret_cast<wchar_t(*)[contract::c_textUnits]>(m_client.TextField());
    m_client.WriteText(L"abc");
    auto& product = Product(field);
    const ChangingWord end(product[3], L'x');
    std::vector<wchar_t> text(contract::c_textUnits + 1, L'#');
    ReadField(*reinterpret_cast<wchar_t(*)[contract::c_textUnits + 1]>(text.data()), product);
    EXPECT_STREQ(L"abc", text.data());
    EXPECT_EQ(1U, end.Reads());
    EXPECT_EQ(L'x', field[3]);
}

namespace
{
// A private block whose announced size changes as soon as it is read for the first time.
class ChangingBlock : public CProxyPrivate
{
public:
    using CProxyPrivate::CProxyPrivate;

    void OnMapped() override
    {
        // The system would answer for the pages on either side of the closed one.
        const Redirect<decltype(VirtualQuery)> query("VirtualQuery", AnswerForWholeView);
        const ChangingWord announced(*static_cast<uint32_t*>(m_pView), UINT32_MAX);
        CProxyPrivate::OnMapped();
        reads = announced.Reads();
    }

    unsigned reads = 0;

private:
    static SIZE_T WINAPI AnswerForWholeView(const void*, MEMORY_BASIC_INFORMATION* region, SIZE_T sizeBytes)
    {
        region->State = MEM_COMMIT;
        region->RegionSize = c_viewBytes;
        return sizeBytes;
    }

    static constexpr SIZE_T c_viewBytes = 24576;
};
} // namespace

TEST(SharedWordOfABlock, AnnouncedSizeIsReadOnce)
{
    const std::wstring base = FreshName(L"private");
    const uint32_t id = FreshId();
    const ForeignMapping hostile(contract::LocalName(base + contract::PaddedHex(id)), 18376 + 4096, PAGE_READWRITE);
    hostile.At<uint32_t>(0) = 100;
    ChangingBlock block(base.c_str());
    ASSERT_TRUE(block.Open(id));
    EXPECT_EQ(100U, block.GetDataSize());
    EXPECT_EQ(1U, block.reads);
}
