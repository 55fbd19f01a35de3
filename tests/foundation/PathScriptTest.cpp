#include "OrvProfiler/foundation/Path.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <winnetwk.h>

#include <cwchar>
#include <stdexcept>
#include <string>

// What paths, their translation and the table of network drives ask of the system, in their order.

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

DWORD WINAPI TwoDriveStrings(DWORD, wchar_t* buffer)
{
    constexpr wchar_t strings[] = L"A:\\\0C:\\\0";
    std::wmemcpy(buffer, strings, sizeof strings / sizeof *strings);
    return 8;
}

DWORD WINAPI VolumeOf(const wchar_t* drive, wchar_t* device, DWORD)
{
    std::wcscpy(device, drive[0] == L'A' ? L"\\Device\\Floppy0" : L"\\Device\\HarddiskVolume2");
    return 1;
}

DWORD WINAPI LongForm(const wchar_t*, wchar_t* buffer, DWORD)
{
    std::wcscpy(buffer, L"C:\\long form");
    return 12;
}

DWORD WINAPI ShortDirectory(DWORD, wchar_t* buffer)
{
    std::wcscpy(buffer, L"C:\\short~1");
    return 10;
}

void Require(const testing::AssertionResult& result)
{
    if (!result)
        throw std::runtime_error(result.message());
}
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

TEST(CPathCurrentDirectoryScript, AsksForTheLongFormOfAShortName)
{
    const Redirect<decltype(GetCurrentDirectoryW)> current("GetCurrentDirectoryW", ShortDirectory);
    const Redirect<decltype(GetLongPathNameW)> longPath("GetLongPathNameW", LongForm);
    CPath path;
    CallScript script;
    EXPECT_TRUE(path.FromCurrentDirectory());
    EXPECT_TRUE(script.Is({L"GetCurrentDirectoryW 260", L"GetLongPathNameW C:\\short~1 260"}));
    EXPECT_STREQ(L"c:\\long form", path.GetText());
    script.Fail("GetCurrentDirectoryW");
    EXPECT_FALSE(path.FromCurrentDirectory());
    EXPECT_TRUE(script.Is({L"GetCurrentDirectoryW 260 fails"}));
}

TEST_F(CPathScript, AsksOnceWhetherAFileExists)
{
    const PageEdge<wchar_t> page(L"");
    m_script.Clear();
    EXPECT_TRUE(CPath::Exists(L"C:\\"));
    EXPECT_TRUE(m_script.Is({L"_waccess_s C:\\ 0"}));
    const wchar_t* const unreadable = page.Unreadable();
    for (const wchar_t* const none : {L"", static_cast<const wchar_t*>(nullptr), unreadable})
    {
        EXPECT_FALSE(CPath::Exists(none));
        EXPECT_TRUE(m_script.Is({L"_waccess_s  0"}));
    }
    m_script.Fail("_waccess_s");
    EXPECT_FALSE(CPath::Exists(L"C:\\"));
    EXPECT_TRUE(m_script.Is({L"_waccess_s C:\\ 0 fails"}));
}

TEST_F(CPathScript, AsksForAttributesToTellAFolder)
{
    CPath path;
    path.Parse(L"C:\\none.txt");
    EXPECT_FALSE(path.IsDirectory());
    EXPECT_TRUE(m_script.Is({L"GetFileAttributesExW \\\\?\\c:\\none.txt 0"}));
    path.Parse(L"\\\\server\\share");
    m_script.Fail("GetFileAttributesExW");
    EXPECT_FALSE(path.IsDirectory());
    EXPECT_TRUE(m_script.Is({L"GetFileAttributesExW \\\\?\\UNC\\server\\share 0 fails"}));
    path.Clear();
    EXPECT_FALSE(path.IsDirectory());
    EXPECT_TRUE(m_script.Is({}));
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

// The drives are asked for once in a process, so each of these has one of its own.
ORV_CHILD_ROLE(DeviceToDrivePathScript)
{
    const Redirect<decltype(GetLogicalDriveStringsW)> strings("GetLogicalDriveStringsW", TwoDriveStrings);
    const Redirect<decltype(QueryDosDeviceW)> query("QueryDosDeviceW", VolumeOf);
    const Redirect<decltype(GetLongPathNameW)> longPath("GetLongPathNameW", LongForm);
    CallScript script;
    for (const std::wstring& untranslated : {std::wstring(), std::wstring(261, L'n')})
        DeviceToDrivePath(untranslated.c_str());
    Require(script.Is({}));
    DeviceToDrivePath(L"\\Device\\HarddiskVolume2\\a");
    Require(script.Is({L"GetLogicalDriveStringsW 512", L"QueryDosDeviceW A: 1048", L"QueryDosDeviceW C: 1048"}));
    DeviceToDrivePath(L"\\Device\\Floppy0\\a");
    Require(script.Is({}));
    DeviceToDrivePath(L"\\Device\\Mup\\server\\a");
    Require(script.Is({L"GetLongPathNameW \\\\server\\a 260"}));
    script.Fail("GetLongPathNameW");
    DeviceToDrivePath(L"a");
    Require(script.Is({L"GetLongPathNameW a 260 fails"}));
    return 0;
}

TEST(DeviceToDrivePathScript, AsksForTheDrivesOnceAndForTheLongFormOfWhatLiesOnNone)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"DeviceToDrivePathScript").WaitForExit());
}

// The argument is what the system does not tell.
ORV_CHILD_ROLE(DeviceToDrivePathFailingScript)
{
    const Redirect<decltype(GetLogicalDriveStringsW)> strings("GetLogicalDriveStringsW", TwoDriveStrings);
    const Redirect<decltype(QueryDosDeviceW)> query("QueryDosDeviceW", VolumeOf);
    const Redirect<decltype(GetLongPathNameW)> longPath("GetLongPathNameW", LongForm);
    CallScript script;
    const bool isWithoutDrives = arguments.at(0) == L"drives";
    script.Fail(isWithoutDrives ? "GetLogicalDriveStringsW" : "QueryDosDeviceW");
    DeviceToDrivePath(L"\\Device\\Floppy0");
    const Script rest = {L"GetLongPathNameW \\Device\\Floppy0 260"};
    Require(script.Is(isWithoutDrives ? Join({{L"GetLogicalDriveStringsW 512 fails"}, rest})
                                      : Join({{L"GetLogicalDriveStringsW 512", L"QueryDosDeviceW A: 1048 fails",
                                               L"QueryDosDeviceW C: 1048"},
                                              rest})));
    return 0;
}

TEST(DeviceToDrivePathScript, GoesOnWithTheDrivesThatTheSystemNames)
{
    for (const wchar_t* const what : {L"drives", L"device"})
        EXPECT_EQ(0U, ChildProcess::StartRole(L"DeviceToDrivePathFailingScript", {what}).WaitForExit()) << what;
}
