#include "client/input/LoadPath.h"

#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <string>

namespace
{
// The current directory is a folder with the file "a b.dll"; goes with the object.
class Standing
{
public:
    Standing()
    {
        GetCurrentDirectoryW(MAX_PATH, m_before);
        SetCurrentDirectoryW(Folder().c_str());
    }
    ~Standing() { SetCurrentDirectoryW(m_before); }
    Standing(const Standing&) = delete;
    Standing& operator=(const Standing&) = delete;

    std::wstring Folder() const { return File().substr(0, File().find_last_of(L'\\')); }
    std::wstring File() const { return m_file.Path(); }

private:
    TemporaryFile m_file{"", L"a b.dll"};
    wchar_t m_before[MAX_PATH]{};
};
} // namespace

TEST(LoadPath, AFileWhereTheUserStandsIsNamedInFull)
{
    const Standing standing;
    EXPECT_EQ(standing.File(), LoadTextFromHere(L"a b.dll"));
    EXPECT_EQ(standing.File(), LoadTextFromHere(L" \ta b.dll\t "));
    EXPECT_EQ(standing.File(), LoadTextFromHere(L".\\a b.dll"));
    EXPECT_EQ(standing.File(), LoadTextFromHere(L"./x/../a b.dll")) << "Windows asks for no x";
    EXPECT_EQ(L'"' + standing.File() + L'"', LoadTextFromHere(L"\"a b.dll\""));
    EXPECT_EQ(L'"' + standing.File() + L'"', LoadTextFromHere(L" \" a b.dll \" "));
}

TEST(LoadPath, AnythingElseStaysAsItIs)
{
    const Standing standing;
    const std::wstring drive = standing.File().substr(0, 2);
    for (const std::wstring& text :
         {std::wstring(), std::wstring(L" "), std::wstring(L"\""), std::wstring(L"\"\""), std::wstring(L"none.dll"),
          std::wstring(L"a b"), std::wstring(L"."), std::wstring(L".\\"), std::wstring(L"System.Xml"),
          std::wstring(L"\"a b.dll"), standing.File(), standing.File().substr(2), drive + L"a b.dll",
          L".\\..\\" + standing.Folder().substr(standing.Folder().find_last_of(L'\\') + 1)})
        EXPECT_EQ(text, LoadTextFromHere(text));
}
