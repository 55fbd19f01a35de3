#include "OrvProfiler/share/CodePageText.h"

#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr uint32_t c_utf8 = 65001;
constexpr uint32_t c_latin1 = 28591;
constexpr uint32_t c_noCodePage = 54321;
} // namespace

TEST(CodePageText, ToWideGivesANewTerminatedText)
{
    wchar_t* text = nullptr;
    EXPECT_EQ(5, ToWide("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", 10, &text, c_utf8));
    std::unique_ptr<wchar_t[]> owner(text);
    EXPECT_STREQ(L"a\u00E4\u20AC\U0001F600", text);

    EXPECT_EQ(2, ToWide("\xE4\xF6\xFC", 2, &text, c_latin1)) << "no more than the length says";
    owner.reset(text);
    EXPECT_STREQ(L"\u00E4\u00F6", text);
}

TEST(CodePageText, ToNarrowGivesANewTerminatedText)
{
    char* text = nullptr;
    EXPECT_EQ(10, ToNarrow(L"a\u00E4\u20AC\U0001F600", 5, &text, c_utf8)) << "more bytes than units";
    std::unique_ptr<char[]> owner(text);
    EXPECT_STREQ("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", text);

    EXPECT_EQ(1, ToNarrow(L"\u00E4\u00F6", 1, &text, c_latin1));
    owner.reset(text);
    EXPECT_STREQ("\xE4", text);
}

TEST(CodePageText, ConvertedTextsMayContainNuls)
{
    wchar_t* text = nullptr;
    EXPECT_EQ(3, ToWide("a\0b", 3, &text, c_utf8));
    const std::unique_ptr<wchar_t[]> owner(text);
    EXPECT_EQ(std::wstring(L"a\0b\0", 4), std::wstring(text, 4));
}

TEST(CodePageText, EmptyTextsAreNotConverted)
{
    auto* wide = reinterpret_cast<wchar_t*>(8);
    auto* narrow = reinterpret_cast<char*>(8);
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

TEST(CodePageText, ConversionsTakeRoomForTheTextAndItsNul)
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

TEST(CodePageText, ConversionsAskTheSystemForNothingSpecial)
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

TEST(CodePageText, WhatCannotBeMeasuredIsNotConverted)
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

TEST(CodePageText, AFailedConversionGivesNothing)
{
    auto* wide = reinterpret_cast<wchar_t*>(8);
    auto* narrow = reinterpret_cast<char*>(8);
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

TEST(CodePageText, AConversionThatFailsTheSecondTimeGivesNothing)
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
