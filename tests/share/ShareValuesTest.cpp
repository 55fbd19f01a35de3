#include "OrvProfiler/share/CodePageText.h"
#include "OrvProfiler/share/PackedIds.h"
#include "OrvProfiler/share/TextField.h"
#include "OrvProfiler/share/ValueNames.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/PageEdge.h"

#include <windows.h>

#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

TEST(ShareValues, VariableTreesHaveNames)
{
    EXPECT_STREQ(L"VarTreeNone", VarTreeName(0));
    EXPECT_STREQ(L"VarLocalTree", VarTreeName(1));
    EXPECT_STREQ(L"VarWatchTree", VarTreeName(2));
    EXPECT_STREQ(L"VarGlobalTree", VarTreeName(3));
    EXPECT_STREQ(L"VarInstanceTree", VarTreeName(4));
    EXPECT_STREQ(L"VarSpecial", VarTreeName(5));
    EXPECT_STREQ(L"VarExpressions", VarTreeName(6));
    EXPECT_STREQ(L"VarTestPoints", VarTreeName(7));
    for (const uint32_t value : {8U, 9U, 256U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_STREQ(L"Unknown", VarTreeName(value)) << value;
}

TEST(ShareValues, SymbolTypesHaveNamesButForOne)
{
    EXPECT_STREQ(L"None", SymTypeName(0));
    EXPECT_STREQ(L"COFF", SymTypeName(1));
    EXPECT_STREQ(L"SymCv", SymTypeName(2));
    EXPECT_STREQ(L"PDB", SymTypeName(3));
    EXPECT_STREQ(L"Export", SymTypeName(4));
    EXPECT_STREQ(L"Deferred", SymTypeName(5));
    EXPECT_STREQ(L"Unknown", SymTypeName(6));
    EXPECT_STREQ(L"DIA", SymTypeName(7));
    EXPECT_STREQ(L"Virtual", SymTypeName(8));
    EXPECT_STREQ(L"NumSymTypes", SymTypeName(9));
    for (const uint32_t value : {10U, 11U, 256U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_STREQ(L"Unknown", SymTypeName(value)) << value;
}

TEST(ShareValues, RecordModesAreNamedByTheirMostTellingBit)
{
    struct Row
    {
        uint32_t bits;
        const wchar_t* name;
    };
    constexpr Row rows[] = {
        {0, L"Null"},
        {1, L"Not Recording"},
        {2, L"Manual Recording"},
        {3, L"Not Recording"},
        {4, L"Auto Recording"},
        {5, L"Not Recording"},
        {6, L"Manual Recording"},
        {7, L"Not Recording"},
        {8, L"Null"},
        {9, L"Not Recording"},
        {10, L"Manual Recording"},
        {11, L"Not Recording"},
        {12, L"Silent Auto Recording"},
        {13, L"Not Recording"},
        {14, L"Silent Auto Recording"},
        {15, L"Not Recording"},
        {16, L"Null"},
        {0xFFFFFFF0, L"Null"},
        {0xFFFFFFFE, L"Silent Auto Recording"},
        {0xFFFFFFFF, L"Not Recording"},
    };
    for (const Row& row : rows)
        EXPECT_STREQ(row.name, RecordModeName(row.bits)) << row.bits;
}

TEST(ShareValues, TaggedIdsHoldAValueALowByteAndAKind)
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

TEST(ShareValues, TaggedIdsAreReadByTheirMasks)
{
    EXPECT_EQ(0xFFU, TaggedIdValue(0xFFFFFFFF));
    EXPECT_EQ(0xFFU, TaggedIdLow(0xFFFFFFFF));
    EXPECT_EQ(2U, TaggedIdKind(0xFFFFFFFF));
    EXPECT_EQ(1U, TaggedIdKind(0x7FFFFFFF));
    EXPECT_EQ(0U, TaggedIdValue(0x007FFFFF)) << "the bits between value and low byte are neither";
    EXPECT_EQ(0U, TaggedIdLow(0xFFFFFF00));
}

TEST(ShareValues, WhatDoesNotFitATaggedIdReachesItsNeighbours)
{
    EXPECT_EQ(0x80000034U, PackTaggedId(1, 0x34, 256)) << "the bit of kind 2";
    EXPECT_EQ(0x8080FF34U, PackTaggedId(1, 0xFF34, 0xFFFFFF01));
    EXPECT_EQ(0xFFFFFFFFU, PackTaggedId(1, 0xFFFFFFFF, 0));
    EXPECT_EQ(0x80000034U, PackTaggedId(2, 0x34, 256));
}

TEST(ShareValues, IndexPairsShareAWord)
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

TEST(ShareValues, QwordsAreMadeOfTwoHalves)
{
    EXPECT_EQ(0x1234567890ABCDEFU, MakeQword(0x12345678, 0x90ABCDEF));
    EXPECT_EQ(0xFFFFFFFF00000000U, MakeQword(0xFFFFFFFF, 0));
    EXPECT_EQ(0x00000000FFFFFFFFU, MakeQword(0, 0xFFFFFFFF));
    EXPECT_EQ(0x90ABCDEFU, LowDword(0x1234567890ABCDEF));
    EXPECT_EQ(0x12345678U, HighDword(0x1234567890ABCDEF));
}

namespace
{
constexpr uint32_t c_utf8 = 65001;
constexpr uint32_t c_latin1 = 28591;
constexpr uint32_t c_noCodePage = 54321;
} // namespace

TEST(ShareValues, ToWideGivesANewTerminatedText)
{
    wchar_t* text = nullptr;
    EXPECT_EQ(5, ToWide("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", 10, &text, c_utf8));
    std::unique_ptr<wchar_t[]> owner(text);
    EXPECT_STREQ(L"a\u00E4\u20AC\U0001F600", text);

    EXPECT_EQ(2, ToWide("\xE4\xF6\xFC", 2, &text, c_latin1)) << "no more than the length says";
    owner.reset(text);
    EXPECT_STREQ(L"\u00E4\u00F6", text);
}

TEST(ShareValues, ToNarrowGivesANewTerminatedText)
{
    char* text = nullptr;
    EXPECT_EQ(10, ToNarrow(L"a\u00E4\u20AC\U0001F600", 5, &text, c_utf8)) << "more bytes than units";
    std::unique_ptr<char[]> owner(text);
    EXPECT_STREQ("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", text);

    EXPECT_EQ(1, ToNarrow(L"\u00E4\u00F6", 1, &text, c_latin1));
    owner.reset(text);
    EXPECT_STREQ("\xE4", text);
}

TEST(ShareValues, ConvertedTextsMayContainNuls)
{
    wchar_t* text = nullptr;
    EXPECT_EQ(3, ToWide("a\0b", 3, &text, c_utf8));
    const std::unique_ptr<wchar_t[]> owner(text);
    EXPECT_EQ(std::wstring(L"a\0b\0", 4), std::wstring(text, 4));
}

TEST(ShareValues, EmptyTextsAreNotConverted)
{
    wchar_t* wide = reinterpret_cast<wchar_t*>(8);
    char* narrow = reinterpret_cast<char*>(8);
    const AllocationProbe memory;
    EXPECT_EQ(0, ToWide(nullptr, 5, &wide, c_utf8));
    EXPECT_EQ(nullptr, wide);
    EXPECT_EQ(0, ToWide("", 0, &wide, c_utf8));
    EXPECT_EQ(0, ToWide("", 1, &wide, c_utf8));
    EXPECT_EQ(0, ToWide("abc", 0, &wide, c_utf8));
    EXPECT_EQ(0, ToWide("abc", -1, &wide, c_utf8));
    EXPECT_EQ(nullptr, wide);
    EXPECT_EQ(0, ToNarrow(nullptr, 5, &narrow, c_utf8));
    EXPECT_EQ(nullptr, narrow);
    EXPECT_EQ(0, ToNarrow(L"", 0, &narrow, c_utf8));
    EXPECT_EQ(0, ToNarrow(L"", 1, &narrow, c_utf8));
    EXPECT_EQ(0, ToNarrow(L"abc", 0, &narrow, c_utf8));
    EXPECT_EQ(0, ToNarrow(L"abc", INT32_MIN, &narrow, c_utf8));
    EXPECT_EQ(nullptr, narrow);
    EXPECT_TRUE(memory.Requests().empty());
}

TEST(ShareValues, ConversionsTakeRoomForTheTextAndItsNul)
{
    wchar_t* wide = nullptr;
    char* narrow = nullptr;
    std::vector<size_t> requests;
    {
        const AllocationProbe memory;
        EXPECT_EQ(3, ToWide("abc", 3, &wide, c_utf8));
        EXPECT_EQ(3, ToNarrow(L"abc", 3, &narrow, c_utf8));
        requests = memory.Requests();
    }
    const std::unique_ptr<wchar_t[]> wideOwner(wide);
    const std::unique_ptr<char[]> narrowOwner(narrow);
    EXPECT_THAT(requests, testing::ElementsAre(8U, 4U));
}

TEST(ShareValues, ConversionsAskTheSystemForNothingSpecial)
{
    const CallRecorder<decltype(MultiByteToWideChar)> toWide("MultiByteToWideChar");
    const CallRecorder<decltype(WideCharToMultiByte)> toNarrow("WideCharToMultiByte");
    wchar_t* wide = nullptr;
    char* narrow = nullptr;
    EXPECT_EQ(1, ToWide("a", 1, &wide, c_latin1));
    EXPECT_EQ(1, ToNarrow(L"a", 1, &narrow, c_latin1));
    delete[] wide;
    delete[] narrow;
    ASSERT_EQ(2U, toWide.Calls().size());
    ASSERT_EQ(2U, toNarrow.Calls().size());
    for (const size_t i : {0U, 1U})
    {
        EXPECT_EQ(0U, std::get<1>(toWide.Calls()[i])) << "some code pages refuse every flag";
        EXPECT_EQ(0U, std::get<1>(toNarrow.Calls()[i]));
        EXPECT_EQ(nullptr, std::get<6>(toNarrow.Calls()[i]));
        EXPECT_EQ(nullptr, std::get<7>(toNarrow.Calls()[i]));
    }
}

TEST(ShareValues, WhatCannotBeMeasuredIsNotConverted)
{
    const FailingCall<decltype(MultiByteToWideChar)> toWide("MultiByteToWideChar", ERROR_INVALID_FLAGS);
    const FailingCall<decltype(WideCharToMultiByte)> toNarrow("WideCharToMultiByte", ERROR_INVALID_FLAGS);
    wchar_t* wide = nullptr;
    char* narrow = nullptr;
    EXPECT_EQ(0, ToWide("a", 1, &wide, c_latin1));
    EXPECT_EQ(0, ToNarrow(L"a", 1, &narrow, c_latin1));
    EXPECT_EQ(1U, toWide.Calls().size());
    EXPECT_EQ(1U, toNarrow.Calls().size());
}

TEST(ShareValues, AFailedConversionGivesNothing)
{
    wchar_t* wide = reinterpret_cast<wchar_t*>(8);
    char* narrow = reinterpret_cast<char*>(8);
    AllocationProbe memory;
    EXPECT_EQ(0, ToWide("abc", 3, &wide, c_noCodePage));
    EXPECT_EQ(nullptr, wide);
    EXPECT_EQ(0, ToNarrow(L"abc", 3, &narrow, c_noCodePage));
    EXPECT_EQ(nullptr, narrow);

    memory.FailRequest(1);
    EXPECT_EQ(0, ToWide("abc", 3, &wide, c_utf8));
    EXPECT_EQ(nullptr, wide);
    memory.FailRequest(1);
    EXPECT_EQ(0, ToNarrow(L"abc", 3, &narrow, c_utf8));
    EXPECT_EQ(nullptr, narrow);
    EXPECT_EQ(0U, memory.LiveBlocks());
}

TEST(ShareValues, AConversionThatFailsTheSecondTimeGivesNothing)
{
    // Measures, and then fails.
    const Redirect<decltype(MultiByteToWideChar)> toWide(
        "MultiByteToWideChar",
        [](UINT, DWORD, const char*, int, wchar_t*, int capacity) { return capacity == 0 ? 3 : 0; });
    const Redirect<decltype(WideCharToMultiByte)> toNarrow("WideCharToMultiByte",
                                                           [](UINT, DWORD, const wchar_t*, int, char*, int capacity,
                                                              const char*, int*) { return capacity == 0 ? 3 : 0; });
    wchar_t* wide = nullptr;
    char* narrow = nullptr;
    const AllocationProbe memory;
    EXPECT_EQ(0, ToWide("abc", 3, &wide, c_utf8));
    EXPECT_EQ(nullptr, wide);
    EXPECT_EQ(0, ToNarrow(L"abc", 3, &narrow, c_utf8));
    EXPECT_EQ(nullptr, narrow);
    EXPECT_EQ(0U, memory.LiveBlocks());
}

TEST(ShareValues, CopyTextCutsWhatDoesNotFit)
{
    struct Row
    {
        uint64_t capacity;
        const wchar_t* copied;
    };
    for (const Row& row : {Row{1, L""}, Row{2, L"a"}, Row{4, L"abc"}, Row{5, L"abcd"}, Row{6, L"abcd"}})
    {
        wchar_t text[] = L"xxxxxxxx";
        CopyText(text, L"abcd", row.capacity);
        EXPECT_STREQ(row.copied, text) << row.capacity;
        EXPECT_EQ(L'x', text[row.capacity]) << "nothing behind the capacity";
    }
}

TEST(ShareValues, CopyTextOfNothingGivesAnEmptyText)
{
    const PageEdge<wchar_t> edge(L"");
    for (const wchar_t* const source :
         {static_cast<const wchar_t*>(nullptr), L"", static_cast<const wchar_t*>(edge.Unreadable())})
    {
        wchar_t text[] = L"before";
        CopyText(text, source, 7);
        EXPECT_STREQ(L"", text);
    }
}

TEST(ShareValues, CopyTextReadsNoFurtherThanItWrites)
{
    const PageEdge<wchar_t> edge(L"abcd");
    edge.Text()[4] = L'e'; // now the page ends without a NUL
    wchar_t text[16] = L"before";
    CopyText(text, edge.Text(), 6);
    EXPECT_STREQ(L"abcde", text);
    CopyText(text, edge.Text(), 7);
    EXPECT_STREQ(L"", text) << "a text that runs out of its page cannot be read";
}

TEST(ShareValues, CopyTextToNowhereDoesNothing)
{
    wchar_t text[] = L"before";
    CopyText(text, L"after", 0);
    EXPECT_STREQ(L"before", text);
    CopyText(nullptr, L"after", 5);
}

TEST(ShareValues, CopyTextTakesOverlappingTexts)
{
    wchar_t text[] = L"abcdef";
    CopyText(text, text + 2, 7);
    EXPECT_STREQ(L"cdef", text);
    wchar_t other[] = L"abcdef";
    CopyText(other + 2, other, 5);
    EXPECT_STREQ(L"ababcd", other);
}
