#include "OrvProfiler/share/PackedIds.h"

#include <gmock/gmock.h>

TEST(PackedIds, TaggedIdsHoldAValueALowByteAndAKind)
{
    EXPECT_EQ(0U, PackTaggedId(1, 0, 0));
    EXPECT_EQ(0x80000000U, PackTaggedId(2, 0, 0));
    EXPECT_EQ(0x00800000U, PackTaggedId(1, 0, 1));
    EXPECT_EQ(0x7F8000FFU, PackTaggedId(1, 255, 255));
    EXPECT_EQ(0xFF8000FFU, PackTaggedId(2, 255, 255));
    EXPECT_EQ(0x09000034U, PackTaggedId(1, 0x34, 0x12));
    EXPECT_EQ(0x09000034U, PackTaggedId(3, 0x34, 0x12)) << "only kind 2 has the bit";
    for (uint32_t kind = 1; kind <= 2; ++kind)
    {
        for (const uint32_t value : {0U, 1U, 0x80U, 0xFFU})
        {
            for (const uint32_t low : {0U, 1U, 0x80U, 0xFFU})
            {
                const uint32_t id = PackTaggedId(kind, low, value);
                EXPECT_EQ(value, TaggedIdValue(id));
                EXPECT_EQ(low, TaggedIdLow(id));
                EXPECT_EQ(kind, TaggedIdKind(id));
            }
        }
    }
}

TEST(PackedIds, TaggedIdsAreReadByTheirMasks)
{
    EXPECT_EQ(0xFFU, TaggedIdValue(0xFFFFFFFF));
    EXPECT_EQ(0xFFU, TaggedIdLow(0xFFFFFFFF));
    EXPECT_EQ(2U, TaggedIdKind(0xFFFFFFFF));
    EXPECT_EQ(1U, TaggedIdKind(0x7FFFFFFF));
    EXPECT_EQ(0U, TaggedIdValue(0x007FFFFF)) << "the bits between value and low byte are neither";
    EXPECT_EQ(0U, TaggedIdLow(0xFFFFFF00));
}

TEST(PackedIds, WhatDoesNotFitATaggedIdReachesItsNeighbours)
{
    EXPECT_EQ(0x80000034U, PackTaggedId(1, 0x34, 256)) << "the bit of kind 2";
    EXPECT_EQ(0x8080FF34U, PackTaggedId(1, 0xFF34, 0xFFFFFF01));
    EXPECT_EQ(0xFFFFFFFFU, PackTaggedId(1, 0xFFFFFFFF, 0));
    EXPECT_EQ(0x80000034U, PackTaggedId(2, 0x34, 256));
    EXPECT_EQ(0x00800000U, PackTaggedId(1, 0x800000, 1)) << "a bit that both have";
}

TEST(PackedIds, IndexPairsShareAWord)
{
    EXPECT_EQ(0U, PackIndexPair(0, 0));
    EXPECT_EQ(0x000FFFFFU, PackIndexPair(0xFFFFF, 0));
    EXPECT_EQ(0xFFF00000U, PackIndexPair(0, 4095));
    EXPECT_EQ(0x12345678U, PackIndexPair(0x45678, 0x123));
    uint32_t a = 0;
    uint32_t b = 0;
    UnpackIndexPair(0x12345678, &a, &b);
    EXPECT_EQ(0x45678U, a);
    EXPECT_EQ(0x123U, b);
    UnpackIndexPair(0xFFFFFFFF, &a, &b);
    EXPECT_EQ(0xFFFFFU, a);
    EXPECT_EQ(4095U, b);
}

TEST(PackedIds, QwordsAreMadeOfTwoHalves)
{
    EXPECT_EQ(0x1234567890ABCDEFU, MakeQword(0x12345678, 0x90ABCDEF));
    EXPECT_EQ(0xFFFFFFFF00000000U, MakeQword(0xFFFFFFFF, 0));
    EXPECT_EQ(0x00000000FFFFFFFFU, MakeQword(0, 0xFFFFFFFF));
    EXPECT_EQ(0x90ABCDEFU, LowDword(0x1234567890ABCDEF));
    EXPECT_EQ(0x12345678U, HighDword(0x1234567890ABCDEF));
}
