#include "OrvProfiler/foundation/TString.h"

#include "tests/support/contract/ObjectFields.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
using testing::ElementsAre;

constexpr uint64_t c_notFound = 0xFFFFFFFF;

std::wstring Filled(size_t length, wchar_t character = L'x')
{
    return std::wstring(length, character);
}

// A string as it is after an allocation failure.
TString WithoutBuffer()
{
    TString text;
    AllocationProbe heap;
    heap.FailRequest(1);
    text.Reserve(1000);
    return text;
}

std::vector<std::wstring> Texts(const std::vector<TString>& list)
{
    return std::vector<std::wstring>(list.begin(), list.end());
}

// A block that grows moves, and its old place soon holds something else.
void* MovedBlock(void* old, size_t sizeBytes)
{
    const size_t oldBytes = _msize(old);
    void* const block = std::malloc(sizeBytes);
    std::memcpy(block, old, std::min(oldBytes, sizeBytes));
    std::memset(old, 'u', oldBytes);
    std::free(old);
    return block;
}

// An environment variable with a fresh name, deleted when this object goes.
class Variable
{
public:
    explicit Variable(const std::wstring& value) { SetEnvironmentVariableW(m_name.c_str(), value.c_str()); }
    ~Variable() { SetEnvironmentVariableW(m_name.c_str(), nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    const wchar_t* Name() const { return m_name.c_str(); }
    std::wstring Reference() const { return L"%" + m_name + L"%"; }

private:
    std::wstring m_name = FreshName(L"ORV_TEXT");
};
} // namespace

TEST(TString, IsTwoFieldsOf16Bytes)
{
    static_assert(sizeof(TString) == 16, "");
    const TString text(L"abc");
    const auto fields = FieldsOf<std::array<uint64_t, 2>>(text);
    EXPECT_EQ(260U, fields[0]);
    EXPECT_EQ(reinterpret_cast<uint64_t>(text.GetBuffer()), fields[1]);
}

TEST(TString, IndicesAre64BitsWideAndNotFoundHas32)
{
    static_assert(std::is_same<decltype(TString().Find(L'x', 0)), uint64_t>::value, "");
    static_assert(std::is_same<decltype(TString().GetLength()), uint64_t>::value, "");
    EXPECT_EQ(0xFFFFFFFFULL, TString::npos);
}

TEST(TString, NewStringIsEmptyWithRoomFor260Units)
{
    const TString text;
    EXPECT_STREQ(L"", text.GetBuffer());
    EXPECT_EQ(0U, text.GetLength());
    EXPECT_EQ(260U, text.GetCapacity());
    EXPECT_TRUE(text.IsEmpty());
}

TEST(TString, NewStringAllocates522Bytes)
{
    const AllocationProbe heap;
    {
        const TString text;
        const std::vector<size_t> sizes = heap.Requests();
        EXPECT_THAT(sizes, ElementsAre(522U));
    }
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(TString, IsMadeFromTextStringAndCharacter)
{
    const TString text(L"abc");
    EXPECT_STREQ(L"abc", text);
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is the question
    const TString copy(text);
    EXPECT_STREQ(L"abc", copy);
    EXPECT_NE(text.GetBuffer(), copy.GetBuffer());
    EXPECT_STREQ(L"q", TString(L'q'));
    EXPECT_STREQ(L"", TString(L'\0'));
    const wchar_t* const none = nullptr;
    EXPECT_STREQ(L"", TString(none));
    EXPECT_EQ(260U, TString(none).GetCapacity());
}

TEST(TString, CopyIsAsLargeAsItsTextNeeds)
{
    TString text(Filled(255).c_str());
    text = L"0123456789";
    ASSERT_EQ(265U, text.GetCapacity());
    EXPECT_EQ(260U, TString(text).GetCapacity());
    EXPECT_EQ(300U, TString(TString(Filled(300).c_str())).GetCapacity());
}

TEST(TString, AssigningToANewStringReservesTheText)
{
    for (const auto& [length, capacity] : {std::pair<size_t, uint64_t>{259, 260}, {260, 260}, {261, 261}, {300, 300}})
    {
        TString text;
        text.Assign(Filled(length).c_str());
        EXPECT_EQ(length, text.GetLength());
        EXPECT_EQ(capacity, text.GetCapacity()) << length;
    }
}

TEST(TString, AssigningAllocatesTwoBytesAUnitAndTwo)
{
    const std::wstring text = Filled(300);
    TString target;
    const AllocationProbe heap;
    target.Assign(text.c_str());
    const std::vector<size_t> sizes = heap.Requests();
    EXPECT_THAT(sizes, ElementsAre(602U));
}

TEST(TString, AssigningCountsTheOldContentToo)
{
    TString text(Filled(255).c_str());
    ASSERT_EQ(260U, text.GetCapacity());
    text = L"0123456789";
    EXPECT_STREQ(L"0123456789", text);
    EXPECT_EQ(265U, text.GetCapacity());
}

TEST(TString, AssigningUpToTheCapacityKeepsTheBlock)
{
    TString text(Filled(250).c_str());
    const wchar_t* const block = text.GetBuffer();
    text = L"0123456789";
    EXPECT_EQ(260U, text.GetCapacity());
    EXPECT_EQ(block, text.GetBuffer());
}

TEST(TString, CapacityNeverShrinks)
{
    TString text(Filled(1000).c_str());
    text = L"";
    EXPECT_EQ(1000U, text.GetCapacity());
    text.Empty();
    text.Assign(L"a");
    EXPECT_EQ(1000U, text.GetCapacity());
}

TEST(TString, AssigningNothingEmpties)
{
    TString text(L"abc");
    text.Assign(nullptr);
    EXPECT_STREQ(L"", text);
    text = L"abc";
    const PageEdge<wchar_t> page(L"");
    text = page.Unreadable();
    EXPECT_STREQ(L"", text);
    EXPECT_STREQ(L"", TString(page.Unreadable()));
}

TEST(TString, AssigningItselfDoesNothing)
{
    TString text(Filled(200).c_str());
    const TString& same = text;
    text = same;
    EXPECT_EQ(200U, text.GetLength());
    EXPECT_EQ(260U, text.GetCapacity());
    text = text.GetBuffer();
    EXPECT_EQ(200U, text.GetLength());
    EXPECT_EQ(260U, text.GetCapacity());
}

TEST(TString, AssigningAPartOfItselfKeepsThePart)
{
    TString text((Filled(200) + L"the rest").c_str());
    text = text.GetBuffer() + 200;
    EXPECT_STREQ(L"the rest", text);
    text = Filled(250, L'a').c_str();
    text.Assign(text.GetBuffer() + 1);
    EXPECT_EQ(499U, text.GetCapacity());
    EXPECT_EQ(Filled(249, L'a'), text.GetBuffer());
}

TEST(TString, AssigningAnotherStringCopiesIt)
{
    const TString source(L"source");
    TString text(L"old");
    text = source;
    EXPECT_STREQ(L"source", text);
    EXPECT_NE(source.GetBuffer(), text.GetBuffer());
    text = L'c';
    EXPECT_STREQ(L"c", text);
}

TEST(TString, AppendsTextsStringsAndCharacters)
{
    TString text(L"a");
    text += L"bc";
    text += TString(L"de");
    text += L'f';
    text.Append(L"gh");
    text.Append(L'i');
    (text += L"j") += L"k";
    EXPECT_STREQ(L"abcdefghijk", text);
}

TEST(TString, AppendingNothingChangesNothing)
{
    TString text(L"abc");
    const PageEdge<wchar_t> page(L"");
    text.Append(nullptr);
    text.Append(L"");
    text.Append(L'\0');
    text += page.Unreadable();
    text += WithoutBuffer();
    EXPECT_STREQ(L"abc", text);
}

TEST(TString, AppendingGrowsToExactlyWhatIsNeeded)
{
    TString text(Filled(259).c_str());
    text.Append(L"1");
    EXPECT_EQ(260U, text.GetCapacity());
    text.Append(L"2");
    EXPECT_EQ(261U, text.GetCapacity());
    text.Append(Filled(40).c_str());
    EXPECT_EQ(301U, text.GetCapacity());
    EXPECT_EQ(Filled(259) + L"12" + Filled(40), text.GetBuffer());
}

TEST(TString, AppendingAllocatesTwoBytesAUnitAndTwo)
{
    TString text(Filled(260).c_str());
    const AllocationProbe heap;
    text.Append(L"z");
    const std::vector<size_t> sizes = heap.Requests();
    EXPECT_THAT(sizes, ElementsAre(524U));
}

TEST(TString, AppendsItselfAndItsParts)
{
    TString text(Filled(150, L'a').c_str());
    text += text;
    EXPECT_EQ(Filled(300, L'a'), text.GetBuffer());
    TString end(L"abc");
    end.Append(end.GetBuffer() + 1);
    EXPECT_STREQ(L"abcbc", end);
    end.Append(end.GetBuffer() + 5);
    EXPECT_STREQ(L"abcbc", end);
}

TEST(TString, TakesItsOwnTextFromWhereItsBlockHasMoved)
{
    TString doubled(Filled(150, L'a').c_str());
    TString rest(Filled(200, L'a').c_str());
    {
        const Redirect<void*(void*, size_t)> realloc("realloc", MovedBlock);
        doubled += doubled;
        rest.Assign(rest.GetBuffer() + 1);
    }
    EXPECT_EQ(Filled(300, L'a'), doubled.GetBuffer());
    EXPECT_EQ(Filled(199, L'a'), rest.GetBuffer());
}

TEST(TString, ReservingMoreEmptiesAndReservingLessDoesNothing)
{
    TString text(L"abc");
    text.Reserve(260);
    EXPECT_STREQ(L"abc", text);
    EXPECT_EQ(260U, text.GetCapacity());
    text.Reserve(0);
    EXPECT_STREQ(L"abc", text);
    text.Reserve(261);
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(261U, text.GetCapacity());
}

TEST(TString, AnAllocationTooLargeToExpressFails)
{
    for (const uint64_t units : {0x7FFFFFFFFFFFFFFFULL, 0x8000000000000000ULL, 0xFFFFFFFFFFFFFFFFULL})
    {
        TString text(L"abc");
        text.Reserve(units);
        EXPECT_EQ(nullptr, text.GetBuffer());
        EXPECT_EQ(0U, text.GetCapacity());
    }
}

TEST(TString, FailedAllocationsLeaveNoBufferAndNoLeak)
{
    const std::wstring large = Filled(300);
    const std::vector<void (*)(TString&, const wchar_t*)> operations = {
        [](TString& text, const wchar_t* argument) { text.Assign(argument); },
        [](TString& text, const wchar_t* argument) { text.Append(argument); },
        [](TString& text, const wchar_t*) { text.Reserve(300); },
    };
    for (const auto operation : operations)
    {
        AllocationProbe heap;
        {
            TString text(L"abc");
            heap.FailRequest(1);
            operation(text, large.c_str());
            EXPECT_TRUE(heap.HasFailed());
            EXPECT_EQ(nullptr, text.GetBuffer());
            EXPECT_EQ(0U, text.GetCapacity());
            EXPECT_EQ(0U, heap.LiveBlocks());
        }
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}

TEST(TString, ConstructionWithoutMemoryLeavesNoBuffer)
{
    AllocationProbe heap;
    heap.FailFrom(1);
    const TString empty;
    const TString text(L"abc");
    const TString character(L'c');
    heap.StopFailing();
    EXPECT_EQ(nullptr, empty.GetBuffer());
    EXPECT_EQ(0U, empty.GetCapacity());
    EXPECT_EQ(nullptr, text.GetBuffer());
    EXPECT_EQ(nullptr, character.GetBuffer());
}

TEST(TString, WithoutABufferEveryReadIsThatOfAnEmptyString)
{
    TString text = WithoutBuffer();
    ASSERT_EQ(nullptr, text.GetBuffer());
    EXPECT_EQ(0U, text.GetLength());
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(L'\0', text.GetAt(0));
    EXPECT_EQ(L'\0', text.First());
    EXPECT_EQ(L'\0', text.Last());
    EXPECT_EQ(0U, text.Count(L'a'));
    EXPECT_EQ(c_notFound, text.Find(L'a', 0));
    EXPECT_EQ(c_notFound, text.Find(L"", 0));
    EXPECT_EQ(c_notFound, text.ReverseFind(L'a', 0));
    EXPECT_EQ(c_notFound, text.ReverseFind(L"a", 0));
    EXPECT_FALSE(text.Contains(L""));
    EXPECT_FALSE(text.StartsWith(L""));
    EXPECT_STREQ(L"", text.Mid(0, 5));
    EXPECT_EQ(0U, text.Replace(L'a', L'b'));
    EXPECT_EQ(0U, text.Replace(L"a", L"b"));
    EXPECT_EQ(0U, text.Trim(L" "));
    EXPECT_STREQ(L"", text.StripQuotes());
    EXPECT_EQ(nullptr, text.Split(L','));
    TString result;
    EXPECT_EQ(-2, text.ExpandEnvironment(result));
    EXPECT_FALSE(text == L"");
    EXPECT_FALSE(text < TString(L"a"));
    text.SetAt(0, L'x');
    text.Empty();
    text.MakeLower();
    EXPECT_EQ(nullptr, text.GetBuffer());
}

TEST(TString, WithoutABufferAppendDoesNothingAndAssignStartsAnew)
{
    TString text = WithoutBuffer();
    text.Append(L"abc");
    EXPECT_EQ(nullptr, text.GetBuffer());
    text.Assign(L"abc");
    EXPECT_STREQ(L"abc", text);
    EXPECT_EQ(3U, text.GetCapacity());
    text = WithoutBuffer();
    EXPECT_STREQ(L"", text);
    TString reserved = WithoutBuffer();
    reserved.Reserve(10);
    EXPECT_STREQ(L"", reserved);
    EXPECT_EQ(10U, reserved.GetCapacity());
}

TEST(TString, TheUnitBehindTheCapacityIsOutsideEvenWithoutItsNul)
{
    TString text(L"abc");
    const uint64_t capacity = text.GetCapacity();
    std::wmemset(text.GetBuffer(), L'x', capacity + 1);
    EXPECT_EQ(L'x', text.GetAt(capacity - 1));
    EXPECT_EQ(L'\0', text.GetAt(capacity));
    text.SetAt(capacity, L'y');
    EXPECT_EQ(L'x', text.GetBuffer()[capacity]);
    text.GetBuffer()[capacity] = L'\0';
}

TEST(TString, ReadsAndWritesUnitsInsideTheText)
{
    TString text(L"abc");
    EXPECT_EQ(L'a', text.GetAt(0));
    EXPECT_EQ(L'c', text.GetAt(2));
    EXPECT_EQ(L'\0', text.GetAt(3));
    EXPECT_EQ(L'\0', text.GetAt(0xFFFFFFFFFFFFFFFFULL));
    EXPECT_EQ(L'a', text.First());
    EXPECT_EQ(L'c', text.Last());
    EXPECT_EQ(L'x', TString(L"x").Last());
    text.SetAt(2, L'z');
    text.SetAt(3, L'q');
    text.SetAt(c_notFound, L'q');
    EXPECT_STREQ(L"abz", text);
    text.GetBuffer()[0] = L'A';
    EXPECT_STREQ(L"Abz", text);
    text.Empty();
    text.SetAt(0, L'q');
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(260U, text.GetCapacity());
    EXPECT_EQ(L'\0', text.First());
    EXPECT_EQ(L'\0', text.Last());
}

TEST(TString, CountsUnits)
{
    EXPECT_EQ(3U, TString(L"banana").Count(L'a'));
    EXPECT_EQ(0U, TString(L"banana").Count(L'A'));
    EXPECT_EQ(0U, TString(L"").Count(L'a'));
    EXPECT_EQ(0U, TString(L"banana").Count(L'\0'));
}

TEST(TString, ComparesForEquality)
{
    const TString text(L"Abc");
    EXPECT_TRUE(text == L"Abc");
    EXPECT_TRUE(L"Abc" == text);
    EXPECT_TRUE(text == TString(L"Abc"));
    EXPECT_FALSE(text == L"abc");
    EXPECT_FALSE(text == L"Abcd");
    EXPECT_TRUE(text != L"abc");
    EXPECT_TRUE(L"abc" != text);
    EXPECT_TRUE(text != TString(L"Ab"));
    EXPECT_FALSE(text != TString(L"Abc"));
    EXPECT_TRUE(text.Equals(L"Abc", true));
    EXPECT_FALSE(text.Equals(L"aBC", true));
    EXPECT_TRUE(text.Equals(L"aBC", false));
    EXPECT_FALSE(text.Equals(nullptr, false));
    const TString none = WithoutBuffer();
    EXPECT_TRUE(none == none);
    EXPECT_TRUE(none == WithoutBuffer());
    EXPECT_TRUE(none == nullptr);
    EXPECT_TRUE(none != L"");
}

TEST(TString, OrdersByCodeUnits)
{
    struct Case
    {
        const wchar_t* smaller;
        const wchar_t* greater;
    };
    for (const Case& pair : {Case{L"ab", L"abc"},
                             {L"abc", L"abd"},
                             {L"B", L"a"},
                             {L"a", L"\x00E9"},
                             {L"\x7FFF", L"\x8000"},
                             {L"\x8000", L"\xFFFF"},
                             {L"a", L"\xFFFF"}})
    {
        const TString smaller(pair.smaller);
        const TString greater(pair.greater);
        EXPECT_TRUE(smaller < greater) << pair.smaller;
        EXPECT_FALSE(greater < smaller) << pair.smaller;
        EXPECT_TRUE(greater > smaller) << pair.smaller;
        EXPECT_FALSE(smaller > greater) << pair.smaller;
    }
    EXPECT_FALSE(TString(L"ab") < TString(L"ab"));
    EXPECT_FALSE(TString(L"ab") > TString(L"ab"));
}

TEST(TString, EmptyIsNeitherSmallerNorGreaterThanAnything)
{
    const TString empty;
    const TString text(L"a");
    EXPECT_FALSE(empty < text);
    EXPECT_FALSE(empty > text);
    EXPECT_FALSE(text < empty);
    EXPECT_FALSE(text > empty);
    EXPECT_FALSE(empty < empty);
}

TEST(TString, OrderingWithoutMemoryForTheRightSideIsFalse)
{
    const TString left(L"a");
    const TString right(L"b");
    AllocationProbe heap;
    heap.FailFrom(1);
    const bool smaller = left < right;
    heap.StopFailing();
    EXPECT_FALSE(smaller);
}

TEST(TString, FindsCharacters)
{
    const TString text(L"abcabc");
    EXPECT_EQ(1U, text.Find(L'b'));
    EXPECT_EQ(1U, text.Find(L'b', 1));
    EXPECT_EQ(4U, text.Find(L'b', 2));
    EXPECT_EQ(c_notFound, text.Find(L'b', 5));
    EXPECT_EQ(5U, text.Find(L'c', 5));
    EXPECT_EQ(c_notFound, text.Find(L'c', 6));
    EXPECT_EQ(c_notFound, text.Find(L'a', c_notFound));
    EXPECT_EQ(c_notFound, text.Find(L'x', 0));
    EXPECT_EQ(c_notFound, text.Find(L'\0', 0));
    EXPECT_EQ(c_notFound, TString().Find(L'x', 0));
}

TEST(TString, FindsTexts)
{
    const TString text(L"abcabc");
    EXPECT_EQ(0U, text.Find(L"abc", 0));
    EXPECT_EQ(3U, text.Find(L"abc", 1));
    EXPECT_EQ(3U, text.Find(L"abc", 3));
    EXPECT_EQ(c_notFound, text.Find(L"abc", 4));
    EXPECT_EQ(c_notFound, text.Find(L"abcabcd", 0));
    EXPECT_EQ(c_notFound, text.Find(L"ABC", 0));
    EXPECT_EQ(1U, TString(L"aab").Find(L"ab", 0));
}

TEST(TString, FindsAnEmptyTextAtTheEnd)
{
    const TString text(L"abc");
    const wchar_t* const none = nullptr;
    EXPECT_EQ(3U, text.Find(L"", 0));
    EXPECT_EQ(3U, text.Find(L"", 2));
    EXPECT_EQ(c_notFound, text.Find(L"", 3));
    EXPECT_EQ(3U, text.Find(none, 0));
    EXPECT_EQ(c_notFound, TString().Find(L"", 0));
}

TEST(TString, FindsCharactersBackwards)
{
    EXPECT_EQ(3U, TString(L"a\\b\\c.dll").ReverseFind(L'\\', 0));
    const TString text(L"abcabc");
    EXPECT_EQ(5U, text.ReverseFind(L'c', 0));
    EXPECT_EQ(5U, text.ReverseFind(L'c', 1));
    EXPECT_EQ(2U, text.ReverseFind(L'c', 2));
    EXPECT_EQ(0U, text.ReverseFind(L'a', 3 + 1));
    EXPECT_EQ(c_notFound, text.ReverseFind(L'c', 5));
    EXPECT_EQ(c_notFound, text.ReverseFind(L'a', 6));
    EXPECT_EQ(c_notFound, text.ReverseFind(L'a', c_notFound));
    EXPECT_EQ(c_notFound, text.ReverseFind(L'x', 0));
    EXPECT_EQ(c_notFound, text.ReverseFind(L'\0', 0));
    EXPECT_EQ(c_notFound, TString().ReverseFind(L'x', 0));
}

TEST(TString, FindsTextsBackwards)
{
    const TString text(L"abcabc");
    EXPECT_EQ(3U, text.ReverseFind(L"abc", 0));
    EXPECT_EQ(3U, text.ReverseFind(L"abc", 3));
    EXPECT_EQ(0U, text.ReverseFind(L"abc", 4));
    EXPECT_EQ(4U, text.ReverseFind(L"bc", 0));
    EXPECT_EQ(c_notFound, text.ReverseFind(L"bc", 6));
    EXPECT_EQ(1U, text.ReverseFind(L"bc", 5));
    EXPECT_EQ(c_notFound, text.ReverseFind(L"abcabcd", 0));
    EXPECT_EQ(6U, text.ReverseFind(L"", 0));
    EXPECT_EQ(4U, text.ReverseFind(L"", 2));
    EXPECT_EQ(c_notFound, TString().ReverseFind(L"", 0));
}

TEST(TString, KnowsWhatItContainsAndStartsWith)
{
    const TString text(L"abcabc");
    EXPECT_TRUE(text.Contains(L"cab"));
    EXPECT_TRUE(text.Contains(L""));
    EXPECT_TRUE(text.Contains(nullptr));
    EXPECT_FALSE(text.Contains(L"cb"));
    EXPECT_FALSE(TString().Contains(L""));
    EXPECT_TRUE(text.StartsWith(L"abc"));
    EXPECT_TRUE(text.StartsWith(L"abcabc"));
    EXPECT_FALSE(text.StartsWith(L"abcabca"));
    EXPECT_FALSE(text.StartsWith(L"bc"));
    EXPECT_FALSE(text.StartsWith(L"ABC"));
    EXPECT_FALSE(text.StartsWith(L""));
    EXPECT_FALSE(TString().StartsWith(L""));
    EXPECT_FALSE(TString().StartsWith(L"a"));
}

TEST(TString, MidCutsAtTheEnd)
{
    const TString text(L"abcdef");
    EXPECT_STREQ(L"def", text.Mid(3, 0xFFFFFFFF));
    EXPECT_STREQ(L"def", text.Mid(3));
    EXPECT_STREQ(L"ef", text.Mid(4, 10));
    EXPECT_STREQ(L"bc", text.Mid(1, 2));
    EXPECT_STREQ(L"abcdef", text.Mid(0, 6));
    EXPECT_STREQ(L"f", text.Mid(5, 0xFFFFFFFFFFFFFFFFULL));
    EXPECT_STREQ(L"", text.Mid(0, 0));
    EXPECT_STREQ(L"", text.Mid(6, 1));
    EXPECT_STREQ(L"", text.Mid(7, 1));
    EXPECT_STREQ(L"", text.Mid(0xFFFFFFFFFFFFFFFFULL, 3));
    EXPECT_STREQ(L"", TString().Mid(0));
    EXPECT_STREQ(L"abcdef", text);
}

TEST(TString, MidReservesWhatItTakes)
{
    const TString text(Filled(500).c_str());
    EXPECT_EQ(260U, text.Mid(0, 260).GetCapacity());
    EXPECT_EQ(261U, text.Mid(0, 261).GetCapacity());
    EXPECT_EQ(400U, text.Mid(100, 1000).GetCapacity());
}

TEST(TString, ReplacesCharactersInPlace)
{
    TString text(L"a/b/c");
    EXPECT_EQ(2U, text.Replace(L'/', L'\\'));
    EXPECT_STREQ(L"a\\b\\c", text);
    EXPECT_EQ(0U, text.Replace(L'x', L'y'));
    EXPECT_EQ(0U, text.Replace(L'\0', L'y'));
    EXPECT_STREQ(L"a\\b\\c", text);
    EXPECT_EQ(2U, text.Replace(L'\\', L'\0'));
    EXPECT_STREQ(L"a", text);
}

TEST(TString, ReplaceResumesAfterEachMatch)
{
    struct Case
    {
        const wchar_t* text;
        const wchar_t* from;
        const wchar_t* to;
        uint64_t count;
        const wchar_t* result;
    };
    for (const Case& example : {
             Case{L"aaa", L"aa", L"b", 1, L"ba"},
             {L"aaaa", L"aa", L"aaa", 2, L"aaaaaa"},
             {L"abcabc", L"bc", L"", 2, L"aa"},
             {L"abab", L"abab", L"x", 1, L"x"},
             {L"aab", L"ab", L"x", 1, L"ax"},
             {L"abc", L"abcd", L"x", 0, L"abc"},
             {L"xab", L"abc", L"y", 0, L"xab"},
             {L"abc", L"", L"x", 0, L"abc"},
             {L"", L"a", L"x", 0, L""},
             {L"abc", L"b", L"b", 1, L"abc"},
         })
    {
        TString text(example.text);
        EXPECT_EQ(example.count, text.Replace(example.from, example.to)) << example.text << example.from;
        EXPECT_STREQ(example.result, text);
    }
}

TEST(TString, ReplaceWithAbsentTextsChangesNothing)
{
    const PageEdge<wchar_t> page(L"");
    const wchar_t* const none = nullptr;
    TString text(L"abc");
    EXPECT_EQ(0U, text.Replace(L"b", none));
    EXPECT_EQ(0U, text.Replace(L"b", page.Unreadable()));
    EXPECT_EQ(0U, text.Replace(none, L"x"));
    EXPECT_EQ(0U, text.Replace(page.Unreadable(), L"x"));
    EXPECT_STREQ(L"abc", text);
}

TEST(TString, ReplaceKeepsOneUnitBehindAReplacementFree)
{
    for (const auto& [length, sizes] : {std::pair<size_t, std::vector<size_t>>{254, {512}}, {255, {512, 1024}}})
    {
        const std::wstring replacement = Filled(length);
        TString text;
        text.Reserve(1000);
        text.Assign(L"-");
        std::vector<size_t> requests;
        {
            const AllocationProbe heap;
            EXPECT_EQ(1U, text.Replace(L"-", replacement.c_str()));
            requests = heap.Requests();
        }
        EXPECT_EQ(sizes, requests) << length;
        EXPECT_EQ(replacement, text.GetBuffer());
    }
}

TEST(TString, ReplaceMayTakeItsTextsFromTheStringItself)
{
    TString text(L"ab-ab");
    EXPECT_EQ(1U, text.Replace(L"-", text.GetBuffer()));
    EXPECT_STREQ(L"abab-abab", text);
}

TEST(TString, ReplaceGrowsItsWorkIn256UnitSteps)
{
    // The work block grows before a unit is copied when its size is at most one more than what is used already.
    struct Case
    {
        size_t length;
        std::vector<size_t> sizes;
    };
    for (const Case& example : {Case{255, {512}},
                                {256, {512, 1024}},
                                {511, {512, 1024}},
                                {512, {512, 1024, 1536}},
                                {768, {512, 1024, 1536, 2048}}})
    {
        TString text;
        text.Reserve(2000);
        text.Assign((L"-" + Filled(example.length - 1)).c_str());
        std::vector<size_t> sizes;
        {
            const AllocationProbe heap;
            EXPECT_EQ(1U, text.Replace(L"-", L"+"));
            sizes = heap.Requests();
        }
        EXPECT_EQ(example.sizes, sizes) << example.length;
        EXPECT_EQ(L"+" + Filled(example.length - 1), text.GetBuffer());
    }
}

TEST(TString, ReplaceMakesRoomForALargeReplacementAtOnce)
{
    const std::wstring large = Filled(1000, L'L');
    TString text(L"a-b");
    {
        const AllocationProbe heap;
        EXPECT_EQ(1U, text.Replace(L"-", large.c_str()));
        const std::vector<size_t> sizes = heap.Requests();
        // 1 + 1000 + 1 units fit in four steps of 256; the string takes the new text and, as always, room for the
        // old.
        EXPECT_THAT(sizes, ElementsAre(512U, 2048U, 2U * (1002 + 3) + 2));
    }
    EXPECT_EQ(L"a" + large + L"b", text.GetBuffer());
}

TEST(TString, ReplaceWithoutMemoryLeavesTheStringUntouched)
{
    const std::wstring front = L"-" + Filled(600);
    const std::wstring back = Filled(600) + L"-";
    const std::wstring large = Filled(600, L'L');
    // The first work block, its growth for the text behind and before a match, its growth for a replacement.
    struct Case
    {
        const std::wstring& original;
        const wchar_t* to;
        unsigned successes;
    };
    for (const Case& example : {Case{front, L"+", 0},
                                {front, L"+", 1},
                                {front, L"+", 2},
                                {back, L"+", 1},
                                {back, L"+", 2},
                                {front, large.c_str(), 1}})
    {
        const std::wstring& original = example.original;
        TString text(original.c_str());
        AllocationProbe heap;
        heap.FailRequest(example.successes + 1);
        const uint64_t count = text.Replace(L"-", example.to);
        heap.StopFailing();
        EXPECT_TRUE(heap.HasFailed());
        EXPECT_EQ(0U, count);
        EXPECT_EQ(original, text.GetBuffer());
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}

TEST(TString, LowersOnlyAsciiLetters)
{
    TString text(L"@AMZ[`az{09 \x00C4\x0391\x0130");
    text.MakeLower();
    EXPECT_STREQ(L"@amz[`az{09 \x00C4\x0391\x0130", text);
}

TEST(TString, TrimmingNeverReadsBeforeTheText)
{
    constexpr size_t pageBytes = 4096;
    auto* const pages = static_cast<unsigned char*>(VirtualAlloc(nullptr, 2 * pageBytes, MEM_RESERVE, PAGE_NOACCESS));
    auto* const text = static_cast<wchar_t*>(VirtualAlloc(pages + pageBytes, pageBytes, MEM_COMMIT, PAGE_READWRITE));
    ASSERT_NE(nullptr, text);
    text[0] = L' ';
    EXPECT_STREQ(L"", TString::TrimRight(text, L" "));
    EXPECT_STREQ(L"", TString::TrimLeft(text, L" "));
    VirtualFree(pages, 0, MEM_RELEASE);
}

TEST(TString, TrimsBothEnds)
{
    struct Case
    {
        const wchar_t* text;
        const wchar_t* set;
        uint64_t removed;
        const wchar_t* result;
    };
    for (const Case& example : {
             Case{L"  a b ", L" ", 3, L"a b"},
             {L"xyaxyx", L"xy", 5, L"a"},
             {L"xyx", L"xy", 3, L""},
             {L"abc", L"xy", 0, L"abc"},
             {L" abc ", L"", 0, L" abc "},
             {L" abc ", nullptr, 0, L" abc "},
             {L"", L" ", 0, L""},
         })
    {
        TString text(example.text);
        EXPECT_EQ(example.removed, text.Trim(example.set)) << example.text;
        EXPECT_STREQ(example.result, text);
    }
}

TEST(TString, TrimsOneEnd)
{
    EXPECT_STREQ(L"a  ", TString::TrimLeft(L"  a  ", L" "));
    EXPECT_STREQ(L"  a", TString::TrimRight(L"  a  ", L" "));
    EXPECT_STREQ(L"", TString::TrimLeft(L"   ", L" "));
    EXPECT_STREQ(L"", TString::TrimRight(L"   ", L" "));
    EXPECT_STREQ(L" a ", TString::TrimLeft(L" a ", L""));
    EXPECT_STREQ(L" a ", TString::TrimRight(L" a ", L""));
    EXPECT_STREQ(L"", TString::TrimLeft(L"", L" "));
    EXPECT_STREQ(L"", TString::TrimRight(nullptr, L" "));
    const PageEdge<wchar_t> page(L"  a  ");
    EXPECT_STREQ(L"", TString::TrimLeft(page.Unreadable(), L" "));
    EXPECT_STREQ(L"  a  ", TString::TrimRight(page.Text(), page.Unreadable()));
    EXPECT_STREQ(L"  a", TString::TrimRight(page.Text(), L" "));
    EXPECT_STREQ(L"a  ", TString::TrimLeft(page.Text(), L" "));
}

TEST(TString, TrimWithoutMemoryLosesNothing)
{
    for (const unsigned successes : {0U, 1U})
    {
        TString text(L" abc ");
        AllocationProbe heap;
        heap.FailFrom(successes + 1);
        const uint64_t removed = text.Trim(L" ");
        heap.StopFailing();
        EXPECT_TRUE(heap.HasFailed());
        EXPECT_EQ(0U, removed);
        EXPECT_STREQ(L" abc ", text);
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}

TEST(TString, StripQuotesKeepsTrailingBlanks)
{
    struct Case
    {
        const wchar_t* text;
        const wchar_t* result;
    };
    for (const Case& example : {
             Case{L"  \"C:\\x y\"  ", L"C:\\x y  "},
             {L"   ", L"   "},
             {L"it's", L"its"},
             {L"\t\r\n\x01 abc", L"abc"},
             {L"\"\"''", L""},
             {L" \" a\"", L" a"},
             {L"abc", L"abc"},
             {L"\x00A0q", L"\x00A0q"},
         })
    {
        TString text(example.text);
        const wchar_t* const result = text.StripQuotes();
        EXPECT_EQ(text.GetBuffer(), result);
        EXPECT_STREQ(example.result, result);
    }
}

TEST(TString, StripQuotesTracesBeforeAndAfter)
{
    const TraceCapture trace;
    TString text(L" \"a b\"");
    text.StripQuotes();
    TString blanks(L"  ");
    blanks.StripQuotes();
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"TString::StripQuotes before: \"a b\"\n", L"TString::StripQuotes after:a b\n",
                            L"TString::StripQuotes before:  \n", L"TString::StripQuotes after:  \n"));
}

TEST(TString, StripQuotesOfAnEmptyStringTracesNothing)
{
    const TraceCapture trace;
    TString text;
    EXPECT_STREQ(L"", text.StripQuotes());
    EXPECT_THAT(trace.Raw(), testing::IsEmpty());
}

TEST(TString, NextTokenYieldsEmptyTokensBetweenSeparators)
{
    struct Case
    {
        const wchar_t* text;
        std::vector<std::wstring> tokens;
    };
    for (const Case& example : {
             Case{L"a,,b", {L"a", L"", L"b"}},
             {L"a", {L"a"}},
             {L",a", {L"", L"a"}},
             {L"a,", {L"a"}},
             {L",", {L""}},
             {L"ab,cd", {L"ab", L"cd"}},
             {L"", {}},
         })
    {
        const wchar_t* cursor = example.text;
        TString token(L"old");
        std::vector<std::wstring> tokens;
        while (TString::NextToken(cursor, L',', token))
            tokens.emplace_back(token);
        EXPECT_EQ(example.tokens, tokens) << example.text;
        EXPECT_EQ(L'\0', *cursor);
        EXPECT_EQ(example.text + wcslen(example.text), cursor);
        EXPECT_STREQ(L"", token);
    }
}

TEST(TString, NextTokenMovesTheCursorBehindTheSeparator)
{
    wchar_t text[] = L"a,b";
    wchar_t* cursor = text;
    TString token;
    EXPECT_TRUE(TString::NextToken(cursor, L',', token));
    EXPECT_EQ(text + 2, cursor);
    EXPECT_STREQ(L"a,b", text);
    EXPECT_TRUE(TString::NextToken(cursor, L',', token));
    EXPECT_EQ(text + 3, cursor);
    EXPECT_FALSE(TString::NextToken(cursor, L',', token));
    EXPECT_EQ(text + 3, cursor);
}

TEST(TString, NextTokenOfAnAbsentTextIsNone)
{
    const PageEdge<wchar_t> page(L"ab");
    TString token(L"old");
    wchar_t* cursor = nullptr;
    EXPECT_FALSE(TString::NextToken(cursor, L',', token));
    EXPECT_EQ(nullptr, cursor);
    EXPECT_STREQ(L"", token);
    cursor = page.Unreadable();
    EXPECT_FALSE(TString::NextToken(cursor, L',', token));
    EXPECT_EQ(page.Unreadable(), cursor);
    const wchar_t* edge = page.Text();
    EXPECT_TRUE(TString::NextToken(edge, L',', token));
    EXPECT_STREQ(L"ab", token);
    EXPECT_FALSE(TString::NextToken(edge, L',', token));
}

TEST(TString, SplitsIntoAListOfItsOwn)
{
    const std::unique_ptr<std::vector<TString>> list(TString(L"a;;b;").Split(L';'));
    ASSERT_NE(nullptr, list);
    EXPECT_THAT(Texts(*list), ElementsAre(L"a", L"", L"b"));
    const std::unique_ptr<std::vector<TString>> leading(TString(L";a").Split(L';'));
    ASSERT_NE(nullptr, leading);
    EXPECT_THAT(Texts(*leading), ElementsAre(L"", L"a"));
    EXPECT_EQ(nullptr, TString(L"abc").Split(L';'));
    EXPECT_EQ(nullptr, TString(L"").Split(L';'));
    EXPECT_EQ(nullptr, TString(L"abc").Split(L'\0'));
}

TEST(TString, SplitsIntoAGivenList)
{
    std::vector<TString> list{TString(L"old")};
    EXPECT_TRUE(TString(L"a;b").Split(L';', list));
    EXPECT_THAT(Texts(list), ElementsAre(L"a", L"b"));
    EXPECT_TRUE(TString(L"abc").Split(L';', list));
    EXPECT_THAT(Texts(list), ElementsAre(L"abc"));
    EXPECT_FALSE(TString(L"").Split(L';', list));
    EXPECT_TRUE(list.empty());
}

TEST(TString, SplitGivesAllTokensOrNoneWhenAnAllocationFails)
{
    const TString text(L"a;b;c");
    unsigned refused = 0;
    for (unsigned successes = 0;; ++successes)
    {
        ASSERT_LT(successes, 100U);
        AllocationProbe heap;
        heap.FailRequest(successes + 1);
        const std::vector<TString>* const list = text.Split(L';');
        heap.StopFailing();
        const std::vector<std::wstring> tokens = list != nullptr ? Texts(*list) : std::vector<std::wstring>();
        delete list;
        if (list == nullptr)
            ++refused;
        else
            EXPECT_THAT(tokens, ElementsAre(L"a", L"b", L"c")) << successes;
        if (!heap.HasFailed())
            break;
    }
    // The list and its places. A token whose first allocation fails is allocated again with its text.
    EXPECT_EQ(2U, refused);
}

TEST(TString, SplitWithoutMemoryForATokenGivesNone)
{
    const TString text((L"a;" + Filled(300)).c_str());
    std::vector<TString> list;
    list.reserve(2);
    AllocationProbe heap;
    // The room of the two tokens; the room for the long text fails.
    heap.FailFrom(3);
    const bool split = text.Split(L';', list);
    heap.StopFailing();
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_FALSE(split);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(TString, ReadsEnvironmentVariablesOfEveryLength)
{
    for (const size_t length : {1U, 1022U, 1023U, 1024U, 1025U, 5000U})
    {
        const Variable variable(Filled(length, L'v'));
        TString value(L"old");
        SetLastError(203);
        EXPECT_TRUE(TString::GetEnv(variable.Name(), value)) << length;
        EXPECT_EQ(Filled(length, L'v'), value.GetBuffer()) << length;
    }
}

TEST(TString, AnEmptyEnvironmentVariableIsThere)
{
    const Variable variable(L"");
    TString value(L"old");
    SetLastError(203);
    EXPECT_TRUE(TString::GetEnv(variable.Name(), value));
    EXPECT_STREQ(L"", value);
}

TEST(TString, AMissingEnvironmentVariableLeavesTheValue)
{
    const PageEdge<wchar_t> page(L"");
    TString value(L"old");
    EXPECT_FALSE(TString::GetEnv(FreshName(L"ORV_NONE").c_str(), value));
    EXPECT_FALSE(TString::GetEnv(L"", value));
    EXPECT_FALSE(TString::GetEnv(nullptr, value));
    EXPECT_FALSE(TString::GetEnv(page.Unreadable(), value));
    EXPECT_STREQ(L"old", value);
}

TEST(TString, LongEnvironmentVariablesAreAskedForTwice)
{
    static std::vector<DWORD> sizes;
    sizes.clear();
    TString value(L"old");
    {
        const Redirect<decltype(GetEnvironmentVariableW)> redirect(
            "GetEnvironmentVariableW", [](const wchar_t*, wchar_t* buffer, DWORD size) -> DWORD {
                sizes.push_back(size);
                if (size < 1025)
                    return 1025;
                std::wmemset(buffer, L'v', 1024);
                buffer[1024] = L'\0';
                return 1024;
            });
        EXPECT_TRUE(TString::GetEnv(L"any", value));
    }
    EXPECT_THAT(sizes, ElementsAre(1024U, 1025U));
    EXPECT_EQ(Filled(1024, L'v'), value.GetBuffer());
}

TEST(TString, AnEnvironmentVariableThatGrowsBetweenTheCallsIsGivenUp)
{
    TString value(L"old");
    AllocationProbe heap;
    {
        const Redirect<decltype(GetEnvironmentVariableW)> redirect(
            "GetEnvironmentVariableW", [](const wchar_t*, wchar_t*, DWORD size) -> DWORD { return size + 1; });
        EXPECT_FALSE(TString::GetEnv(L"any", value));
    }
    EXPECT_STREQ(L"old", value);
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(TString, AnEnvironmentVariableThatGoesBetweenTheCallsIsMissing)
{
    TString value(L"old");
    const Redirect<decltype(GetEnvironmentVariableW)> redirect("GetEnvironmentVariableW",
                                                               [](const wchar_t*, wchar_t*, DWORD size) -> DWORD {
                                                                   if (size == 1024)
                                                                       return 2000;
                                                                   SetLastError(203);
                                                                   return 0;
                                                               });
    EXPECT_FALSE(TString::GetEnv(L"any", value));
    EXPECT_STREQ(L"old", value);
}

TEST(TString, SearchesTheWholeStringByDefault)
{
    const TString text(L"abca");
    EXPECT_EQ(0U, text.Find(L'a'));
    EXPECT_EQ(0U, text.Find(L"a"));
    EXPECT_EQ(3U, text.ReverseFind(L'a'));
    EXPECT_EQ(4U, text.ReverseFind(L""));
}

TEST(TString, TakesOneUnitMoreThanALongEnvironmentVariableNeeds)
{
    const Variable variable(Filled(5000));
    TString value;
    AllocationProbe heap;
    EXPECT_TRUE(TString::GetEnv(variable.Name(), value));
    EXPECT_THAT(heap.Requests(), ElementsAre(1024 * 2, 5002 * 2, 5001 * 2));
}

TEST(TString, FreesTheFirstBlockOfALongEnvironmentVariableBeforeItTakesTheSecond)
{
    constexpr size_t secondBytes = 10004;
    static void* (*allocate)(size_t);
    static const AllocationProbe* watching;
    static size_t blocksBefore;
    const Variable variable(Filled(5000));
    TString value;
    blocksBefore = 77;
    const AllocationProbe heap;
    watching = &heap;
    const Redirect<void*(size_t)> redirect("malloc", [](size_t sizeBytes) -> void* {
        if (sizeBytes == secondBytes)
            blocksBefore = watching->LiveBlocks();
        return allocate(sizeBytes);
    });
    allocate = redirect.Real();
    const size_t own = heap.LiveBlocks(); // the redirection's
    const bool found = TString::GetEnv(variable.Name(), value);
    EXPECT_TRUE(found);
    EXPECT_EQ(own, blocksBefore);
    watching = nullptr;
}

// The two limits of what the second call may return.
TEST(TString, TakesAnEnvironmentVariableThatFillsItsBlock)
{
    static wchar_t before;
    TString value(L"old");
    {
        const Redirect<decltype(GetEnvironmentVariableW)> redirect(
            "GetEnvironmentVariableW", [](const wchar_t*, wchar_t* buffer, DWORD size) -> DWORD {
                if (size == 1024)
                    return 1500;
                before = buffer[0];
                std::wmemset(buffer, L'v', 1500);
                buffer[1500] = L'\0';
                return 1500;
            });
        // What the block is likely to hold when nobody writes to it.
        std::vector<wchar_t> used(1501, L'u');
        used = {};
        EXPECT_TRUE(TString::GetEnv(L"any", value));
    }
    EXPECT_EQ(L'\0', before);
    EXPECT_EQ(Filled(1500, L'v'), value.GetBuffer());
}

TEST(TString, ReadingTheEnvironmentWithoutMemoryFails)
{
    const Variable variable(Filled(2000));
    for (const unsigned successes : {0U, 1U})
    {
        TString value(L"old");
        AllocationProbe heap;
        heap.FailRequest(successes + 1);
        const bool found = TString::GetEnv(variable.Name(), value);
        heap.StopFailing();
        EXPECT_TRUE(heap.HasFailed());
        EXPECT_FALSE(found);
        EXPECT_STREQ(L"old", value);
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}

TEST(TString, ExpandsEveryReference)
{
    const Variable one(L"1st");
    const Variable two(L"2nd");
    TString result(L"kept:");
    const TString text((L"<" + one.Reference() + two.Reference() + L"-" + one.Reference() + L">").c_str());
    EXPECT_EQ(1, text.ExpandEnvironment(result));
    EXPECT_STREQ(L"kept:<1st2nd-1st>", result);
}

TEST(TString, ExpansionWithoutPairsOfSignsChangesNothing)
{
    TString result(L"kept;;)");
    EXPECT_EQ(-2, TString(L"plain").ExpandEnvironment(result));
    EXPECT_EQ(-2, TString(L"").ExpandEnvironment(result));
    EXPECT_EQ(-1, TString(L"100%").ExpandEnvironment(result));
    EXPECT_EQ(-1, TString(L"%a%b%").ExpandEnvironment(result));
    EXPECT_STREQ(L"kept;;)", result);
}

TEST(TString, ExpansionStopsAtAMissingVariable)
{
    const Variable known(L"value");
    TString result;
    const TString text((L"a" + known.Reference() + L"b%" + FreshName(L"ORV_NONE") + L"%c").c_str());
    EXPECT_EQ(-3, text.ExpandEnvironment(result));
    EXPECT_STREQ(L"avalueb", result);
    TString second;
    EXPECT_EQ(-3, TString(L"a%%b").ExpandEnvironment(second));
    EXPECT_STREQ(L"a", second);
}

TEST(TString, ExpansionRepairsDoubledSeparatorsBehindAParenthesis)
{
    const Variable list(L"(a);");
    TString result(L"(0);;");
    EXPECT_EQ(1, TString((list.Reference() + L";(b);;;x").c_str()).ExpandEnvironment(result));
    EXPECT_STREQ(L"(0);(a);(b);;x", result);
}

TEST(TString, ExpansionDoesNotExpandValues)
{
    const Variable inner(L"value");
    const Variable outer(inner.Reference());
    TString result;
    EXPECT_EQ(1, TString(outer.Reference().c_str()).ExpandEnvironment(result));
    EXPECT_EQ(inner.Reference(), result.GetBuffer());
}

TEST(TString, ExpansionMayAppendToTheStringItself)
{
    const Variable variable(L"%value%");
    TString text((L"a" + variable.Reference() + L"b").c_str());
    const std::wstring before = text.GetBuffer();
    EXPECT_EQ(1, text.ExpandEnvironment(text));
    EXPECT_EQ(before + L"a%value%b", text.GetBuffer());
}

TEST(TString, LivesByValueInAVector)
{
    std::vector<TString> list;
    for (int i = 0; i < 100; ++i)
        list.emplace_back(std::to_wstring(i).c_str());
    list.erase(list.begin());
    EXPECT_STREQ(L"1", list.front());
    EXPECT_STREQ(L"99", list.back());
    std::sort(list.begin(), list.end());
    EXPECT_STREQ(L"1", list[0]);
    EXPECT_STREQ(L"10", list[1]);
}

TEST(TString, ExpansionWithoutMemoryLosesNothingUnnoticed)
{
    const Variable variable(Filled(300, L'v'));
    const TString text((L"a" + variable.Reference() + L"b").c_str());
    const std::wstring expanded = L"a" + Filled(300, L'v') + L"b";
    unsigned refused = 0;
    for (unsigned n = 1;; ++n)
    {
        ASSERT_LT(n, 100U);
        TString result;
        AllocationProbe heap;
        heap.FailFrom(n);
        const int32_t status = text.ExpandEnvironment(result);
        heap.StopFailing();
        if (!heap.HasFailed())
            break;
        ++refused;
        EXPECT_TRUE(status == -3 || result.GetBuffer() == nullptr || result == expanded.c_str()) << n;
    }
    EXPECT_GT(refused, 3U);
    TString self(text);
    AllocationProbe heap;
    heap.FailFrom(1);
    const int32_t status = self.ExpandEnvironment(self);
    heap.StopFailing();
    EXPECT_EQ(-3, status);
    EXPECT_TRUE(self == text);
}
