#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/security/ProxyProcess.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/security/VersionRecord.h"
#include "tests/faults/FaultScenario.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"
#include "tests/support/worlds/RebuiltManager.h"
#include "tests/support/worlds/TokenStandIn.h"

#include <windows.h>

#include <winsvc.h>

#include <cstring>
#include <gtest/gtest.h>
#include <memory>

// The queries about processes, accounts and files, with each system call failing in turn.

namespace
{
ORV_CHILD_ROLE(Sit)
{
    Meeting(arguments[0]).Signal();
    Sleep(INFINITE);
    return 0;
}

// A system on which this process is the only service.
class OneService
{
public:
    OneService()
        : m_open("OpenSCManagerW", [](auto...) { return reinterpret_cast<SC_HANDLE>(4); }),
          m_close("CloseServiceHandle", [](auto...) { return TRUE; }), m_list("EnumServicesStatusExW", List)
    {
    }

private:
    static BOOL WINAPI List(SC_HANDLE, SC_ENUM_TYPE, DWORD, DWORD, BYTE* buffer, DWORD size, DWORD* needed,
                            DWORD* count, DWORD*, const wchar_t*)
    {
        ENUM_SERVICE_STATUS_PROCESSW service{};
        *count = 0;
        *needed = sizeof service;
        if (size < sizeof service)
        {
            SetLastError(ERROR_MORE_DATA);
            return FALSE;
        }
        service.ServiceStatusProcess.dwProcessId = GetCurrentProcessId();
        std::memcpy(buffer, &service, sizeof service);
        *count = 1;
        return TRUE;
    }

    Redirect<decltype(OpenSCManagerW)> m_open;
    Redirect<decltype(CloseServiceHandle)> m_close;
    Redirect<decltype(EnumServicesStatusExW)> m_list;
};

// What is known of a process.
void NoteProcess(uint32_t id)
{
    const std::unique_ptr<CProxySecManager::CProcess> process(g_SecManager.OpenProcessObject(id));
    Note(L"process", process != nullptr ? 1 : 0);
    if (process == nullptr)
        return;
    Note(L"user", process->GetUserAccount() != nullptr ? 1 : 0);
    Note(L"session known", process->GetSession() < 0xFFFFFFFE ? 1 : 0);
    Note(L"groups", process->GetGroups().GetCount());
    Note(L"image", process->GetImagePath().IsEmpty() ? 0 : 1);
    Note(L"command line", process->GetCommandLineText().IsEmpty() ? 0 : 1);
    Note(L"directory", process->GetCurrentDirectoryText().IsEmpty() ? 0 : 1);
}
} // namespace

FaultTable ProcessQueryFaults()
{
    return {
        {"CloseHandle", 1, c_lastCall, {}},
        {"EnumServicesStatusExW", 1, c_lastCall, {L"-= service 1", L"+= service 0"}},
        {"GetExitCodeProcess",
         1,
         c_lastCall,
         {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
          L"-= directory 1", L"+= process 0"}},
        {"GetTokenInformation", 1, 1, {L"-= session known 1", L"+= session known 0"}},
        {"GetTokenInformation",
         2,
         3,
         {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
          L"-= directory 1", L"+CProxySecManager::CProcess::GetUser <error 5>\n", L"+= process 0"}},
        {"GetTokenInformation",
         4,
         5,
         {L"+CProxySecManager::CProcess::GetGroupMembership <error 5>\n", L"-= groups 2", L"+= groups 0"}},
        {"GetTokenInformation", 6, 6, {L"-= session known 1", L"+= session known 0"}},
        {"GetTokenInformation",
         7,
         8,
         {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
          L"-= directory 1", L"+CProxySecManager::CProcess::GetUser <error 5>\n", L"+= process 0"}},
        {"GetTokenInformation",
         9,
         10,
         {L"+CProxySecManager::CProcess::GetGroupMembership <error 5>\n", L"-= groups 2", L"+= groups 0"}},
        {"GetTokenInformation",
         11,
         c_lastCall,
         {L"-= administrator 1", L"+CProxySecManager::IsRunAsAdmin <error 5>\n", L"+= administrator 0"}},
        {"LookupPrivilegeValueW",
         1,
         1,
         {L"-= privilege 0",
          L"+CProxySecManager::OrvPHasPrivilege LookupPrivilegeValue() failed for SeDebugPrivilege, Error:-\n<error "
          L"1313>\n",
          L"+= privilege 4294967295"}},
        {"OpenProcess",
         1,
         c_lastCall,
         {L"-= command line 1", L"-= directory 1", L"+= command line 0", L"+= directory 0"}},
        {"OpenProcessToken",
         1,
         2,
         {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
          L"-= directory 1", L"+CProxySecManager::CProcess::CProcess <error 5>\n", L"+= process 0"}},
        {"OpenProcessToken",
         3,
         3,
         {L"-= administrator 1", L"+CProxySecManager::IsRunAsAdmin <error 5>\n", L"+= administrator 0"}},
        {"OpenProcessToken",
         4,
         4,
         {L"-= privilege 0", L"+CProxySecManager::OrvPHasPrivilege OpenProcessToken() failed, Error = <error 5>\n",
          L"+= privilege 4294967295"}},
        {"OpenSCManagerW", 1, 1, {L"-= service 1", L"+= service 0"}},
        {"ReadProcessMemory",
         1,
         4,
         {L"-= command line 1", L"-= directory 1", L"+= command line 0", L"+= directory 0"}},
        {"ReadProcessMemory", 5, 5, {}},
        {"ReadProcessMemory", 6, 6, {L"-= directory 1", L"+= directory 0"}},
        {"ReadProcessMemory", 7, 7, {L"-= command line 1", L"+= command line 0"}},
        {"ReadProcessMemory", 8, 8, {}},
        {"CloseServiceHandle", 1, 1, {}},
        {"GetProcessId", 1, 2, {}},
        {"GetProcessId", 3, 3, {L"-= own id 1", L"+= own id 0"}},
        {"IsWellKnownSid", 1, 3, {}},
        {"IsWellKnownSid", 4, 4, {L"-= administrator 1", L"+= administrator 0"}},
        {"IsWellKnownSid", 5, c_lastCall, {}},
        {"IsWow64Process", 1, 1, {L"-= 64 bits 1", L"+= 64 bits 0"}},
        {"LookupAccountSidW",
         1,
         1,
         {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
          L"-= directory 1", L"+CProxySecManager::CAccount::Create <error 1332>\n", L"+= process 0"}},
        {"LookupAccountSidW",
         2,
         3,
         {L"+CProxySecManager::CAccount::Create <error 1332>\n", L"-= groups 2", L"+= groups 1"}},
        {"LookupAccountSidW",
         4,
         4,
         {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
          L"-= directory 1", L"+CProxySecManager::CAccount::Create <error 1332>\n", L"+= process 0"}},
        {"LookupAccountSidW",
         5,
         c_lastCall,
         {L"+CProxySecManager::CAccount::Create <error 1332>\n", L"-= groups 2", L"+= groups 1"}},
        {"NtQueryInformationProcess",
         1,
         c_lastCall,
         {L"-= command line 1", L"-= directory 1", L"+= command line 0", L"+= directory 0"}},
        {"CreateFileW",
         1,
         1,
         {L"-= architecture 64",
          L"+CProxySecManager::GetArchitecture CreateFile(OPEN_EXISTING) failed for file:{program}, <error 32>\n",
          L"+= architecture 0"}},
        {"CreateFileW",
         2,
         2,
         {L"-= company 1", L"-= product Produit", L"-= description 1", L"-= version 5.6.7.8", L"+= company 0",
          L"+= product ", L"+= description 0", L"+= version "}},
        {"GetFileType", 1, 1, {L"-= architecture 64", L"+= architecture 0"}},
        {"GetFileType",
         2,
         2,
         {L"-= company 1", L"-= product Produit", L"-= description 1", L"-= version 5.6.7.8", L"+= company 0",
          L"+= product ", L"+= description 0", L"+= version "}},
        {"ReadFile", 1, c_lastCall, {L"-= architecture 64", L"+= architecture 0"}},
        {"SetFilePointerEx", 1, 1, {L"-= architecture 64", L"+= architecture 0"}},
        {"GetFileVersionInfoSizeW",
         1,
         1,
         {L"-= company 1", L"-= product Produit", L"-= description 1", L"-= version 5.6.7.8", L"+= company 0",
          L"+= product ", L"+= description 0", L"+= version "}},
        {"GetFileVersionInfoW",
         1,
         1,
         {L"-= company 1", L"-= product Produit", L"-= description 1", L"-= version 5.6.7.8", L"+= company 0",
          L"+= product ", L"+= description 0", L"+= version "}},
        {"VerQueryValueW",
         1,
         1,
         {L"-= company 1", L"-= product Produit", L"-= description 1", L"-= version 5.6.7.8", L"+= company 0",
          L"+= product ", L"+= description 0", L"+= version "}},
        {"VerQueryValueW", 2, 2, {L"-= description 1", L"+= description 0"}},
        {"VerQueryValueW", 3, 3, {L"-= product Produit", L"+= product "}},
        {"VerQueryValueW", 4, 4, {L"-= company 1", L"+= company 0"}},
        {"VerQueryValueW", 5, 5, {L"-= version 5.6.7.8", L"+= version "}},
    };
}

class SystemFaultsInProcessQueries : public testing::Test
{
protected:
    SystemFaultsInProcessQueries()
    {
        Meeting(m_ready).Wait();
        m_token.AnswerGroups({{MakeSid(1, {0}), 7}, {MakeSid(5, {32, 544}), 7}});
        DeviceToDrivePath(L"\\Device\\Nothing"); // keeps its table
        m_manager.Rebuild();
    }

    void Ask() const
    {
        NoteProcess(GetCurrentProcessId());
        NoteProcess(m_child.Id());
        Note(L"administrator", g_SecManager.IsRunAsAdmin(GetCurrentProcess()));
        Note(L"service", g_SecManager.IsProcessAService(GetCurrentProcessId()) ? 1 : 0);
        Note(L"own id", g_SecManager.GetProcessIdOfHandle(GetCurrentProcess()) == GetCurrentProcessId() ? 1 : 0);
        Note(L"64 bits", g_SecManager.Is64BitProcess(GetCurrentProcess()) ? 1 : 0);
        Note(L"architecture", g_SecManager.GetArchitecture(OwnProgram().c_str()));
        Note(L"privilege", g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), L"SeDebugPrivilege"));
        const CVersionRecord version(OwnProgram().c_str());
        Note(L"company", version.CompanyName().IsEmpty() ? 0 : 1);
        Note(L"product", version.ProductName());
        Note(L"description", version.FileDescription().IsEmpty() ? 0 : 1);
        Note(L"version", version.ProductVersion());
    }

    TraceCapture m_trace;
    ErrorTextStandIn m_errors;
    const std::wstring m_ready = FreshName(L"ready");
    // Long enough that reading its command line needs a block of its own, wherever the program lies.
    const ChildProcess m_child = ChildProcess::StartRole(L"Sit", {m_ready, std::wstring(300, L'-')});
    RebuiltManager m_manager;
    ModernSystem m_system;
    OneService m_services;
    TokenStandIn m_token;
    FaultScenario m_scenario{m_trace, [this] { Ask(); }, {{OwnProgram(), L"{program}"}}};
};

TEST_F(SystemFaultsInProcessQueries, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(ProcessQueryFaults());
}

TEST_F(SystemFaultsInProcessQueries, AnyRequestForMemoryMayFail)
{
    m_scenario.ExpectForEachRequest({
        {},
        {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
         L"-= directory 1", L"+= process 0"},
        {L"-= process 1", L"-= user 1", L"-= session known 1", L"-= groups 2", L"-= image 1", L"-= command line 1",
         L"-= directory 1", L"+CProxySecManager::CProcess::GetUser <error 8>\n", L"+= process 0"},
        {L"+CProxySecManager::CProcess::GetGroupMembership <error 8>\n", L"-= groups 2", L"+= groups 0"},
        {L"-= groups 2", L"+= groups 1"},
        {L"-= directory 1", L"+= directory 0"},
        {L"-= command line 1", L"+= command line 0"},
        {L"-= administrator 1", L"+CProxySecManager::IsRunAsAdmin <error 8>\n", L"+= administrator 0"},
        {L"-= service 1", L"+= service 0"},
        {L"-= company 1", L"-= product Produit", L"-= description 1", L"-= version 5.6.7.8", L"+= company 0",
         L"+= product ", L"+= description 0", L"+= version "},
    });
}
