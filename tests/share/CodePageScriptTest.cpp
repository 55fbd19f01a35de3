#include "OrvProfiler/share/CodePageText.h"
#include "tests/support/worlds/ScriptTest.h"

// What the conversions between code pages ask of the system, in its order.

namespace
{
using CodePageScript = ScriptTest;
} // namespace

TEST_F(CodePageScript, MeasuresAndThenConverts)
{
    wchar_t* wide = nullptr;
    EXPECT_EQ(2, ToWide("ab", 2, &wide, 1252));
    delete[] wide;
    EXPECT_TRUE(m_script.Is({L"MultiByteToWideChar 1252 0 null 0", L"MultiByteToWideChar 1252 0 something 2"}));
    char* narrow = nullptr;
    EXPECT_EQ(2, ToNarrow(L"ab", 2, &narrow, 1252));
    delete[] narrow;
    EXPECT_TRUE(m_script.Is({L"WideCharToMultiByte 1252 0 null 0", L"WideCharToMultiByte 1252 0 something 2"}));
    EXPECT_EQ(0, ToWide("", 0, &wide, 1252));
    EXPECT_EQ(0, ToNarrow(L"", 0, &narrow, 1252));
    EXPECT_TRUE(m_script.Is({}));
    m_script.Fail("MultiByteToWideChar");
    EXPECT_EQ(0, ToWide("ab", 2, &wide, 1252));
    EXPECT_TRUE(m_script.Is({L"MultiByteToWideChar 1252 0 null 0 fails"}));
}
