#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/share/CodePageText.h"
#include "OrvProfiler/share/ProxyMap.h"
#include "tests/faults/FaultScenario.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

// Paths, files and texts, with each system call failing in turn.

namespace
{
// A system with the drives C and X, of which X is a network drive.
class ConnectedDrive
{
public:
    ConnectedDrive() : m_drives("GetLogicalDrives", [] { return DWORD{1U << 2 | 1U << 23}; })
    {
        m_exports.Replace("WNetGetConnectionW", Answer);
    }

private:
    static DWORD WINAPI Answer(const wchar_t* local, wchar_t* remote, DWORD* length)
    {
        constexpr wchar_t share[] = L"\\\\server\\share";
        if (local[0] != L'X' || *length < std::size(share))
            return ERROR_NOT_CONNECTED;
        std::copy(std::begin(share), std::end(share), remote);
        return NO_ERROR;
    }

    ExportTable m_exports;
    Redirect<decltype(GetLogicalDrives)> m_drives;
};

bool CountFile(const wchar_t*, void* count)
{
    ++*static_cast<int*>(count);
    return true;
}

// A folder with two files and an empty folder below it.
class Folder
{
public:
    Folder()
    {
        CreateDirectoryW(Path(L"\\sub").c_str(), nullptr);
        for (const wchar_t* name : {L"\\one.txt", L"\\sub\\two.txt"})
            WriteFileBytes(Path(name), "");
    }

    std::wstring Path(const wchar_t* name = L"") const { return m_folder.Path() + name; }

private:
    TemporaryFolder m_folder;
};

// A mapping backed by a file.
class FileMap : public CProxyMap
{
public:
    explicit FileMap(const wchar_t* baseName) : CProxyMap(baseName) {}

private:
    void OnMapped() override {}
};
} // namespace

FaultTable FileFaults()
{
    return {
        {"CreateFileMappingW",
         1,
         1,
         {L"-CProxyMap::Create created share {base}00000001 successfully \n", L"-= Create 1",
          L"+CProxySecManager::OrvPCreateFileMapping Failed with <error 1455>\n",
          L"+CProxyMap::Create create share {base}00000001 failed\n<error 1455>\n", L"+= Create 0"}},
        {"MapViewOfFile", 1, 1, {L"-= Create 1", L"+= Create 0"}},
        {"OpenFileMappingW",
         1,
         1,
         {L"-CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
          L"-CProxyMap::OpenMap Open returned: <error 2>\n",
          L"+CProxySecManager::OrvPOpenFileMapping Failed with <error 5>\n",
          L"+CProxyMap::OpenMap Open returned: <error 5>\n"}},
        {"CloseHandle", 1, c_lastCall, {}},
        {"UnmapViewOfFile", 1, 1, {}},
        {"InitializeSecurityDescriptor", 1, 1, {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n"}},
        {"OpenProcess",
         1,
         c_lastCall,
         {L"-CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 87>\n",
          L"+CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 5>\n"}},
        {"SetSecurityDescriptorDacl", 1, 1, {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n"}},
        {"CreateDirectoryW", 1, 1, {L"-= CreateDir 1", L"+= CreateDir 0"}},
        {"CreateFileW", 1, 1, {}},
        {"FileTimeToSystemTime", 1, c_lastCall, {}},
        {"GetCurrentDirectoryW", 1, 1, {L"-= FromCurrentDirectory 1", L"+= FromCurrentDirectory 0"}},
        {"GetFileAttributesExW",
         1,
         1,
         {L"-= Attributes 1", L"-= creation 1", L"-= last access 1", L"-= last write 1", L"+= Attributes 0",
          L"+= creation 0", L"+= last access 0", L"+= last write 0"}},
        {"GetLogicalDrives", 1, 1, {L"-= network drive X:\\\\server\\share", L"+= network drive (null)"}},
        {"GetLongPathNameW", 1, 1, {L"-= long path 1", L"+= long path 0"}},
        {"SystemTimeToFileTime", 1, c_lastCall, {}},
        {"SystemTimeToTzSpecificLocalTime", 1, c_lastCall, {}},
        {"_waccess_s", 1, 1, {L"-= Exists 1", L"+= Exists 0"}},
        {"_wchdir", 1, 1, {L"-= MakeCurrent 1", L"+= MakeCurrent 0"}},
        {"_wfindfirst64", 1, 1, {L"-= files 2", L"+= files 0"}},
        {"_wfindfirst64", 2, 2, {}},
        {"_wfindfirst64", 3, 3, {L"-= files 2", L"+= files 1"}},
        {"_wfindnext64", 1, 2, {L"-= files 2", L"+= files 0"}},
        {"_wfindnext64", 3, 4, {}},
        {"_wfindnext64", 5, 5, {L"-= files 2", L"+= files 0"}},
        {"_wfindnext64", 6, 8, {L"-= files 2", L"+= files 1"}},
        {"_wfindnext64", 9, c_lastCall, {}},
        {"_findclose", 1, c_lastCall, {}},
        {"WNetGetConnectionW", 1, 1, {}},
        {"WNetGetConnectionW", 2, 2, {L"-= network drive X:\\\\server\\share", L"+= network drive (null)"}},
        {"WNetGetConnectionW", 3, 3, {}},
        {"WNetGetConnectionW", 4, 4, {L"-= network drive X:\\\\server\\share", L"+= network drive (null)"}},
        {"FormatMessageW",
         1,
         1,
         {L"-CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 87>\n",
          L"+CProxySecManager::GetSessionForProcess OpenProcess Failed\n\n"}},
        {"FormatMessageW",
         2,
         2,
         {L"-CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
          L"+CProxySecManager::OrvPOpenFileMapping Failed with \n"}},
        {"FormatMessageW",
         3,
         3,
         {L"-CProxyMap::OpenMap Open returned: <error 2>\n", L"+CProxyMap::OpenMap Open returned: \n"}},
        {"FormatMessageW",
         4,
         4,
         {L"-CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 87>\n",
          L"+CProxySecManager::GetSessionForProcess OpenProcess Failed\n\n"}},
        {"GetProcAddress", 1, 1, {L"-= network drive X:\\\\server\\share", L"+= network drive (null)"}},
        {"LoadLibraryW", 1, 1, {L"-= network drive X:\\\\server\\share", L"+= network drive (null)"}},
        {"FreeLibrary", 1, 1, {}},
    };
}

TEST(SystemFaultsInFiles, AnyCallMayFail)
{
    TraceCapture trace;
    const ErrorTextStandIn errors;
    const Folder folder;
    const std::wstring file = folder.Path(L"\\one.txt");
    const std::wstring sub = folder.Path(L"\\sub");
    const std::wstring fresh = folder.Path(L"\\new");
    const std::wstring backing = folder.Path(L"\\map");
    const ConnectedDrive drives;
    wchar_t before[MAX_PATH]{};
    GetCurrentDirectoryW(MAX_PATH, before);
    DeviceToDrivePath(L"\\Device\\Nothing"); // keeps its table
    const std::wstring base = FreshName(L"OrvFault");
    FaultScenario scenario(
        trace,
        [&] {
            const CNetDrives network;
            Note(L"network drive", network.Entry(0));
            Note(L"long path", DeviceToDrivePath(file.c_str()) != file.c_str() ? 1 : 0);
            CPath path;
            Note(L"FromCurrentDirectory", path.FromCurrentDirectory() ? 1 : 0);
            path.Parse(file.c_str());
            Note(L"Attributes", path.Attributes() ? 1 : 0);
            Note(L"creation", path.GetAttributeData().creation.high != 0 ? 1 : 0);
            Note(L"last access", path.GetAttributeData().lastAccess.high != 0 ? 1 : 0);
            Note(L"last write", path.GetAttributeData().lastWrite.high != 0 ? 1 : 0);
            path.Parse(sub.c_str());
            Note(L"MakeCurrent", path.MakeCurrent() ? 1 : 0);
            Note(L"Exists", CPath::Exists(file.c_str()) ? 1 : 0);
            Note(L"CreateDir", CPath::CreateDir(fresh.c_str()) ? 1 : 0);
            int files = 0;
            Note(L"FindFiles",
                 CPath::FindFiles(folder.Path().c_str(), nullptr, L".txt", CountFile, nullptr, &files, true) ? 1 : 0);
            Note(L"files", files);
            {
                FileMap map(base.c_str());
                Note(L"Create", map.Create(1, 100, backing.c_str()) ? 1 : 0);
            }
            const TestsOwn own;
            SetCurrentDirectoryW(before);
            RemoveDirectoryW(fresh.c_str());
            DeleteFileW(backing.c_str());
        },
        {{base, L"{base}"}});
    scenario.ExpectForEachCall(FileFaults());
}

FaultTable TextFaults()
{
    return {
        {"FormatMessageW", 1, 1, {L"-= ErrorText <error 2>", L"+= ErrorText "}},
        {"GetEnvironmentVariableW", 1, 1, {L"-= GetEnv 1", L"-= value value", L"+= GetEnv 0", L"+= value "}},
        {"LoadStringW", 1, 1, {L"-= ResourceText x", L"+= ResourceText (null)"}},
        {"MultiByteToWideChar", 1, c_lastCall, {L"-= ToWide 4", L"-= wide text", L"+= ToWide 0", L"+= wide (null)"}},
        {"WideCharToMultiByte",
         1,
         c_lastCall,
         {L"-= ToNarrow 4", L"-= has narrow 1", L"+= ToNarrow 0", L"+= has narrow 0"}},
    };
}

TEST(SystemFaultsInTexts, AnyCallMayFail)
{
    TraceCapture trace;
    const ErrorTextStandIn errors;
    SetEnvironmentVariableW(L"ORV_FAULT", L"value");
    HMODULE const program = GetModuleHandleW(nullptr);
    FaultScenario scenario(trace, [&] {
        wchar_t* wide = nullptr;
        Note(L"ToWide", ToWide("text", 4, &wide, CP_UTF8));
        Note(L"wide", wide);
        delete[] wide;
        char* narrow = nullptr;
        Note(L"ToNarrow", ToNarrow(L"text", 4, &narrow, CP_UTF8));
        Note(L"has narrow", narrow != nullptr ? 1 : 0);
        delete[] narrow;
        TString value;
        Note(L"GetEnv", TString::GetEnv(L"ORV_FAULT", value) ? 1 : 0);
        Note(L"value", value.GetBuffer());
        Note(L"ResourceText", ResourceText(program, 116));
        Note(L"ErrorText", ErrorText(2));
    });
    scenario.ExpectForEachCall(TextFaults());
}
