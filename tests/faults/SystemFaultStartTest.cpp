#include "OrvProfiler/security/ProxyProcess.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/security/VersionRecord.h"
#include "tests/faults/FaultScenario.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/NamespaceWorld.h"
#include "tests/support/worlds/TokenStandIn.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <memory>
#include <new>

// The security manager's construction and destruction, with each system call failing in turn.

namespace
{
const char* WineVersion()
{
    return "9.1";
}

const char* WineBuildId()
{
    return "wine-9.1";
}

// An older Windows under Wine.
struct OldSystem
{
    OldSystem() : version(c_windowsXp64)
    {
        exports.Replace("wine_get_version", WineVersion);
        exports.Replace("wine_get_build_id", WineBuildId);
    }

    ReportedVersion version;
    ExportTable exports;
};

// While one of these lives the process has no manager, so that a scenario can make it and destroy it.
class NoManager
{
public:
    NoManager() { g_SecManager.~CProxySecManager(); }
    ~NoManager() { new (&g_SecManager) CProxySecManager; }
    NoManager(const NoManager&) = delete;
    NoManager& operator=(const NoManager&) = delete;
};

// The process's manager, for one run of a scenario.
class Manager
{
public:
    Manager() { new (&g_SecManager) CProxySecManager; }
    ~Manager() { g_SecManager.~CProxySecManager(); }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;
};

// Notes what the manager answers, which shows what it has found.
void Describe()
{
    static SidBytes administrators = MakeSid(5, {32, 544});
    const SID_AND_ATTRIBUTES group{administrators.data(), 0};
    Note(L"system", static_cast<int64_t>(GetWindowsVersion()));
    Note(L"private namespace", g_SecManager.UsePrivateNamespace() ? 1 : 0);
    Note(L"name", g_SecManager.BuildObjectName(1, L"E"));
    Note(L"knows SIDs", g_SecManager.IsAdminSid(administrators.data()) ? 1 : 0);
    Note(L"finds accounts",
         std::unique_ptr<CProxySecManager::CAccount>(CProxySecManager::CAccount::Create(&group)) ? 1 : 0);
    Note(L"has image name", g_SecManager.GetImageName(GetCurrentProcess()).IsEmpty() ? 0 : 1);
    Note(L"64 bits", g_SecManager.Is64BitProcess(GetCurrentProcess()) ? 1 : 0);
    Note(L"version", CVersionRecord(OwnProgram().c_str()).ProductVersion());
}

const FaultLines c_noVersion = {L"-= version 5.6.7.8", L"+= version "};

// An account needs memory, and so do the texts of a version. Strings ask a second time and then succeed.
const std::vector<FaultLines> c_startWithoutMemory = {
    {}, {L"-= finds accounts 1", L"+= finds accounts 0"}, c_noVersion};

// The rows that both systems share: the privilege, and the functions that the manager looks up.
void AddCommonStart(FaultTable& table)
{
    const FaultTable rows = {
        {"CloseHandle", 1, c_lastCall, {}},
        {"OpenProcessToken",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPEnablePrivilege OpenProcessToken() failed, Error = <error 5>\n"}},
        {"LookupPrivilegeValueW",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPEnablePrivilege LookupPrivilegeValue() failed for SeDebugPrivilege, "
          L"Error:-\n<error 1313>\n"}},
        {"AdjustTokenPrivileges",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPEnablePrivilege AdjustTokenPrivileges() failed for SeDebugPrivilege, "
          L"Error:-\n<error 5>\n"}},
        {"FreeLibrary", 1, c_lastCall, {}},
        {"IsWellKnownSid", 1, 1, {L"-= knows SIDs 1", L"+= knows SIDs 0"}},
        {"LookupAccountSidW",
         1,
         1,
         {L"-= finds accounts 1", L"+CProxySecManager::CAccount::Create <error 1332>\n", L"+= finds accounts 0"}},
        {"CreateFileW", 1, 1, c_noVersion},
        {"GetFileType", 1, 1, c_noVersion},
        {"GetFileVersionInfoSizeW", 1, 1, c_noVersion},
        {"GetFileVersionInfoW", 1, 1, c_noVersion},
        // The calls are the languages, three texts that the scenario does not use, and the product's version.
        {"VerQueryValueW", 1, 1, c_noVersion},
        {"VerQueryValueW", 2, 4, {}},
        {"VerQueryValueW", 5, 5, c_noVersion},
    };
    table.insert(table.end(), rows.begin(), rows.end());
}
} // namespace

FaultTable OldSystemStartFaults()
{
    const FaultLines noAccounts = {L"-= knows SIDs 1", L"-= finds accounts 1", L"-= has image name 1",
                                   L"+= knows SIDs 0", L"+= finds accounts 0", L"+= has image name 0"};
    const FaultLines noImageName = {L"-= has image name 1", L"+= has image name 0"};
    FaultTable table = {
        {"VerifyVersionInfoW", 1, c_lastCall, {}},
        {"NtQueryInformationProcess", 1, 1, noImageName},
        // When ntdll cannot be loaded, nothing says that this is Wine.
        {"LoadLibraryW",
         1,
         1,
         {L"-CProxySecManager::LoadStandardFunctions Wine Version 9.1\n",
          L"-CProxySecManager::LoadStandardFunctions Wine Build Id wine-9.1\n", L"-= name Local\\E",
          L"+= name Session\\1\\E", L"-= has image name 1", L"+= has image name 0"}},
        {"LoadLibraryW", 2, 2, noAccounts},
        {"LoadLibraryW", 3, 3, c_noVersion},
        {"GetProcAddress", 1, 1, noImageName}, // NtQueryInformationProcess
        {"GetProcAddress", 2, 2, {L"-CProxySecManager::LoadStandardFunctions Wine Version 9.1\n"}},
        {"GetProcAddress", 3, 3, {L"-CProxySecManager::LoadStandardFunctions Wine Build Id wine-9.1\n"}},
        {"GetProcAddress", 4, 4, noAccounts}, // IsWellKnownSid
        {"GetProcAddress", 5, 5, noAccounts}, // LookupAccountSidW
        {"GetProcAddress", 6, 6, {}},         // LookupAccountNameW, which nothing needs
        {"GetProcAddress", 7, 9, c_noVersion},
    };
    AddCommonStart(table);
    return table;
}

class SystemFaultsInAStartOnAnOldSystem : public testing::Test
{
protected:
    TraceCapture m_trace;
    ErrorTextStandIn m_errors;
    NoManager m_noManager;
    OldSystem m_system;
    FaultScenario m_scenario{m_trace, [] {
                                 const Manager manager;
                                 Describe();
                             }};
};

TEST_F(SystemFaultsInAStartOnAnOldSystem, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(OldSystemStartFaults());
}

TEST_F(SystemFaultsInAStartOnAnOldSystem, AnyRequestForMemoryMayFail)
{
    m_scenario.ExpectForEachRequest(c_startWithoutMemory);
}

FaultTable NamespaceStartFaults()
{
    const FaultLines noAccounts = {L"-= knows SIDs 1", L"-= finds accounts 1", L"+= knows SIDs 0",
                                   L"+= finds accounts 0"};
    const std::wstring start = L"+CProxySecManager::LoadVistaFunctions ";
    const std::wstring noNamespace = start + L"Failed to create Security namespace!!!!!!!!!!!!!\n\n";
    FaultTable table = {
        // The first manager asks once, the test itself once, the second manager once.
        {"VerifyVersionInfoW", 1, 1, {}},
        {"VerifyVersionInfoW", 2, 2, {L"-= system 10", L"+= system 8"}},
        {"VerifyVersionInfoW", 3, 3, {}},
        {"LoadLibraryW", 1, 1, {}},
        {"LoadLibraryW", 2, 2, noAccounts},
        {"LoadLibraryW", 3, 3, c_noVersion},
        {"LoadLibraryW", 4, 4, {noNamespace, L"-= 64 bits 1", L"+= 64 bits 0"}},
        {"LoadLibraryW", 5, 7, {}},
        {"LoadLibraryW", 8, 8, {noNamespace}},
        {"GetProcAddress", 1, 3, {}},
        {"GetProcAddress", 4, 5, noAccounts}, // IsWellKnownSid, LookupAccountSidW
        {"GetProcAddress", 6, 6, {}},
        {"GetProcAddress", 7, 9, c_noVersion},
        {"GetProcAddress", 10, 10, {noNamespace, L"-= 64 bits 1", L"+= 64 bits 0"}}, // IsWow64Process
        {"GetProcAddress", 11, 16, {noNamespace}},
        {"GetProcAddress", 17, 25, {}}, // the second manager's, which is asked for its name only
        {"GetProcAddress", 26, 32, {noNamespace}},
        {"CreateBoundaryDescriptorW", 1, 2, {start + L"CreateBoundaryDescriptor\n<error 8>\n", noNamespace}},
        // A namespace that exists and cannot be opened cannot be created either.
        {"OpenPrivateNamespaceW",
         1,
         1,
         {L"+CProxySecManager::OrvPOpenNamespace OpenPrivateNamespace OrvP\n<error 5>\n"}},
        {"OpenPrivateNamespaceW",
         2,
         2,
         {L"+CProxySecManager::OrvPOpenNamespace OpenPrivateNamespace OrvP\n<error 5>\n",
          L"+CProxySecManager::OrvPCreateNamespace CreatePrivateNamespace OrvP\n<error 183>\n",
          start + L"OrvPCreateNamespace\n<error 183>\n", noNamespace}},
        {"CreatePrivateNamespaceW",
         1,
         1,
         {L"+CProxySecManager::OrvPCreateNamespace CreatePrivateNamespace OrvP\n<error 5>\n",
          start + L"OrvPCreateNamespace\n<error 5>\n", noNamespace}},
        {"InitializeSecurityDescriptor",
         1,
         1,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n",
          start + L"OrvPCreateNamespace\n<error 1305>\n", noNamespace}},
        {"SetSecurityDescriptorDacl",
         1,
         1,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n",
          start + L"OrvPCreateNamespace\n<error 1338>\n", noNamespace}},
        {"ClosePrivateNamespace",
         1,
         2,
         {L"+CProxySecManager::OrvPCloseNamespace ClosePrivateNamespace\n<error 6>\n"}},
        {"QueryFullProcessImageNameW", 1, 1, {L"-= has image name 1", L"+= has image name 0"}},
        {"IsWow64Process", 1, 1, {L"-= 64 bits 1", L"+= 64 bits 0"}},
    };
    AddCommonStart(table);
    return table;
}

// The first manager makes the namespace, the second one finds it.
class SystemFaultsInAStartWithNamespaces : public testing::Test
{
protected:
    TraceCapture m_trace;
    ErrorTextStandIn m_errors;
    NoManager m_noManager;
    NamespaceWorld m_world;
    FaultScenario m_scenario{m_trace, [this] {
                                 {
                                     const Manager manager;
                                     Describe();
                                     const CProxySecManager second;
                                     Note(L"second name", second.BuildObjectName(1, L"E"));
                                 }
                                 Note(L"open boundaries", m_world.OpenBoundaries());
                                 Note(L"open namespaces", static_cast<int64_t>(m_world.OpenNamespaces()));
                                 const TestsOwn own;
                                 m_world.ClearCalls();
                             }};
};

TEST_F(SystemFaultsInAStartWithNamespaces, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(NamespaceStartFaults());
}

TEST_F(SystemFaultsInAStartWithNamespaces, AnyRequestForMemoryMayFail)
{
    m_scenario.ExpectForEachRequest(c_startWithoutMemory);
}
