#include "OrvProfiler/foundation/Path.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <winnetwk.h>

#include <cwchar>
#include <string>

// What paths and the table of network drives ask of the system, in their order.

using contract::Join;

namespace
{
using CPathScript = ScriptTest;

// Three drives, of which the last is connected.
DWORD WINAPI ThreeDrives()
{
    return 0x0000000D;
}

DWORD WINAPI Connection(const wchar_t* drive, wchar_t* name, DWORD*)
{
    if (drive[0] != L'D')
        return ERROR_NOT_CONNECTED;
    std::wcscpy(name, L"\\\\server\\share");
    return NO_ERROR;
}

class CNetDrivesScript : public testing::Test
{
protected:
    static FARPROC WINAPI Find(HMODULE module, const char* name)
    {
        return name == std::string("WNetGetConnectionW")
                   ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Connection))
                   : s_find(module, name);
    }

    CNetDrivesScript() : m_drives("GetLogicalDrives", ThreeDrives), m_find("GetProcAddress", Find)
    {
        s_find = m_find.Real();
    }

    static inline decltype(&GetProcAddress) s_find = nullptr;
    const Redirect<decltype(GetLogicalDrives)> m_drives;
    const Redirect<FARPROC(HMODULE, const char*)> m_find;
};
} // namespace

TEST_F(CNetDrivesScript, AsksForEachDriveOnceAndForTheConnectedOnesAgain)
{
    CallScript script;
    {
        const CNetDrives drives;
        EXPECT_TRUE(script.Is({L"GetLogicalDrives", L"LoadLibraryW MPR.DLL",
                               L"GetProcAddress MPR.DLL WNetGetConnectionW", L"WNetGetConnectionW A:",
                               L"WNetGetConnectionW C:", L"WNetGetConnectionW D:", L"WNetGetConnectionW A:",
                               L"WNetGetConnectionW C:", L"WNetGetConnectionW D:", L"FreeLibrary MPR.DLL"}));
    }
    EXPECT_TRUE(script.Is({}));
    script.Fail("LoadLibraryW");
    const CNetDrives drives;
    EXPECT_TRUE(script.Is({L"GetLogicalDrives", L"LoadLibraryW MPR.DLL fails"}));
}

TEST_F(CPathScript, ReadsItsAttributesOnceThenTheThreeTimes)
{
    const TemporaryFile file("text");
    CPath path;
    path.Parse(file.Path());
    m_script.Rename(path.GetText().GetBuffer(), L"{file}");
    m_script.Clear();
    EXPECT_TRUE(path.Attributes());
    const Script time = {L"FileTimeToSystemTime", L"SystemTimeToTzSpecificLocalTime", L"SystemTimeToFileTime"};
    EXPECT_TRUE(m_script.Is(Join({{L"GetFileAttributesExW \\\\?\\{file} 0"}, time, time, time})));
    EXPECT_TRUE(path.Attributes());
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CPathScript, ReadsTheCurrentDirectoryAndItsLongNameWhenItIsShort)
{
    CPath path;
    EXPECT_TRUE(path.FromCurrentDirectory());
    EXPECT_TRUE(m_script.Is({L"GetCurrentDirectoryW 260"}));
}

TEST_F(CPathScript, SearchesAFolderAndClosesTheSearch)
{
    const TemporaryFolder folder;
    static_cast<void>(folder.MakeFile(L"a.txt"));
    m_script.Rename(folder.Path(), L"{folder}");
    m_script.Clear();
    CPath::FindFiles(folder.Path().c_str(), nullptr, L".txt", nullptr, nullptr, nullptr, false);
    const Script steps = m_script.Steps();
    ASSERT_GE(steps.size(), 3U);
    EXPECT_EQ(L"_wfindfirst64 {folder}\\*", steps.front());
    EXPECT_EQ(L"_findclose search", steps.back());
    for (size_t i = 1; i + 1 < steps.size(); ++i)
        EXPECT_EQ(L"_wfindnext64 search", steps[i]);
}

TEST_F(CPathScript, MakesAFolderAndMakesItTheCurrentOne)
{
    m_script.Fail("CreateDirectoryW");
    EXPECT_FALSE(CPath::CreateDir(L"folder"));
    EXPECT_TRUE(m_script.Is({L"CreateDirectoryW folder default fails"}));
    CPath path;
    path.Parse(L"C:\\folder");
    m_script.Fail("_wchdir");
    EXPECT_FALSE(path.MakeCurrent());
    EXPECT_TRUE(m_script.Is({L"_wchdir c:\\folder fails"}));
}
