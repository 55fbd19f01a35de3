#include "OrvProfiler/protocol/ClientId.h"

#include <gtest/gtest.h>
#include <string>

namespace
{
constexpr std::pair<uint32_t, const wchar_t*> c_texts[] = {
    {0, L"0"}, {0xF, L"f"}, {0x10, L"10"}, {0x1A2B, L"1a2b"}, {0x7FFFFFFF, L"7fffffff"}, {0xFEDC9876, L"fedc9876"},
};
} // namespace

TEST(ClientId, TextIsLowerCaseHexadecimalWithoutPadding)
{
    for (const auto& [id, text] : c_texts)
        EXPECT_STREQ(text, ClientIdText(id).Get());
}

TEST(ClientId, TextIsReadBackUpToTheGreatestSignedNumber)
{
    for (const auto& [id, text] : c_texts)
        EXPECT_EQ(id <= 0x7FFFFFFF ? id : 0x7FFFFFFF, ClientIdOf(text)) << testing::PrintToString(std::wstring(text));
    EXPECT_EQ(0U, ClientIdOf(L"xyz"));
    EXPECT_EQ(0x1A2BU, ClientIdOf(L" 0x1A2Bxyz"));
}
