#include "OrvProfiler/foundation/TextFunctions.h"

#include "OrvProfiler/foundation/TString.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/PageEdge.h"

#include <windows.h>

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
using testing::ElementsAre;

template <class Char>
class TextFunctions : public testing::Test
{
protected:
    using String = std::basic_string<Char>;

    // An ASCII text in the width under test.
    static String Make(const char* text) { return String(text, text + std::strlen(text)); }

    static uint64_t ReplaceInto(const Char* text, String& result, const Char* from, const Char* to)
    {
        if constexpr (std::is_same<Char, char>::value)
            return ReplaceSub(text, result, from, to);
        else
        {
            TString target(result.c_str());
            const uint64_t count = ReplaceSub(text, target, from, to);
            result = target.GetBuffer();
            return count;
        }
    }
};

struct WidthNames
{
    template <class Char>
    static std::string GetName(int)
    {
        return std::is_same<Char, char>::value ? "Narrow" : "Wide";
    }
};
} // namespace

using Widths = testing::Types<wchar_t, char>;
TYPED_TEST_SUITE(TextFunctions, Widths, WidthNames);

TYPED_TEST(TextFunctions, AbsentTextsAreEmpty)
{
    using Char = TypeParam;
    const PageEdge<Char> page(this->Make("abc"));
    const auto text = this->Make("abc");
    Char buffer[] = {'o', 'l', 'd', 0};
    for (Char* const absent : {static_cast<Char*>(nullptr), page.Unreadable()})
    {
        EXPECT_EQ(0U, SafeLength(absent));
        EXPECT_EQ(nullptr, EndOf(absent));
        EXPECT_EQ(nullptr, FindChar(absent, Char{'a'}));
        EXPECT_EQ(nullptr, FindCharReverse(absent, text.c_str(), Char{'a'}));
        EXPECT_EQ(nullptr, FindCharReverse(text.c_str(), absent, Char{'a'}));
        EXPECT_EQ(nullptr, FindSub(absent, text.c_str()));
        EXPECT_EQ(nullptr, FindSub(absent, absent));
        EXPECT_EQ(text.c_str() + 3, FindSub(text.c_str(), absent));
        EXPECT_EQ(nullptr, FindSubReverse(absent, text.c_str(), text.c_str()));
        EXPECT_EQ(nullptr, FindSubReverse(text.c_str(), absent, text.c_str()));
        EXPECT_EQ(text.c_str() + 2, FindSubReverse(text.c_str(), text.c_str() + 2, absent));
        EXPECT_EQ(0U, ReplaceChar(absent, Char{'a'}, Char{'b'}));
        Lower(absent);
        SafeCopy(absent, text.c_str());
        SafeCopy(buffer, absent);
        EXPECT_EQ(this->Make("old"), buffer);
        EXPECT_TRUE(Equal(absent, absent, true));
        EXPECT_FALSE(Equal(absent, text.c_str(), true));
        EXPECT_FALSE(Equal(text.c_str(), absent, false));
        EXPECT_EQ(-1, Compare(absent, text.c_str(), true));
        EXPECT_EQ(1, Compare(text.c_str(), absent, true));
        EXPECT_EQ(0, Compare(absent, absent, false));
        EXPECT_FALSE(Equal(absent, text.c_str(), false));
        auto target = this->Make("target");
        EXPECT_EQ(0U, this->ReplaceInto(absent, target, text.c_str(), text.c_str()));
        EXPECT_EQ(0U, this->ReplaceInto(text.c_str(), target, absent, text.c_str()));
        EXPECT_EQ(0U, this->ReplaceInto(text.c_str(), target, text.c_str(), absent));
        EXPECT_EQ(this->Make("target"), target);
    }
}

TYPED_TEST(TextFunctions, AbsentIsNotEmptyWhenCompared)
{
    const auto empty = this->Make("");
    const TypeParam* const none = nullptr;
    EXPECT_FALSE(Equal(none, empty.c_str(), true));
    EXPECT_FALSE(Equal(empty.c_str(), none, true));
    EXPECT_EQ(-1, Compare(none, empty.c_str(), true));
    EXPECT_EQ(1, Compare(empty.c_str(), none, true));
}

TYPED_TEST(TextFunctions, UnreadableIsEmptyWhenCompared)
{
    const PageEdge<TypeParam> page(this->Make("abc"));
    const TypeParam* const unreadable = page.Unreadable();
    const TypeParam* const none = nullptr;
    const auto empty = this->Make("");
    const auto text = this->Make("a");
    for (const bool caseSensitive : {true, false})
    {
        EXPECT_TRUE(Equal(unreadable, empty.c_str(), caseSensitive));
        EXPECT_TRUE(Equal(empty.c_str(), unreadable, caseSensitive));
        EXPECT_FALSE(Equal(unreadable, none, caseSensitive));
        EXPECT_FALSE(Equal(none, unreadable, caseSensitive));
        EXPECT_EQ(0, Compare(unreadable, empty.c_str(), caseSensitive));
        EXPECT_EQ(0, Compare(empty.c_str(), unreadable, caseSensitive));
        EXPECT_GT(0, Compare(unreadable, text.c_str(), caseSensitive));
        EXPECT_LT(0, Compare(text.c_str(), unreadable, caseSensitive));
        EXPECT_EQ(1, Compare(unreadable, none, caseSensitive));
        EXPECT_EQ(-1, Compare(none, unreadable, caseSensitive));
    }
}

TYPED_TEST(TextFunctions, NeverReadPastTheNul)
{
    using Char = TypeParam;
    const PageEdge<Char> text(this->Make("xabab"));
    const PageEdge<Char> empty(this->Make(""));
    const auto longer = this->Make("ababc");
    const auto ab = this->Make("ab");
    EXPECT_EQ(5U, SafeLength(text.Text()));
    EXPECT_EQ(0U, SafeLength(empty.Text()));
    EXPECT_EQ(text.Text() + 5, EndOf(text.Text()));
    EXPECT_EQ(nullptr, FindChar(text.Text(), Char{'q'}));
    EXPECT_EQ(nullptr, FindSub(text.Text(), longer.c_str()));
    EXPECT_EQ(nullptr, FindSubReverse(text.Text(), text.Text() + 5, longer.c_str()));
    EXPECT_EQ(text.Text() + 3, FindSubReverse(text.Text(), text.Text() + 5, ab.c_str()));
    auto target = this->Make("t");
    EXPECT_EQ(0U, this->ReplaceInto(text.Text(), target, longer.c_str(), ab.c_str()));
    EXPECT_EQ(2U, this->ReplaceInto(text.Text(), target, ab.c_str(), empty.Text()));
    EXPECT_EQ(this->Make("x"), target);
    EXPECT_EQ(1U, ReplaceChar(text.Text(), Char{'x'}, Char{'X'}));
    Lower(text.Text());
    EXPECT_EQ(this->Make("xabab"), text.Text());
    const PageEdge<Char> copy(this->Make("12345"));
    SafeCopy(copy.Text(), text.Text());
    EXPECT_EQ(this->Make("xabab"), copy.Text());
}

TYPED_TEST(TextFunctions, TheEndOfAnEmptyTextIsNull)
{
    const auto text = this->Make("abc");
    const auto empty = this->Make("");
    EXPECT_EQ(text.c_str() + 3, EndOf(text.c_str()));
    EXPECT_EQ(nullptr, EndOf(empty.c_str()));
}

TYPED_TEST(TextFunctions, FindCharactersForwardsAndBackwards)
{
    using Char = TypeParam;
    const auto text = this->Make("abcab");
    const Char* const p = text.c_str();
    EXPECT_EQ(p + 1, FindChar(p, Char{'b'}));
    EXPECT_EQ(nullptr, FindChar(p, Char{'B'}));
    EXPECT_EQ(nullptr, FindChar(p, Char{0}));
    EXPECT_EQ(p + 4, FindCharReverse(p, p + 5, Char{'b'}));
    EXPECT_EQ(p + 4, FindCharReverse(p, p + 4, Char{'b'}));
    EXPECT_EQ(p + 1, FindCharReverse(p, p + 3, Char{'b'}));
    EXPECT_EQ(p, FindCharReverse(p, p, Char{'a'}));
    EXPECT_EQ(nullptr, FindCharReverse(p, p, Char{'b'}));
    EXPECT_EQ(nullptr, FindCharReverse(p + 2, p + 3, Char{'b'}));
    EXPECT_EQ(nullptr, FindCharReverse(p + 2, p, Char{'a'}));
    EXPECT_EQ(nullptr, FindCharReverse(p, p + 5, Char{0}));
}

TYPED_TEST(TextFunctions, FindTextsForwardsAndBackwards)
{
    const auto text = this->Make("abcab");
    const auto ab = this->Make("ab");
    const auto capital = this->Make("AB");
    const auto empty = this->Make("");
    const TypeParam* const p = text.c_str();
    EXPECT_EQ(p, FindSub(p, ab.c_str()));
    EXPECT_EQ(p + 3, FindSub(p + 1, ab.c_str()));
    EXPECT_EQ(nullptr, FindSub(p, capital.c_str()));
    EXPECT_EQ(p + 5, FindSub(p, empty.c_str()));
    EXPECT_EQ(nullptr, FindSub(empty.c_str(), empty.c_str()));
    EXPECT_EQ(nullptr, FindSub(empty.c_str(), ab.c_str()));
    EXPECT_EQ(p + 3, FindSubReverse(p, p + 5, ab.c_str()));
    EXPECT_EQ(p + 3, FindSubReverse(p, p + 3, ab.c_str()));
    EXPECT_EQ(p, FindSubReverse(p, p + 2, ab.c_str()));
    EXPECT_EQ(p, FindSubReverse(p, p, ab.c_str()));
    EXPECT_EQ(nullptr, FindSubReverse(p + 1, p + 2, ab.c_str()));
    EXPECT_EQ(nullptr, FindSubReverse(p + 1, p, ab.c_str()));
    EXPECT_EQ(p + 5, FindSubReverse(p, p + 5, empty.c_str()));
}

TYPED_TEST(TextFunctions, ReplaceCharactersAndTexts)
{
    using Char = TypeParam;
    auto text = this->Make("a.b.c");
    EXPECT_EQ(2U, ReplaceChar(text.data(), Char{'.'}, Char{'-'}));
    EXPECT_EQ(this->Make("a-b-c"), text);
    auto target = this->Make("target");
    const auto dash = this->Make("-");
    const auto dashes = this->Make("--");
    const auto none = this->Make("");
    EXPECT_EQ(2U, this->ReplaceInto(text.c_str(), target, dash.c_str(), dashes.c_str()));
    EXPECT_EQ(this->Make("a--b--c"), target);
    EXPECT_EQ(0U, this->ReplaceInto(text.c_str(), target, dashes.c_str(), dash.c_str()));
    EXPECT_EQ(0U, this->ReplaceInto(text.c_str(), target, none.c_str(), dash.c_str()));
    EXPECT_EQ(0U, this->ReplaceInto(none.c_str(), target, dash.c_str(), dashes.c_str()));
    EXPECT_EQ(this->Make("a--b--c"), target);
}

TYPED_TEST(TextFunctions, LowerOnlyAsciiLetters)
{
    auto text = this->Make("@AZ[`az{\xC4");
    const auto expected = this->Make("@az[`az{\xC4");
    Lower(text.data());
    EXPECT_EQ(expected, text);
}

TYPED_TEST(TextFunctions, SafeCopyCopiesTheNul)
{
    TypeParam buffer[] = {'1', '2', '3', '4', '5', 0};
    SafeCopy(buffer, this->Make("ab").c_str());
    EXPECT_EQ(this->Make("ab"), buffer);
    EXPECT_EQ(TypeParam{'4'}, buffer[3]);
    SafeCopy(buffer, this->Make("").c_str());
    EXPECT_EQ(this->Make(""), buffer);
}

TYPED_TEST(TextFunctions, CompareWithAndWithoutCase)
{
    struct Case
    {
        const char* left;
        const char* right;
        int withCase;
        int withoutCase;
    };
    const auto sign = [](int value) { return (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0); };
    for (const Case& example : {Case{"abc", "abc", 0, 0},
                                {"abc", "ABC", 1, 0},
                                {"ABC", "abc", -1, 0},
                                {"abc", "abd", -1, -1},
                                {"abcd", "abc", 1, 1},
                                {"", "a", -1, -1},
                                {"", "", 0, 0}})
    {
        const auto left = this->Make(example.left);
        const auto right = this->Make(example.right);
        EXPECT_EQ(example.withCase, sign(Compare(left.c_str(), right.c_str(), true))) << example.left;
        EXPECT_EQ(example.withoutCase, sign(Compare(left.c_str(), right.c_str(), false))) << example.left;
        EXPECT_EQ(example.withCase == 0, Equal(left.c_str(), right.c_str(), true)) << example.left;
        EXPECT_EQ(example.withoutCase == 0, Equal(left.c_str(), right.c_str(), false)) << example.left;
    }
}

TEST(TextFunctions, NullLiteralIsAnAbsentWideText)
{
    EXPECT_EQ(0U, SafeLength(nullptr));
    EXPECT_EQ(nullptr, EndOf(nullptr));
    EXPECT_TRUE(Equal(nullptr, nullptr, true));
    EXPECT_FALSE(Equal(nullptr, L"", true));
    EXPECT_EQ(0, Compare(nullptr, nullptr, true));
    EXPECT_EQ(-1, Compare(nullptr, "a", true));
}

TEST(TextFunctions, TestOneCharacterForReadability)
{
    static std::vector<UINT_PTR> tested;
    tested.clear();
    {
        const Redirect<decltype(IsBadStringPtrW)> wide("IsBadStringPtrW", [](LPCWSTR, UINT_PTR units) -> BOOL {
            tested.push_back(units);
            return TRUE;
        });
        EXPECT_EQ(0U, SafeLength(L"abc"));
        EXPECT_EQ(0U, TString(L"abc").GetLength());
    }
    {
        const Redirect<decltype(IsBadStringPtrA)> narrow("IsBadStringPtrA", [](LPCSTR, UINT_PTR units) -> BOOL {
            tested.push_back(units);
            return TRUE;
        });
        EXPECT_EQ(0U, SafeLength("abc"));
    }
    EXPECT_THAT(tested, ElementsAre(1U, 1U, 1U));
}

TEST(TextFunctions, NarrowReplaceWithoutMemoryLeavesTheTarget)
{
    const std::string large(1000, 'x');
    // The work block, its growth, the target's own growth.
    for (const unsigned successes : {0U, 1U, 2U})
    {
        std::string target = "target";
        AllocationProbe heap;
        heap.FailRequest(successes + 1);
        const uint64_t count = ReplaceSub("-", target, "-", large.c_str());
        heap.StopFailing();
        EXPECT_TRUE(heap.HasFailed());
        EXPECT_EQ(0U, count);
        EXPECT_EQ("target", target);
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}
