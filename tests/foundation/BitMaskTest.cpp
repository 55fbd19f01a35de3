#include "OrvProfiler/foundation/BitMask.h"

#include "tests/support/contract/ObjectFields.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/GuardedBlock.h"

#include <gmock/gmock.h>

namespace
{
using Words = std::vector<uint32_t>;

Words WordsOf(const BitMask& mask)
{
    Words words;
    for (uint32_t i = 0; i < mask.GetWordCount(); ++i)
        words.push_back(mask.GetWord(i));
    return words;
}

// A mask with the given words; the last one is the spare word.
BitMask MaskOf(const Words& words)
{
    BitMask mask;
    mask.Resize(static_cast<uint32_t>(words.size() - 1) * 32, false);
    for (uint32_t n = 0; n < words.size() * 32; ++n)
        mask.Set(n, (words[n / 32] >> n % 32 & 1U) != 0);
    return mask;
}

struct MaskFields
{
    uint32_t* words;
    uint32_t bits;
    uint32_t bytesPerWord;
    uint32_t bitsPerWord;
    uint32_t wordCount;
    uint64_t byteSize;
};
} // namespace

TEST(BitMask, StartsWithSixtyFourClearBitsInThreeWords)
{
    const BitMask mask;
    EXPECT_EQ(64U, mask.GetBits());
    EXPECT_EQ((Words{0, 0, 0}), WordsOf(mask));
    EXPECT_TRUE(mask.IsEmpty());
}

TEST(BitMask, TakesTheBitsOfAValueInTwoWords)
{
    const BitMask mask = 0x80000001U;
    EXPECT_EQ(32U, mask.GetBits());
    EXPECT_EQ((Words{0x80000001U, 0}), WordsOf(mask));
}

TEST(BitMask, KeepsItsFieldsInTheirOrder)
{
    BitMask mask;
    const auto start = FieldsOf<MaskFields>(mask);
    EXPECT_EQ(64U, start.bits);
    EXPECT_EQ(4U, start.bytesPerWord);
    EXPECT_EQ(32U, start.bitsPerWord);
    EXPECT_EQ(3U, start.wordCount);
    EXPECT_EQ(12U, start.byteSize);
    mask.Set(65, true);
    EXPECT_EQ(2U, start.words[2]);
    mask.Resize(1000, false);
    EXPECT_EQ(1000U, FieldsOf<MaskFields>(mask).bits);
    EXPECT_EQ(32U, FieldsOf<MaskFields>(mask).wordCount);
    EXPECT_EQ(128U, FieldsOf<MaskFields>(mask).byteSize);
}

TEST(BitMask, ReadsZeroBeyondTheLastWord)
{
    BitMask mask;
    mask.Invert();
    EXPECT_EQ(0xFFFFFFFFU, mask.GetWord(2));
    EXPECT_EQ(0U, mask.GetWord(3));
    EXPECT_EQ(0U, mask.GetWord(0xFFFFFFFFU));
}

TEST(BitMask, AlwaysHasOneSpareWord)
{
    const struct
    {
        uint32_t bits;
        uint32_t words;
    } cases[] = {{0, 1}, {1, 1}, {31, 1}, {32, 2}, {33, 2}, {63, 2}, {64, 3}, {95, 3}, {96, 4}, {1000, 32}};
    for (const auto& expected : cases)
    {
        BitMask mask;
        mask.Resize(expected.bits, false);
        EXPECT_EQ(expected.bits, mask.GetBits());
        EXPECT_EQ(expected.words, mask.GetWordCount()) << expected.bits;
    }
}

TEST(BitMask, TestsTheSpareBitsWithoutGrowing)
{
    BitMask mask;
    EXPECT_FALSE(mask.Test(95));
    EXPECT_EQ(64U, mask.GetBits());
    EXPECT_EQ(3U, mask.GetWordCount());
}

TEST(BitMask, GrowsWhenABitBeyondItIsTested)
{
    BitMask mask;
    EXPECT_FALSE(mask.Test(96));
    EXPECT_EQ(352U, mask.GetBits());
    EXPECT_EQ(12U, mask.GetWordCount());
    EXPECT_TRUE(mask.IsEmpty());
}

TEST(BitMask, GrowsWhenABitBeyondItIsAskedForBeingClear)
{
    BitMask mask;
    EXPECT_TRUE(mask.IsClear(96));
    EXPECT_EQ(352U, mask.GetBits());
}

TEST(BitMask, GrowsWhenABitBeyondItIsCleared)
{
    BitMask mask;
    EXPECT_TRUE(mask.Set(96, false));
    EXPECT_EQ(352U, mask.GetBits());
    EXPECT_TRUE(mask.IsEmpty());
}

TEST(BitMask, KeepsItsBitsWhenItGrows)
{
    BitMask mask;
    mask.Invert();
    EXPECT_TRUE(mask.Set(1000, true));
    EXPECT_EQ(1256U, mask.GetBits());
    EXPECT_EQ(40U, mask.GetWordCount());
    Words expected(40, 0);
    expected[0] = expected[1] = expected[2] = 0xFFFFFFFFU;
    expected[31] = 0x100; // bit 1000 is bit 8 of word 31
    EXPECT_EQ(expected, WordsOf(mask));
}

TEST(BitMask, GrowsPastTheTouchedBitEvenWhenItHasNoBits)
{
    BitMask mask;
    mask.Resize(0, false);
    EXPECT_FALSE(mask.Test(31));
    EXPECT_EQ(1U, mask.GetWordCount());
    EXPECT_TRUE(mask.Set(32, true));
    EXPECT_EQ(288U, mask.GetBits());
    EXPECT_EQ(10U, mask.GetWordCount());
    EXPECT_TRUE(mask.Test(32));
}

TEST(BitMask, SetsAndClearsOnlyTheBitNamed)
{
    for (const uint32_t n : {0U, 1U, 30U, 31U, 32U, 33U, 63U, 64U, 95U})
    {
        BitMask mask;
        Words expected(3, 0);
        EXPECT_TRUE(mask.Set(n, true));
        expected[n / 32] = 1U << n % 32;
        EXPECT_EQ(expected, WordsOf(mask)) << n;
        EXPECT_TRUE(mask.Test(n));
        EXPECT_FALSE(mask.IsClear(n));
        EXPECT_FALSE(mask.IsEmpty());

        mask.Invert();
        EXPECT_FALSE(mask.Test(n));
        EXPECT_TRUE(mask.IsClear(n));
        mask.Set(n, true);
        EXPECT_EQ(Words(3, 0xFFFFFFFFU), WordsOf(mask)) << n;
        EXPECT_TRUE(mask.Set(n, false));
        expected = Words(3, 0xFFFFFFFFU);
        expected[n / 32] = ~(1U << n % 32);
        EXPECT_EQ(expected, WordsOf(mask)) << n;
    }
}

TEST(BitMask, LosesItsBitsWhenItShrinks)
{
    BitMask mask;
    mask.Invert();
    mask.Resize(32, false);
    EXPECT_EQ(32U, mask.GetBits());
    EXPECT_EQ((Words{0, 0}), WordsOf(mask));
}

TEST(BitMask, LosesItsBitsWhenItKeepsItsNumberOfWords)
{
    BitMask mask;
    mask.Invert();
    mask.Resize(65, false);
    EXPECT_EQ(65U, mask.GetBits());
    EXPECT_EQ((Words{0, 0, 0}), WordsOf(mask));
}

TEST(BitMask, FillsOnlyTheNewWordsWhenItGrows)
{
    BitMask mask = 5;
    mask.Resize(96, true);
    EXPECT_EQ((Words{5, 0, 0xFFFFFFFFU, 0xFFFFFFFFU}), WordsOf(mask));
}

TEST(BitMask, FillsEveryWordWhenItShrinks)
{
    BitMask mask;
    mask.Resize(32, true);
    EXPECT_EQ((Words{0xFFFFFFFFU, 0xFFFFFFFFU}), WordsOf(mask));
}

TEST(BitMask, ClearsEveryWordAndKeepsItsSize)
{
    BitMask mask;
    mask.Invert();
    mask.ClearAll();
    EXPECT_EQ(64U, mask.GetBits());
    EXPECT_EQ((Words{0, 0, 0}), WordsOf(mask));
}

TEST(BitMask, IsNotEmptyWhenOnlyTheLastSpareBitIsSet)
{
    BitMask mask;
    mask.Set(95, true);
    EXPECT_FALSE(mask.IsEmpty());
}

TEST(BitMask, InvertsTheSpareBitsToo)
{
    BitMask mask;
    mask.Set(3, true);
    mask.Invert();
    EXPECT_FALSE(mask.IsEmpty());
    EXPECT_EQ((Words{0xFFFFFFF7U, 0xFFFFFFFFU, 0xFFFFFFFFU}), WordsOf(mask));
}

TEST(BitMask, CopiesAreIndependentAndAsLargeAsTheOriginal)
{
    BitMask original;
    original.Set(1000, true);
    original.Set(95, true);
    BitMask copy(original);
    EXPECT_EQ(1256U, copy.GetBits());
    EXPECT_EQ(WordsOf(original), WordsOf(copy));
    copy.Set(1, true);
    EXPECT_TRUE(original.IsClear(1));
}

TEST(BitMask, AssignmentReplacesSizeAndBits)
{
    const BitMask small = 6;
    BitMask large;
    large.Set(1000, true);
    BitMask target;
    target.Invert();
    EXPECT_EQ(&target, &(target = large));
    EXPECT_EQ(1256U, target.GetBits());
    EXPECT_EQ(WordsOf(large), WordsOf(target));
    target = small;
    EXPECT_EQ(32U, target.GetBits());
    EXPECT_EQ((Words{6, 0}), WordsOf(target));
}

TEST(BitMask, AssignmentToItselfChangesNothing)
{
    BitMask mask;
    mask.Set(70, true);
    const BitMask& same = mask;
    mask = same;
    EXPECT_EQ((Words{0, 0, 0x40}), WordsOf(mask));
}

TEST(BitMask, OverlapNeedsACommonBitInEveryExaminedWord)
{
    const struct
    {
        Words mask;
        Words other;
        bool overlaps;
    } cases[] = {
        {{1, 1, 1}, {1, 1, 1}, true},
        {{3, 6, 12}, {2, 4, 8}, true},
        {{1, 1, 1}, {2, 1, 1}, false},
        {{1, 1, 1}, {1, 2, 1}, false},
        {{1, 1, 1}, {1, 1, 2}, false},
        {{0, 0, 0}, {0, 0, 0}, false},
        // 64 bits against 2 words: the other's 2 words are examined.
        {{1, 1, 0}, {1, 1}, true},
        // 32 bits against 4 words: again the other's words, of which this mask has only the first two.
        {{1, 1}, {1, 1, 1, 1}, false},
        // A mask of no bits: its single word is examined.
        {{1}, {1, 0, 0}, true},
        {{2}, {1, 0, 0}, false},
    };
    for (const auto& expected : cases)
    {
        EXPECT_EQ(expected.overlaps, MaskOf(expected.mask).OverlapsInEveryWord(MaskOf(expected.other)))
            << testing::PrintToString(expected.mask) << testing::PrintToString(expected.other);
    }
}

// How many words are compared depends on this mask's bits and on the other's words.
TEST(BitMask, OverlapComparesBitsWithWords)
{
    const BitMask own = MaskOf({1, 1}); // 32 bits
    Words words(31, 0);
    words[0] = words[1] = 1;
    EXPECT_FALSE(own.OverlapsInEveryWord(MaskOf(words))); // 32 > 31: 31 words are examined
    words.push_back(0);
    EXPECT_TRUE(own.OverlapsInEveryWord(MaskOf(words))); // 32 > 32 is false: this mask's 2 words are examined
}

TEST(BitMask, TouchesNothingBehindItsWords)
{
    const GuardedBlock block(12);
    BitMask mask;
    ASSERT_TRUE(block.IsTaken());
    mask.Invert();
    EXPECT_FALSE(mask.IsEmpty());
    mask.ClearAll();
    EXPECT_TRUE(mask.IsEmpty());
    mask.Set(95, true);
    const BitMask copy(mask);
    EXPECT_FALSE(copy.OverlapsInEveryWord(mask));
    EXPECT_EQ(0U, mask.GetWord(3));
    EXPECT_FALSE(mask.Test(96));
    EXPECT_EQ(352U, mask.GetBits());
}

TEST(BitMask, GivesItsMemoryBack)
{
    const AllocationProbe heap;
    {
        BitMask mask;
        BitMask other(mask);
        EXPECT_EQ(2U, heap.LiveBlocks());
        mask.Set(5000, true);
        other = mask;
        other.Resize(32, false);
        EXPECT_EQ(2U, heap.LiveBlocks());
    }
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(BitMask, StaysAsItWasWhenThereIsNoMemory)
{
    BitMask mask;
    mask.Set(7, true);
    {
        AllocationProbe heap;
        heap.FailRequest(1);
        EXPECT_THROW(mask.Set(96, true), std::bad_alloc);
    }
    EXPECT_EQ(64U, mask.GetBits());
    EXPECT_EQ((Words{0x80, 0, 0}), WordsOf(mask));
}

TEST(BitMask, AsksForRoomForTheHighestBitNumbers)
{
    const struct
    {
        uint32_t n;
        size_t bytes;
    } cases[] = {{0xFFFFFEFEU, 536870912},
                 {0xFFFFFEFFU, 536870912},
                 {0xFFFFFF00U, 536870912},
                 {0xFFFFFFFFU, 536870912},
                 {0xFFFFFEDFU, 536870908}};
    for (const auto& expected : cases)
    {
        BitMask mask;
        AllocationProbe heap;
        heap.FailRequest(1);
        EXPECT_THROW(mask.Test(expected.n), std::bad_alloc);
        EXPECT_EQ(expected.bytes, heap.Requests().front()) << expected.n;
    }
}
