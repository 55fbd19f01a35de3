#include "OrvProfiler/foundation/array.h"

#include "tests/support/contract/ObjectFields.h"
#include "tests/support/faults/AllocationProbe.h"

#include <climits>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{
using TextArray = PtrArray<PtrArrayText>;
using NumberArray = PtrArray<PtrArrayNumber>;

// The array's fields, as a record that holds one sees them.
struct ArrayFields
{
    void** items;
    int32_t capacity;
    int32_t step;
    bool owns;
    int32_t count;
};

void Fill(NumberArray& array, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        array.Add(i, false);
}
} // namespace

TEST(PtrArray, LayoutIsFixed)
{
    static_assert(sizeof(TextArray) == 24, "");
    static_assert(sizeof(PtrArrayText) == 16, "");
    static_assert(sizeof(PtrArrayNumber) == 16, "");
    static_assert(std::is_same<decltype(TextArray(1)[0]), const wchar_t*>::value, "");
    NumberArray array(7);
    auto fields = FieldsOf<ArrayFields>(array);
    EXPECT_EQ(nullptr, fields.items);
    EXPECT_EQ(0, fields.capacity);
    EXPECT_EQ(7, fields.step);
    EXPECT_TRUE(fields.owns);
    EXPECT_EQ(0, fields.count);
    array.Add(0x1122334455667788, true);
    fields = FieldsOf<ArrayFields>(array);
    EXPECT_EQ(7, fields.capacity);
    EXPECT_FALSE(fields.owns);
    EXPECT_EQ(1, fields.count);
    int64_t number = 0;
    std::memcpy(&number, fields.items[0], sizeof number);
    EXPECT_EQ(0x1122334455667788, number);
    bool owned = false;
    std::memcpy(&owned, static_cast<char*>(fields.items[0]) + 8, sizeof owned);
    EXPECT_TRUE(owned);
    for (int i = 1; i < 7; ++i)
        EXPECT_EQ(nullptr, fields.items[i]);
}

TEST(PtrArray, TextElementsAreAPointerAndAFlag)
{
    TextArray array(3);
    const wchar_t* const text = L"borrowed";
    array.Add(text, false);
    array.Add(text, true);
    const auto fields = FieldsOf<ArrayFields>(array);
    struct Element
    {
        const wchar_t* text;
        bool owned;
    } elements[2];
    std::memcpy(&elements[0], fields.items[0], sizeof elements[0]);
    std::memcpy(&elements[1], fields.items[1], sizeof elements[1]);
    EXPECT_EQ(text, elements[0].text);
    EXPECT_FALSE(elements[0].owned);
    EXPECT_NE(text, elements[1].text);
    EXPECT_STREQ(L"borrowed", elements[1].text);
    EXPECT_TRUE(elements[1].owned);
}

TEST(PtrArray, StepsBelowOneAreAHundred)
{
    for (const auto& [step, slots] :
         {std::pair<int32_t, int32_t>{0, 100}, {-1, 100}, {INT32_MIN, 100}, {1, 1}, {5, 5}})
    {
        NumberArray array(step);
        array.Add(1, false);
        EXPECT_EQ(slots, array.GetCapacity()) << step;
    }
}

TEST(PtrArray, GrowsByItsStepWhileOneSlotIsFree)
{
    NumberArray array(100);
    EXPECT_EQ(0, array.GetCapacity());
    array.Add(0, false);
    EXPECT_EQ(100, array.GetCapacity());
    Fill(array, 98);
    EXPECT_EQ(99, array.GetCount());
    EXPECT_EQ(100, array.GetCapacity());
    array.Add(99, false);
    EXPECT_EQ(100, array.GetCount());
    EXPECT_EQ(200, array.GetCapacity());
    Fill(array, 99);
    EXPECT_EQ(199, array.GetCount());
    EXPECT_EQ(200, array.GetCapacity());
    array.Add(0, false);
    EXPECT_EQ(300, array.GetCapacity());
}

TEST(PtrArray, TheLastSlotOfAnAllocationIsNeverFilled)
{
    NumberArray array(4);
    for (int32_t i = 0; i < 50; ++i)
    {
        array.Add(i, false);
        const auto fields = FieldsOf<ArrayFields>(array);
        EXPECT_LT(array.GetCount(), array.GetCapacity());
        EXPECT_EQ(nullptr, fields.items[fields.capacity - 1]);
    }
}

TEST(PtrArray, AStepOfOneKeepsEveryElement)
{
    NumberArray array(1);
    for (int32_t i = 0; i < 20; ++i)
        EXPECT_EQ(i, array.Add(int64_t{i} * i, false));
    for (int32_t i = 0; i < 20; ++i)
        EXPECT_EQ(i * i, array[i]);
}

TEST(PtrArray, AllocatesEightBytesASlotAndSixteenAnElement)
{
    const AllocationProbe heap;
    {
        NumberArray array(3);
        EXPECT_EQ(0U, heap.LiveBlocks());
        Fill(array, 3);
        const std::vector<size_t> sizes = heap.Requests();
        EXPECT_THAT(sizes, testing::ElementsAre(24U, 16U, 16U, 48U, 16U));
    }
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(PtrArray, AddReturnsTheIndex)
{
    TextArray array(2);
    EXPECT_EQ(0, array.Add(L"a", true));
    EXPECT_EQ(1, array.Add(L"b", false));
    EXPECT_EQ(2, array.Add(L"c", true));
    EXPECT_STREQ(L"a", array[0]);
    EXPECT_STREQ(L"b", array[1]);
    EXPECT_STREQ(L"c", array[2]);
}

TEST(PtrArray, OutsideTheCountThereIsNothing)
{
    TextArray texts(4);
    NumberArray numbers(4);
    EXPECT_EQ(nullptr, texts[0]);
    texts.Add(L"a", true);
    numbers.Add(5, false);
    for (const int32_t i : {1, 3, 4, 1000, -1, INT32_MAX, INT32_MIN})
    {
        EXPECT_EQ(nullptr, texts[i]) << i;
        EXPECT_EQ(0, numbers[i]) << i;
    }
    texts.SetCount(0);
    EXPECT_EQ(nullptr, texts[0]);
}

TEST(PtrArray, OwnedTextsAreCopies)
{
    wchar_t text[] = L"abc";
    TextArray array(10);
    array.Add(text, true);
    array.Add(text, false);
    text[0] = L'X';
    EXPECT_STREQ(L"abc", array[0]);
    EXPECT_EQ(text, array[1]);
}

TEST(PtrArrayText, KeepsItsTextWhenAssignedToItself)
{
    const AllocationProbe heap;
    PtrArrayText owned(L"abc", true);
    PtrArrayText& same = owned;
    owned = std::move(same);
    EXPECT_STREQ(L"abc", owned.GetValue());
    EXPECT_TRUE(owned.IsOwned());
    EXPECT_EQ(1U, heap.LiveBlocks());
}

TEST(PtrArray, OwnedEmptyAndNullTextsAreEmptyCopies)
{
    const wchar_t* const empty = L"";
    TextArray array(10);
    array.Add(empty, true);
    array.Add(nullptr, true);
    array.Add(nullptr, false);
    EXPECT_STREQ(L"", array[0]);
    EXPECT_NE(empty, array[0]);
    EXPECT_STREQ(L"", array[1]);
    EXPECT_EQ(nullptr, array[2]);
}

TEST(PtrArray, NumbersKeep64Bits)
{
    NumberArray array(10);
    array.Add(INT64_MAX, true);
    array.Add(INT64_MIN, false);
    EXPECT_EQ(INT64_MAX, array[0]);
    EXPECT_EQ(INT64_MIN, array[1]);
}

TEST(PtrArray, LoweringTheCountKeepsTheElementsForReuse)
{
    const AllocationProbe heap;
    NumberArray array(10);
    Fill(array, 5);
    const auto before = FieldsOf<ArrayFields>(array);
    const size_t requests = heap.Requests().size();
    array.SetCount(2);
    EXPECT_EQ(2, array.GetCount());
    EXPECT_EQ(10, array.GetCapacity());
    EXPECT_EQ(2, array.Add(77, false));
    EXPECT_EQ(requests, heap.Requests().size());
    const auto after = FieldsOf<ArrayFields>(array);
    EXPECT_EQ(before.items[2], after.items[2]);
    EXPECT_EQ(77, array[2]);
}

TEST(PtrArray, OnlyALowerCountIsTaken)
{
    NumberArray array(10);
    Fill(array, 3);
    array.SetCount(4);
    array.SetCount(-1);
    array.SetCount(INT32_MIN);
    EXPECT_EQ(3, array.GetCount());
    array.SetCount(3);
    EXPECT_EQ(3, array.GetCount());
    array.SetCount(0);
    EXPECT_EQ(0, array.GetCount());
}

TEST(PtrArray, AReusedElementFreesItsTextFirst)
{
    const AllocationProbe heap;
    {
        TextArray array(10);
        array.Add(L"old", true);
        const size_t held = heap.LiveBlocks();
        array.SetCount(0);
        array.Add(L"new and longer", true);
        EXPECT_EQ(held, heap.LiveBlocks());
        EXPECT_STREQ(L"new and longer", array[0]);
        array.SetCount(0);
        array.Add(L"borrowed", false);
        EXPECT_EQ(held - 1, heap.LiveBlocks());
        array.SetCount(0);
        array.Add(L"owned again", true);
        EXPECT_EQ(held, heap.LiveBlocks());
        EXPECT_STREQ(L"owned again", array[0]);
    }
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(PtrArray, AReusedElementMayTakeACopyOfItsOwnText)
{
    TextArray array(10);
    array.Add(L"text", true);
    const wchar_t* const text = array[0];
    array.SetCount(0);
    array.Add(text, true);
    EXPECT_STREQ(L"text", array[0]);
    EXPECT_NE(text, array[0]);
}

TEST(PtrArray, DeleteAllHoldsNothing)
{
    const AllocationProbe heap;
    TextArray array(10);
    for (int i = 0; i < 25; ++i)
        array.Add(L"text", true);
    array.SetCount(3);
    array.DeleteAll();
    EXPECT_EQ(0U, heap.LiveBlocks());
    EXPECT_EQ(0, array.GetCount());
    EXPECT_EQ(0, array.GetCapacity());
    EXPECT_EQ(nullptr, FieldsOf<ArrayFields>(array).items);
    array.DeleteAll();
    EXPECT_EQ(0, array.Add(L"again", true));
    EXPECT_EQ(10, array.GetCapacity());
    EXPECT_STREQ(L"again", array[0]);
}

TEST(PtrArray, FailedFirstAllocationLeavesItEmpty)
{
    NumberArray array(10);
    AllocationProbe heap;
    heap.FailRequest(1);
    EXPECT_EQ(0, array.Add(5, false));
    EXPECT_EQ(0, array.GetCount());
    EXPECT_EQ(0, array.GetCapacity());
    EXPECT_EQ(0, array.Add(6, false));
    EXPECT_EQ(1, array.GetCount());
    EXPECT_EQ(6, array[0]);
}

TEST(PtrArray, FailedGrowthEmptiesItWithoutALeak)
{
    AllocationProbe heap;
    TextArray array(3);
    array.Add(L"a", true);
    array.Add(L"b", true);
    heap.FailRequest(1);
    EXPECT_EQ(0, array.Add(L"c", true));
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_EQ(0, array.GetCount());
    EXPECT_EQ(0, array.GetCapacity());
    EXPECT_EQ(nullptr, FieldsOf<ArrayFields>(array).items);
    EXPECT_EQ(0U, heap.LiveBlocks());
    EXPECT_EQ(0, array.Add(L"d", true));
    EXPECT_STREQ(L"d", array[0]);
}

TEST(PtrArray, TheLargestStepIsAskedForInFull)
{
    NumberArray array(INT32_MAX);
    AllocationProbe heap;
    heap.FailRequest(1);
    const int32_t index = array.Add(1, false);
    EXPECT_EQ(0, index);
    EXPECT_EQ(17179869176U, heap.Requests().at(0));
    EXPECT_EQ(0, array.GetCount());
    EXPECT_EQ(0, array.GetCapacity());
}

TEST(PtrArray, AnElementThatCannotBeMadeRaisesAndChangesNothing)
{
    AllocationProbe heap;
    TextArray array(10);
    array.Add(L"a", true);
    const size_t held = heap.LiveBlocks();
    // The element object, then its text.
    for (const unsigned successes : {0U, 1U})
    {
        heap.FailRequest(successes + 1);
        EXPECT_THROW(array.Add(L"b", true), std::bad_alloc);
        EXPECT_EQ(1, array.GetCount());
        EXPECT_EQ(held, heap.LiveBlocks());
    }
    array.Add(L"b", true);
    array.SetCount(1);
    heap.FailRequest(1);
    EXPECT_THROW(array.Add(L"c", true), std::bad_alloc);
    EXPECT_EQ(1, array.GetCount());
    EXPECT_EQ(1, array.Add(L"d", true));
    EXPECT_STREQ(L"a", array[0]);
    EXPECT_STREQ(L"d", array[1]);
}

TEST(PtrArray, OwnsUntilItsFirstElementIsMade)
{
    AllocationProbe heap;
    NumberArray array(10);
    // The slots, then the element.
    heap.FailRequest(2);
    EXPECT_THROW(array.Add(1, false), std::bad_alloc);
    EXPECT_TRUE(FieldsOf<ArrayFields>(array).owns);
    array.Add(1, false);
    EXPECT_FALSE(FieldsOf<ArrayFields>(array).owns);
}
