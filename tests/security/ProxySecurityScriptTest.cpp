#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <new>

// What the security manager asks of the system, in its order.

namespace
{
constexpr uint32_t c_noSession = 0xFFFFFFFF;

class CProxySecManagerScript : public ScriptTest
{
protected:
    CProxySecManagerScript()
    {
        m_script.NameHandle(GetCurrentProcess(), L"{current}");
        m_script.Rename(contract::LocalName(m_name), L"{name}");
        m_script.Clear();
    }

    const std::wstring m_name = FreshName(L"object");
};

// What a manager is made of.
template <class World>
class ManagerScript : public testing::Test
{
protected:
    // The manager goes before its world, and the next one comes when the world is gone.
    struct RealManager
    {
        ~RealManager() { new (&g_SecManager) CProxySecManager; }
    };

    ManagerScript()
    {
        m_script.NameHandle(GetCurrentProcess(), L"{current}");
        m_script.Clear();
    }
    ~ManagerScript() override { g_SecManager.~CProxySecManager(); }

    static void Rebuild()
    {
        g_SecManager.~CProxySecManager();
        new (&g_SecManager) CProxySecManager;
    }

    const RealManager m_realManager;
    World m_world;
    const ErrorTextStandIn m_errorTexts;
    const TraceCapture m_trace;
    CallScript m_script;
};

// Wine, of a version that this machine's need not be.
class OtherWine
{
public:
    OtherWine() : m_version(c_windows10)
    {
        m_exports.Replace(
            "wine_get_version", +[] { return "9.9"; });
        m_exports.Replace(
            "wine_get_build_id", +[] { return "wine-9.9"; });
    }

private:
    ReportedVersion m_version;
    ExportTable m_exports;
};

using CProxySecManagerUnderWine = ManagerScript<OtherWine>;
using CProxySecManagerWithNamespace = ManagerScript<NamespaceWorld>;
using CProxySecManagerWithoutExports = ManagerScript<ModernSystem>;
} // namespace

TEST_F(CProxySecManagerUnderWine, LoadsItsLibrariesAndFreesThemInTheirOrder)
{
    Rebuild();
    m_script.Clear();
    Rebuild();
    EXPECT_TRUE(m_script.Is({L"FreeLibrary Ntdll",
                             L"FreeLibrary AdvAPI32",
                             L"FreeLibrary Version",
                             L"VerifyVersionInfoW",
                             L"OpenProcessToken {current} 28",
                             L"LookupPrivilegeValueW SeDebugPrivilege",
                             L"AdjustTokenPrivileges token 0",
                             L"CloseHandle token",
                             L"LoadLibraryW Ntdll",
                             L"LoadLibraryW AdvAPI32",
                             L"LoadLibraryW Version",
                             L"GetProcAddress Ntdll NtQueryInformationProcess",
                             L"GetProcAddress Ntdll wine_get_version",
                             L"wine_get_version",
                             L"trace CProxySecManager::LoadStandardFunctions Wine Version 9.9\n",
                             L"GetProcAddress Ntdll wine_get_build_id",
                             L"wine_get_build_id",
                             L"trace CProxySecManager::LoadStandardFunctions Wine Build Id wine-9.9\n",
                             L"GetProcAddress AdvAPI32 IsWellKnownSid",
                             L"GetProcAddress AdvAPI32 LookupAccountSidW",
                             L"GetProcAddress AdvAPI32 LookupAccountNameW",
                             L"GetProcAddress Version VerQueryValueW",
                             L"GetProcAddress Version GetFileVersionInfoSizeW",
                             L"GetProcAddress Version GetFileVersionInfoW"}));
}

TEST_F(CProxySecManagerWithNamespace, CreatesTheNamespaceThatItCannotOpen)
{
    Rebuild();
    m_script.Clear();
    Rebuild();
    EXPECT_TRUE(m_script.Is({L"ClosePrivateNamespace OrvP 0",
                             L"DeleteBoundaryDescriptor Zeph",
                             L"FreeLibrary Ntdll",
                             L"FreeLibrary Kernel32",
                             L"FreeLibrary AdvAPI32",
                             L"FreeLibrary Version",
                             L"VerifyVersionInfoW",
                             L"OpenProcessToken {current} 28",
                             L"LookupPrivilegeValueW SeDebugPrivilege",
                             L"AdjustTokenPrivileges token 0",
                             L"CloseHandle token",
                             L"LoadLibraryW Ntdll",
                             L"LoadLibraryW AdvAPI32",
                             L"LoadLibraryW Version",
                             L"GetProcAddress Ntdll NtQueryInformationProcess",
                             L"GetProcAddress Ntdll wine_get_version",
                             L"GetProcAddress Ntdll wine_get_build_id",
                             L"GetProcAddress AdvAPI32 IsWellKnownSid",
                             L"GetProcAddress AdvAPI32 LookupAccountSidW",
                             L"GetProcAddress AdvAPI32 LookupAccountNameW",
                             L"GetProcAddress Version VerQueryValueW",
                             L"GetProcAddress Version GetFileVersionInfoSizeW",
                             L"GetProcAddress Version GetFileVersionInfoW",
                             L"LoadLibraryW Kernel32",
                             L"GetProcAddress Kernel32 IsWow64Process",
                             L"GetProcAddress Kernel32 QueryFullProcessImageNameW",
                             L"GetProcAddress Kernel32 CreatePrivateNamespaceW",
                             L"GetProcAddress Kernel32 OpenPrivateNamespaceW",
                             L"GetProcAddress Kernel32 ClosePrivateNamespace",
                             L"GetProcAddress Kernel32 CreateBoundaryDescriptorW",
                             L"GetProcAddress Kernel32 DeleteBoundaryDescriptor",
                             L"CreateBoundaryDescriptorW Zeph 0",
                             L"OpenPrivateNamespaceW Zeph OrvP",
                             L"InitializeSecurityDescriptor 1",
                             L"SetSecurityDescriptorDacl 1 null 0",
                             L"CreatePrivateNamespaceW everybody Zeph OrvP"}));
}

TEST_F(CProxySecManagerWithNamespace, SaysThatThereIsNoBoundary)
{
    m_script.Fail("CreateBoundaryDescriptorW");
    m_script.Hide("GetProcAddress");
    Rebuild();
    EXPECT_TRUE(m_script.Is(
        {L"FreeLibrary unknown", L"FreeLibrary unknown", L"FreeLibrary unknown", L"VerifyVersionInfoW",
         L"OpenProcessToken {current} 28", L"LookupPrivilegeValueW SeDebugPrivilege",
         L"AdjustTokenPrivileges token 0", L"CloseHandle token", L"LoadLibraryW Ntdll", L"LoadLibraryW AdvAPI32",
         L"LoadLibraryW Version", L"LoadLibraryW Kernel32", L"CreateBoundaryDescriptorW Zeph 0 fails",
         L"FormatMessageW 8", L"trace CProxySecManager::LoadVistaFunctions CreateBoundaryDescriptor\n<error 8>\n",
         L"trace CProxySecManager::LoadVistaFunctions Failed to create Security namespace!!!!!!!!!!!!!\n\n"}));
}

TEST_F(CProxySecManagerWithNamespace, SaysThatTheNamespaceCannotBeHad)
{
    Rebuild();
    m_script.Hide("GetProcAddress");
    m_script.Hide("LoadLibraryW");
    m_world.Fail(L"OpenPrivateNamespaceW", ERROR_ACCESS_DENIED);
    m_world.Fail(L"CreatePrivateNamespaceW", ERROR_ALREADY_EXISTS);
    m_script.Clear();
    Rebuild();
    EXPECT_TRUE(m_script.Is(
        {L"ClosePrivateNamespace OrvP 0",
         L"DeleteBoundaryDescriptor Zeph",
         L"FreeLibrary Ntdll",
         L"FreeLibrary Kernel32",
         L"FreeLibrary AdvAPI32",
         L"FreeLibrary Version",
         L"VerifyVersionInfoW",
         L"OpenProcessToken {current} 28",
         L"LookupPrivilegeValueW SeDebugPrivilege",
         L"AdjustTokenPrivileges token 0",
         L"CloseHandle token",
         L"CreateBoundaryDescriptorW Zeph 0",
         L"OpenPrivateNamespaceW Zeph OrvP",
         L"FormatMessageW 5",
         L"trace CProxySecManager::OrvPOpenNamespace OpenPrivateNamespace OrvP\n<error 5>\n",
         L"InitializeSecurityDescriptor 1",
         L"SetSecurityDescriptorDacl 1 null 0",
         L"CreatePrivateNamespaceW everybody Zeph OrvP",
         L"FormatMessageW 183",
         L"trace CProxySecManager::OrvPCreateNamespace CreatePrivateNamespace OrvP\n<error 183>\n",
         L"FormatMessageW 183",
         L"trace CProxySecManager::LoadVistaFunctions OrvPCreateNamespace\n<error 183>\n",
         L"trace CProxySecManager::LoadVistaFunctions Failed to create Security namespace!!!!!!!!!!!!!\n\n"}));
}

TEST_F(CProxySecManagerWithNamespace, SaysThatTheNamespaceCannotBeClosed)
{
    Rebuild();
    m_script.Clear();
    m_script.Fail("ClosePrivateNamespace");
    g_SecManager.~CProxySecManager();
    EXPECT_TRUE(m_script.Is({L"ClosePrivateNamespace OrvP 0 fails", L"FormatMessageW 6",
                             L"trace CProxySecManager::OrvPCloseNamespace ClosePrivateNamespace\n<error 6>\n",
                             L"DeleteBoundaryDescriptor Zeph", L"FreeLibrary Ntdll", L"FreeLibrary Kernel32",
                             L"FreeLibrary AdvAPI32", L"FreeLibrary Version"}));
    new (&g_SecManager) CProxySecManager;
}

TEST_F(CProxySecManagerWithNamespace, ForgetsTheCurrentProcessFirst)
{
    Rebuild();
    EXPECT_NE(nullptr, g_SecManager.GetCurrentProcessObject());
    m_script.Clear();
    Rebuild();
    const Script steps = m_script.Steps();
    ASSERT_GE(steps.size(), 3U);
    EXPECT_EQ(Script({L"CloseHandle token", L"CloseHandle process", L"ClosePrivateNamespace OrvP 0"}),
              Script(steps.begin(), steps.begin() + 3));
}

TEST_F(CProxySecManagerWithoutExports, SaysThatThereIsNoNamespace)
{
    Rebuild();
    EXPECT_TRUE(m_script.Is(
        {L"FreeLibrary unknown",
         L"FreeLibrary unknown",
         L"FreeLibrary unknown",
         L"VerifyVersionInfoW",
         L"OpenProcessToken {current} 28",
         L"LookupPrivilegeValueW SeDebugPrivilege",
         L"AdjustTokenPrivileges token 0",
         L"CloseHandle token",
         L"LoadLibraryW Ntdll",
         L"LoadLibraryW AdvAPI32",
         L"LoadLibraryW Version",
         L"GetProcAddress Ntdll NtQueryInformationProcess",
         L"GetProcAddress Ntdll wine_get_version",
         L"GetProcAddress Ntdll wine_get_build_id",
         L"GetProcAddress AdvAPI32 IsWellKnownSid",
         L"GetProcAddress AdvAPI32 LookupAccountSidW",
         L"GetProcAddress AdvAPI32 LookupAccountNameW",
         L"GetProcAddress Version VerQueryValueW",
         L"GetProcAddress Version GetFileVersionInfoSizeW",
         L"GetProcAddress Version GetFileVersionInfoW",
         L"LoadLibraryW Kernel32",
         L"GetProcAddress Kernel32 IsWow64Process",
         L"GetProcAddress Kernel32 QueryFullProcessImageNameW",
         L"GetProcAddress Kernel32 CreatePrivateNamespaceW",
         L"trace CProxySecManager::LoadVistaFunctions Failed to create Security namespace!!!!!!!!!!!!!\n\n"}));
}

TEST_F(CProxySecManagerScript, AsksForTheSessionAndClosesTheTokenFirst)
{
    g_SecManager.GetSessionForProcess(GetCurrentProcessId());
    EXPECT_TRUE(
        m_script.Is({L"OpenProcess 400 0 own", L"OpenProcessToken process 20008",
                     L"GetTokenInformation token 12 something", L"CloseHandle token", L"CloseHandle process"}));
}

TEST_F(CProxySecManagerScript, SaysThatThereIsNoProcess)
{
    m_script.Fail("OpenProcess");
    g_SecManager.GetSessionForProcess(GetCurrentProcessId());
    EXPECT_TRUE(m_script.Is({L"OpenProcess 400 0 own fails", L"FormatMessageW 5",
                             L"trace CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 5>\n"}));
}

TEST_F(CProxySecManagerScript, SaysThatThereIsNoTokenBeforeItClosesTheProcess)
{
    m_script.Fail("OpenProcessToken");
    g_SecManager.GetSessionForProcess(GetCurrentProcessId());
    EXPECT_TRUE(m_script.Is({L"OpenProcess 400 0 own", L"OpenProcessToken process 20008 fails", L"FormatMessageW 5",
                             L"trace CProxySecManager::GetSessionForProcess OpenProcessToken Failed\n<error 5>\n",
                             L"CloseHandle process"}));
}

TEST_F(CProxySecManagerScript, SaysThatTheTokenDoesNotTellBeforeItClosesBoth)
{
    m_script.Fail("GetTokenInformation");
    g_SecManager.GetSessionForProcess(GetCurrentProcessId());
    EXPECT_TRUE(m_script.Is({L"OpenProcess 400 0 own", L"OpenProcessToken process 20008",
                             L"GetTokenInformation token 12 something fails", L"FormatMessageW 5",
                             L"trace CProxySecManager::GetSessionForProcess GetTokenInformation Failed\n<error 5>\n",
                             L"CloseHandle token", L"CloseHandle process"}));
}

TEST_F(CProxySecManagerScript, SaysNothingWhenThereAreNoSessions)
{
    const Redirect<int(HANDLE, TOKEN_INFORMATION_CLASS, void*, DWORD, DWORD*)> query(
        "GetTokenInformation", [](HANDLE, TOKEN_INFORMATION_CLASS, void*, DWORD, DWORD*) -> int {
            SetLastError(ERROR_INVALID_FUNCTION);
            return FALSE;
        });
    m_script.Clear();
    EXPECT_EQ(c_noSession, g_SecManager.GetSessionForProcess(GetCurrentProcessId()));
    EXPECT_TRUE(m_script.Is(
        {L"OpenProcess 400 0 own", L"OpenProcessToken process 20008", L"CloseHandle token", L"CloseHandle process"}));
}

TEST_F(CProxySecManagerScript, CreatesAnEventBeforeItSaysSo)
{
    HANDLE const event = g_SecManager.OrvPCreateEvent(c_noSession, nullptr, true, false, m_name.c_str());
    EXPECT_TRUE(m_script.Is({L"CreateEventW default 1 0 {name}",
                             L"trace CProxySecManager::OrvPCreateEvent CreateEvent {name} succeeded \n"}));
    HANDLE const opened = g_SecManager.OrvPOpenEvent(c_noSession, EVENT_MODIFY_STATE, m_name.c_str());
    EXPECT_TRUE(m_script.Is({L"OpenEventW 2 0 {name}"}));
    CloseHandle(opened);
    CloseHandle(event);
    m_script.Clear();
    m_script.Fail("CreateEventW");
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateEvent(c_noSession, nullptr, false, true, m_name.c_str()));
    EXPECT_TRUE(m_script.Is({L"CreateEventW default 0 1 {name} fails", L"FormatMessageW 1450",
                             L"trace CProxySecManager::OrvPCreateEvent CreateEvent {name} Failed\n<error 1450>\n"}));
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenEvent(c_noSession, EVENT_MODIFY_STATE, m_name.c_str()));
    EXPECT_TRUE(m_script.Is({L"OpenEventW 2 0 {name}"}));
}

TEST_F(CProxySecManagerScript, SaysTheNameBeforeItCreatesAMutex)
{
    HANDLE const mutex = g_SecManager.OrvPCreateMutex(c_noSession, nullptr, m_name.c_str());
    EXPECT_TRUE(m_script.Is(
        {L"trace CProxySecManager::OrvPCreateMutex Create Mutex {name}\n", L"CreateMutexW default 0 {name}"}));
    HANDLE const opened = g_SecManager.OrvPOpenMutex(contract::LocalName(m_name).c_str(), SYNCHRONIZE);
    EXPECT_TRUE(
        m_script.Is({L"trace CProxySecManager::OrvPOpenMutex Open Mutex {name}\n", L"OpenMutexW 100000 0 {name}"}));
    CloseHandle(opened);
    CloseHandle(mutex);
    m_script.Clear();
    m_script.Fail("CreateMutexW");
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateMutex(c_noSession, nullptr, m_name.c_str()));
    EXPECT_TRUE(m_script.Is({L"trace CProxySecManager::OrvPCreateMutex Create Mutex {name}\n",
                             L"CreateMutexW default 0 {name} fails", L"FormatMessageW 1450",
                             L"trace CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 1450>\n"}));
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenMutex(contract::LocalName(m_name).c_str(), SYNCHRONIZE));
    EXPECT_TRUE(
        m_script.Is({L"trace CProxySecManager::OrvPOpenMutex Open Mutex {name}\n", L"OpenMutexW 100000 0 {name}",
                     L"FormatMessageW 2", L"trace CProxySecManager::OrvPOpenMutex Open Mutex Failed <error 2>\n"}));
}

TEST_F(CProxySecManagerScript, SaysTheNameBeforeItCreatesAMapping)
{
    HANDLE const mapping = g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr,
                                                              PAGE_READWRITE, 0, 5, m_name.c_str());
    EXPECT_TRUE(m_script.Is({L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: {name}\n",
                             L"CreateFileMappingW {current} default 4 0 5 {name}"}));
    HANDLE const opened = g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ, true, m_name.c_str());
    EXPECT_TRUE(m_script.Is({L"OpenFileMappingW 4 1 {name}"}));
    CloseHandle(opened);
    CloseHandle(mapping);
    m_script.Clear();
    m_script.Fail("CreateFileMappingW");
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                          1, 5, m_name.c_str()));
    EXPECT_TRUE(m_script.Is({L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: {name}\n",
                             L"CreateFileMappingW {current} default 4 1 5 {name} fails", L"FormatMessageW 1455",
                             L"trace CProxySecManager::OrvPCreateFileMapping Failed with <error 1455>\n"}));
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ, false, m_name.c_str()));
    EXPECT_TRUE(m_script.Is({L"OpenFileMappingW 4 0 {name}", L"FormatMessageW 2",
                             L"trace CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n"}));
}

TEST_F(CProxySecManagerScript, AsksForNothingWithoutAName)
{
    g_SecManager.OrvPCreateEvent(c_noSession, nullptr, true, false, nullptr);
    g_SecManager.OrvPOpenEvent(c_noSession, EVENT_MODIFY_STATE, nullptr);
    g_SecManager.OrvPCreateMutex(c_noSession, nullptr, nullptr);
    g_SecManager.OrvPOpenMutex(nullptr, SYNCHRONIZE);
    g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 5, nullptr);
    g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ, false, nullptr);
    g_SecManager.BuildObjectName(c_noSession, m_name.c_str());
    g_SecManager.UsePrivateNamespace();
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxySecManagerScript, BuildsTheAccessList)
{
    SECURITY_ATTRIBUTES attributes{};
    SECURITY_DESCRIPTOR descriptor{};
    EXPECT_TRUE(g_SecManager.OrvPCreateACL(&attributes, &descriptor));
    EXPECT_TRUE(m_script.Is(c_letEverybodyIn));
    m_script.Fail("InitializeSecurityDescriptor");
    EXPECT_FALSE(g_SecManager.OrvPCreateACL(&attributes, &descriptor));
    EXPECT_TRUE(m_script.Is({L"InitializeSecurityDescriptor 1 fails", L"FormatMessageW 1305",
                             L"trace CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n"}));
    m_script.Fail("SetSecurityDescriptorDacl");
    EXPECT_FALSE(g_SecManager.OrvPCreateACL(&attributes, &descriptor));
    EXPECT_TRUE(m_script.Is({L"InitializeSecurityDescriptor 1", L"SetSecurityDescriptorDacl 1 null 0 fails",
                             L"FormatMessageW 1338",
                             L"trace CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n"}));
}

TEST_F(CProxySecManagerScript, EnablesAPrivilege)
{
    EXPECT_TRUE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
    EXPECT_TRUE(m_script.Is({L"OpenProcessToken {current} 28", L"LookupPrivilegeValueW SeDebugPrivilege",
                             L"AdjustTokenPrivileges token 0", L"CloseHandle token"}));
    m_script.Fail("OpenProcessToken");
    EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
    EXPECT_TRUE(
        m_script.Is({L"OpenProcessToken {current} 28 fails", L"FormatMessageW 5",
                     L"trace CProxySecManager::OrvPEnablePrivilege OpenProcessToken() failed, Error = <error 5>\n"}));
    m_script.Fail("LookupPrivilegeValueW");
    EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
    EXPECT_TRUE(m_script.Is({L"OpenProcessToken {current} 28", L"LookupPrivilegeValueW SeDebugPrivilege fails",
                             L"FormatMessageW 1313",
                             L"trace CProxySecManager::OrvPEnablePrivilege LookupPrivilegeValue() failed for "
                             L"SeDebugPrivilege, Error:-\n<error 1313>\n",
                             L"CloseHandle token"}));
    m_script.Fail("AdjustTokenPrivileges");
    EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
    EXPECT_TRUE(m_script.Is({L"OpenProcessToken {current} 28", L"LookupPrivilegeValueW SeDebugPrivilege",
                             L"AdjustTokenPrivileges token 0 fails", L"FormatMessageW 5",
                             L"trace CProxySecManager::OrvPEnablePrivilege AdjustTokenPrivileges() failed for "
                             L"SeDebugPrivilege, Error:-\n<error 5>\n",
                             L"CloseHandle token"}));
}

TEST_F(CProxySecManagerScript, TestsAPrivilege)
{
    EXPECT_EQ(0U, g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), L"SeDebugPrivilege"));
    EXPECT_TRUE(m_script.Is(
        {L"OpenProcessToken {current} 28", L"LookupPrivilegeValueW SeDebugPrivilege", L"CloseHandle token"}));
    m_script.Fail("OpenProcessToken");
    EXPECT_EQ(0xFFFFFFFF, g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), L"SeDebugPrivilege"));
    EXPECT_TRUE(
        m_script.Is({L"OpenProcessToken {current} 28 fails", L"FormatMessageW 5",
                     L"trace CProxySecManager::OrvPHasPrivilege OpenProcessToken() failed, Error = <error 5>\n"}));
    m_script.Fail("LookupPrivilegeValueW");
    EXPECT_EQ(0xFFFFFFFF, g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), L"SeDebugPrivilege"));
    EXPECT_TRUE(m_script.Is({L"OpenProcessToken {current} 28", L"LookupPrivilegeValueW SeDebugPrivilege fails",
                             L"FormatMessageW 1313",
                             L"trace CProxySecManager::OrvPHasPrivilege LookupPrivilegeValue() failed for "
                             L"SeDebugPrivilege, Error:-\n<error 1313>\n",
                             L"CloseHandle token"}));
    EXPECT_EQ(0xFFFFFFFF, g_SecManager.OrvPHasPrivilege(nullptr, L"SeDebugPrivilege"));
    EXPECT_TRUE(m_script.Is({}));
}
