#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/share/ProxyPrivate.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/faults/FaultScenario.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <memory>

// The share's thread table and the private data block, with each system call failing in turn.

namespace
{
using Texts = std::vector<std::pair<std::wstring, std::wstring>>;

const FaultLines c_tableMutexes = contract::ShareMutexLines(L"{ns}{share}");
// What the thread table scenario does once it has a view.
const FaultLines c_threadWork = {L"= Create 1",
                                 L"= mapped 1",
                                 L"CProxyShare::AddThread Thread name(r) id(0x00000007) tindex (0)\n",
                                 L"CProxyShare::AddThread Thread count now 1\n",
                                 L"= AddThread 1",
                                 L"= tindex 0",
                                 L"CProxyShare::AddThread Thread name(name) id(0x00000008) tindex (1)\n",
                                 L"CProxyShare::AddThread Thread count now 2\n",
                                 L"= AddThread 1",
                                 L"= tindex 1",
                                 L"CProxyShare::SetAllThreadsState all threads running\n\n",
                                 L"= SetAllThreadsState 1",
                                 L"CProxyShare::Record tindex(1) RecordMode(Auto Recording)\n",
                                 L"= Record 1",
                                 L"= SetControl 1",
                                 L"CProxyShare::RemoveThread Thread name() id(00000000) tindex (0)\n",
                                 L"CProxyShare::RemoveThread Thread count now 1\n",
                                 L"= RemoveThread 1",
                                 L"CProxyShare::RemoveThread Thread name() id(00000000) tindex (1)\n",
                                 L"CProxyShare::RemoveThread Thread count now 0\n",
                                 L"= RemoveThread 1"};
// The same without a view.
const FaultLines c_threadWorkRefused = {
    L"= Create 0",     L"= mapped 0",       L"= AddThread 0",          L"= tindex -1",
    L"= AddThread 0",  L"= tindex -1",      L"= SetAllThreadsState 0", L"= Record 0",
    L"= SetControl 0", L"= RemoveThread 0", L"= RemoveThread 0"};

// The changes when a block is opened that nobody has made.
const FaultLines c_noBlock = {L"-CProxyMap::Open opened share {block} successfully\n",
                              L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n",
                              L"-= Open 1",
                              L"-= LockData 1",
                              L"-= SetText 1",
                              L"-= LockData 1",
                              L"-= SetText 1",
                              L"-= text text",
                              L"+CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
                              L"+CProxyMap::OpenMap Open returned: <error 2>\n",
                              L"+CProxyMap::Open failed to open share {block}\n<error 2>\n",
                              L"+= Open 0",
                              L"+= LockData 0",
                              L"+= SetText 0",
                              L"+= LockData 0",
                              L"+= SetText 0",
                              L"+= text (null)"};

// The changes when there is no memory for the name of a private block; name is what is left of it.
FaultLines WithoutName(const std::wstring& name)
{
    return {L"-CProxyMap::OpenMap Open Map Name: {block}\n",
            L"-CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
            L"-CProxyMap::OpenMap Open returned: <error 2>\n",
            L"-CProxySecManager::OrvPCreateFileMapping Create Named File Map: {ns}{block}\n",
            L"-CProxyMap::Create created share {block} successfully \n",
            L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n",
            L"-= Create 1",
            L"-CProxyMap::OpenMap Open Map Name: {block}\n",
            L"-CProxyMap::Open opened share {block} successfully\n",
            L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n",
            L"-= Open 1",
            L"-= LockData 1",
            L"-= SetText 1",
            L"-= LockData 1",
            L"-= SetText 1",
            L"-= text text",
            L"+CProxyMap::OpenMap Open Map Name: " + name + L"\n",
            L"+CProxyMap::OpenMap Open returned: <error 8>\n",
            L"+CProxyMap::Create create share " + name + L" failed\n<error 8>\n",
            L"+= Create 0",
            L"+CProxyMap::OpenMap Open Map Name: (null)\n",
            L"+CProxyMap::OpenMap Open returned: <error 8>\n",
            L"+CProxyMap::Open failed to open share (null)\n<error 8>\n",
            L"+= Open 0",
            L"+= LockData 0",
            L"+= SetText 0",
            L"+= LockData 0",
            L"+= SetText 0",
            L"+= text (null)"};
}

// The rows of a mapping, opened or created, and of its mutexes.
FaultTable MappingRows()
{
    return {
        {"InitializeSecurityDescriptor",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n"}},
        {"SetSecurityDescriptorDacl",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n"}},
        {"OpenProcess", 1, c_lastCall, {L"+CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 5>\n"}},
        {"OpenProcessToken",
         1,
         c_lastCall,
         {L"+CProxySecManager::GetSessionForProcess OpenProcessToken Failed\n<error 5>\n"}},
        {"GetTokenInformation",
         1,
         c_lastCall,
         {L"+CProxySecManager::GetSessionForProcess GetTokenInformation Failed\n<error 5>\n"}},
        {"CloseHandle", 1, c_lastCall, {}},
        {"UnmapViewOfFile", 1, c_lastCall, {}},
    };
}
} // namespace

FaultTable ThreadTableFaults()
{
    FaultTable table = MappingRows();
    const FaultTable own = {
        {"CreateMutexW", 1, c_lastCall, {L"+CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 1450>\n"}},
        {"MapViewOfFile", 1, 1, Without({c_tableMutexes, c_threadWork}) + With({c_threadWorkRefused})},
        {"OpenFileMappingW",
         1,
         1,
         {L"+CProxySecManager::OrvPOpenFileMapping Failed with <error 5>\n",
          L"+CProxyMap::OpenMap Open returned: <error 5>\n",
          L"+CProxySecManager::OrvPCreateFileMapping Create Named File Map: {ns}{share}\n",
          L"+CProxyMap::Create created share {share} successfully \n"}},
        {"VirtualQuery", 1, 1,
         Without({c_tableMutexes, c_threadWork}) +
             With({{L"CProxyShare::OnMapped share {share} is smaller than 116197744 bytes\n"}, c_threadWorkRefused})},
        {"WaitForSingleObject", 1, c_lastCall, {}},
        {"ReleaseMutex", 1, c_lastCall, {}},
    };
    table.insert(table.end(), own.begin(), own.end());
    return table;
}

class SystemFaultsInTheThreadTable : public testing::Test
{
protected:
    SystemFaultsInTheThreadTable()
    {
        m_record.threadId = 7;
        m_record.name[0] = L'r';
    }

    void ChangeThreads()
    {
        CProxyShare share;
        Note(L"Create", share.Create(m_id) ? 1 : 0);
        Note(L"mapped", share.GetView() != nullptr ? 1 : 0);
        int32_t tindex = -1;
        Note(L"AddThread", share.AddThread(&tindex, m_record) ? 1 : 0);
        Note(L"tindex", tindex);
        Note(L"AddThread", share.AddThread(&tindex, 8, L"detail", L"name") ? 1 : 0);
        Note(L"tindex", tindex);
        Note(L"SetAllThreadsState", share.SetAllThreadsState(0x20) ? 1 : 0);
        Note(L"Record", share.Record(1, 4) ? 1 : 0);
        Note(L"SetControl", share.SetControl(m_control) ? 1 : 0);
        NoteHeldShareMutexes(m_name);
        Note(L"RemoveThread", share.RemoveThread(0, false) ? 1 : 0);
        Note(L"RemoveThread", share.RemoveThread(1, false) ? 1 : 0);
        Note(L"RemoveThread", share.RemoveThread(1, false) ? 1 : 0);
        NoteHeldShareMutexes(m_name);
    }

    TraceCapture m_trace;
    ErrorTextStandIn m_errors;
    const unsigned m_id = GetCurrentProcessId();
    const std::wstring m_name = contract::ShareName(m_id);
    ClientShare m_client{m_id};
    ThreadSlot m_record{};
    unsigned char m_control[contract::c_controlBytes]{};
    FaultScenario m_scenario{
        m_trace,
        [this] { ChangeThreads(); },
        {{contract::KernelName(L""), L"{ns}"}, {m_name, L"{share}"}, {contract::PaddedHex(m_id), L"{id}"}}};
};

TEST_F(SystemFaultsInTheThreadTable, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(ThreadTableFaults());
}

// A mutex for which there is no memory is missing; nothing else is.
TEST_F(SystemFaultsInTheThreadTable, AnyRequestForMemoryMayFail)
{
    std::vector<FaultLines> ways = {{}};
    for (unsigned i = 0; i < 7; ++i)
        ways.push_back({L"-" + c_tableMutexes[i]});
    m_scenario.ExpectForEachRequest(ways);
}

// When memory ends before the name is made, there is no share. When it ends later, the mutexes from some index on
// are missing.
TEST_F(SystemFaultsInTheThreadTable, MemoryMayEnd)
{
    std::vector<FaultLines> ways = {{}};
    FaultLines missing;
    for (unsigned i = 7; i-- > 0;)
    {
        missing = FaultLines{L"-" + c_tableMutexes[i]} + missing;
        ways.push_back(missing);
    }
    for (const wchar_t* name : {L"(null)", L"(null){id}"})
        ways.push_back(Without({{L"CProxyMap::OpenMap Open Map Name: {share}\n"}}) + missing +
                       Without({c_threadWork}) +
                       With({{L"CProxyMap::OpenMap Open Map Name: " + std::wstring(name) + L"\n",
                              L"CProxyMap::OpenMap Open returned: <error 8>\n",
                              L"CProxyMap::Create create share " + std::wstring(name) + L" failed\n<error 8>\n"},
                             c_threadWorkRefused}));
    m_scenario.ExpectFromEachRequest(ways);
}

FaultTable PrivateDataFaults()
{
    FaultTable table = MappingRows();
    const FaultTable own = {
        {"CreateFileMappingW", 1, 1,
         FaultLines{L"-CProxyMap::Create created share {block} successfully \n",
                    L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Create 1",
                    L"+CProxySecManager::OrvPCreateFileMapping Failed with <error 1455>\n",
                    L"+CProxyMap::Create create share {block} failed\n<error 1455>\n", L"+= Create 0"} +
             c_noBlock},
        {"CreateMutexW",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 1450>\n", L"-= LockData 1",
          L"+= LockData 0"}},
        {"MapViewOfFile",
         1,
         1,
         {L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Create 1", L"+= Create 0",
          L"-= LockData 1", L"-= SetText 1", L"+= LockData 0", L"+= SetText 0", L"-= text text", L"+= text (null)"}},
        {"MapViewOfFile",
         2,
         2,
         {L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Open 1", L"-= LockData 1",
          L"-= SetText 1", L"+CProxyMap::Open failed to open share {block}\n<error 8>\n", L"+= Open 0",
          L"+= LockData 0", L"+= SetText 0"}},
        {"OpenFileMappingW",
         1,
         1,
         {L"-CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
          L"-CProxyMap::OpenMap Open returned: <error 2>\n",
          L"+CProxySecManager::OrvPOpenFileMapping Failed with <error 5>\n",
          L"+CProxyMap::OpenMap Open returned: <error 5>\n"}},
        {"OpenFileMappingW",
         2,
         2,
         {L"-CProxyMap::Open opened share {block} successfully\n",
          L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Open 1", L"-= LockData 1",
          L"-= SetText 1", L"+CProxySecManager::OrvPOpenFileMapping Failed with <error 5>\n",
          L"+CProxyMap::OpenMap Open returned: <error 5>\n",
          L"+CProxyMap::Open failed to open share {block}\n<error 5>\n", L"+= Open 0", L"+= LockData 0",
          L"+= SetText 0"}},
        {"VirtualQuery", 1, 1,
         FaultLines{L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Create 1",
                    L"+CProxyPrivate::OnMapped share {block} is smaller than 18376 bytes\n", L"+= Create 0"} +
             c_noBlock},
        {"VirtualQuery",
         2,
         2,
         {L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Open 1", L"-= LockData 1",
          L"-= SetText 1", L"+CProxyPrivate::OnMapped share {block} is smaller than 18376 bytes\n",
          L"+CProxyMap::Open failed to open share {block}\n<error 87>\n", L"+= Open 0", L"+= LockData 0",
          L"+= SetText 0"}},
        {"WaitForSingleObject", 1, c_lastCall, {L"-= LockData 1", L"+= LockData 0"}},
        {"ReleaseMutex", 1, c_lastCall, {}},
        {"FormatMessageW",
         1,
         1,
         {L"-CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
          L"+CProxySecManager::OrvPOpenFileMapping Failed with \n"}},
        {"FormatMessageW",
         2,
         2,
         {L"-CProxyMap::OpenMap Open returned: <error 2>\n", L"+CProxyMap::OpenMap Open returned: \n"}},
    };
    table.insert(table.end(), own.begin(), own.end());
    return table;
}

class SystemFaultsInPrivateData : public testing::Test
{
protected:
    void CreateAndOpen()
    {
        CProxyPrivate creator(m_base.c_str());
        Note(L"Create", creator.Create(m_id, 100) ? 1 : 0);
        CProxyPrivate opener(m_base.c_str());
        Note(L"Open", opener.Open(m_id) ? 1 : 0);
        for (CProxyPrivate* const data : {&creator, &opener})
        {
            Note(L"LockData", data->LockData() != nullptr ? 1 : 0);
            Note(L"SetText", data->SetText(L"text") ? 1 : 0);
            data->UnlockData();
        }
        Note(L"text", creator.GetText());
        NoteIfHeld(m_mutex);
    }

    TraceCapture m_trace;
    ErrorTextStandIn m_errors;
    const unsigned m_id = GetCurrentProcessId();
    const std::wstring m_mutex = contract::KernelName(L"AgentDataMutex");
    const std::wstring m_base = FreshName(L"OrvFault");
    FaultScenario m_scenario{m_trace,
                             [this] { CreateAndOpen(); },
                             {{contract::KernelName(L""), L"{ns}"},
                              {m_base + contract::PaddedHex(m_id), L"{block}"},
                              {contract::PaddedHex(m_id), L"{id}"}}};
};

TEST_F(SystemFaultsInPrivateData, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(PrivateDataFaults());
}

TEST_F(SystemFaultsInPrivateData, AnyRequestForMemoryMayFail)
{
    m_scenario.ExpectForEachRequest({
        {},
        {L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= LockData 1", L"+= LockData 0"},
    });
}

TEST_F(SystemFaultsInPrivateData, MemoryMayEnd)
{
    m_scenario.ExpectFromEachRequest({
        {},
        WithoutName(L"(null)"),
        WithoutName(L"(null){id}"),
        {L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n",
         L"-CProxyMap::OpenMap Open Map Name: {block}\n", L"-CProxyMap::Open opened share {block} successfully\n",
         L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Open 1", L"-= LockData 1",
         L"-= SetText 1", L"-= LockData 1", L"+CProxyMap::OpenMap Open Map Name: (null)\n",
         L"+CProxyMap::OpenMap Open returned: <error 8>\n",
         L"+CProxyMap::Open failed to open share (null)\n<error 8>\n", L"+= Open 0", L"+= LockData 0",
         L"+= LockData 0", L"+= SetText 0"},
        {L"-CProxyMap::OpenMap Open Map Name: {block}\n", L"-CProxyMap::Open opened share {block} successfully\n",
         L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Open 1", L"-= LockData 1",
         L"-= SetText 1", L"+CProxyMap::OpenMap Open Map Name: (null)\n",
         L"+CProxyMap::OpenMap Open returned: <error 8>\n",
         L"+CProxyMap::Open failed to open share (null)\n<error 8>\n", L"+= Open 0", L"+= LockData 0",
         L"+= SetText 0"},
        {L"-CProxyMap::OpenMap Open Map Name: {block}\n", L"-CProxyMap::Open opened share {block} successfully\n",
         L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= Open 1", L"-= LockData 1",
         L"-= SetText 1", L"+CProxyMap::OpenMap Open Map Name: (null){id}\n",
         L"+CProxyMap::OpenMap Open returned: <error 8>\n",
         L"+CProxyMap::Open failed to open share (null){id}\n<error 8>\n", L"+= Open 0", L"+= LockData 0",
         L"+= SetText 0"},
        {L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}AgentDataMutex\n", L"-= LockData 1", L"+= LockData 0"},
    });
}
