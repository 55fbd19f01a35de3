#include "OrvProfiler/objects/ProxyAccess.h"
#include "OrvProfiler/objects/ProxyEvent.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/faults/FaultScenario.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <gtest/gtest.h>

// The proxy events and the access lock, with each system call failing in turn.

namespace
{
// Plays the other side in a wait that pumps messages: answers that the command has failed.
DWORD WINAPI Respond(DWORD count, const HANDLE* handles, DWORD, DWORD, DWORD)
{
    constexpr DWORD notOk = 1;
    if (count != 2 || handles[0] == nullptr || handles[notOk] == nullptr)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    SetEvent(handles[notOk]);
    return WAIT_OBJECT_0 + notOk;
}

void NoteOpened(const wchar_t* what, HANDLE handle)
{
    const TestsOwn own;
    Note(what, handle != nullptr ? 1 : 0);
    if (handle != nullptr)
        CloseHandle(handle);
}

// A command and its response within one process.
void SignalAndWait(uint32_t id)
{
    CProxyEvent events(id);
    Note(L"Set", events.Set(8) ? 1 : 0);
    Note(L"IsSet", events.IsSet(8) ? 1 : 0);
    Note(L"Wait", events.Wait(8, 0, true));
    Note(L"IsSet", events.IsSet(8) ? 1 : 0);
    Note(L"Wait", events.Wait(8, 0, true));
    BitMask set;
    CProxyEvent::AddToSet(set, 3);
    CProxyEvent::AddToSet(set, 8);
    Note(L"SetQuietly", events.SetQuietly(3) ? 1 : 0);
    BitMask signalled = events.WaitForAny(set, 0);
    Note(L"WaitForAny", CProxyEvent::TakeFirst(signalled));
    Note(L"Respond", events.Respond(false) ? 1 : 0);
    Note(L"WaitForResponse", events.WaitForResponse(0) ? 1 : 0);
    Note(L"ResponseWasOk", events.ResponseWasOk() ? 1 : 0);
    events.ResetAll();
}
// The calls are fifty events, the ready event and the same fifty once more. What needs the missing event fails.
void AddEventRows(FaultTable& table)
{
    const std::wstring create = L"CProxySecManager::OrvPCreateEvent CreateEvent {ns}";
    const std::wstring failed = L" Failed\n<error 1450>\n";
    const struct
    {
        unsigned call;
        FaultLines changes;
    } needed[] = {
        {3,
         {L"-= SetQuietly 1", L"-= WaitForAny 3", L"+= SetQuietly 0", L"+CProxyEvent::DoWait <error 6>\n",
          L"+= WaitForAny 0"}},
        {8,
         {L"-= Set 1", L"-= IsSet 1", L"+= Set 0", L"+= IsSet 0",
          L"-CProxyEvent::Wait event PROXY_EVENT_ZEPH_STEPOUT signalled\n", L"-= Wait 0", L"+= Wait 4294967295",
          L"-CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_STEPOUT\n", L"-= Wait 258", L"+= Wait 4294967295",
          L"-= WaitForAny 3", L"+CProxyEvent::DoWait <error 6>\n", L"+= WaitForAny 0"}},
        {12,
         {L"-= Respond 1", L"-CProxyEvent::WaitForResponse failed\n\n", L"-= WaitForResponse 1", L"+= Respond 0",
          L"+CProxyEvent::DoWait <error 6>\n", L"+= WaitForResponse 0"}},
        {13,
         {L"-CProxyEvent::WaitForResponse failed\n\n", L"-= WaitForResponse 1", L"+CProxyEvent::DoWait <error 6>\n",
          L"+= WaitForResponse 0"}},
        {59, {L"-= OrvPOpenEvent 1", L"+= OrvPOpenEvent 0"}},
        {63, {L"-CProxyEvent::WaitForResponse failed\n\n", L"-= WaitForResponse 1", L"+= WaitForResponse 0"}},
        {64, {L"-CProxyEvent::WaitForResponse failed\n\n", L"-= WaitForResponse 1", L"+= WaitForResponse 0"}},
    };
    for (unsigned call = 1; call <= 101; ++call)
    {
        if (call == 51)
            continue;
        const std::wstring event = L"Event" + std::to_wstring(call < 51 ? call - 1 : call - 52) + L"_{id}";
        FaultRow row{"CreateEventW", call, call, {L"-" + create + event + L" succeeded \n"}};
        row.changes.push_back(L"+" + create + event + failed);
        row.changes.push_back(L"+CProxyEvent::Construct FAILED TO CREATE EVENT " + event + L"\n");
        for (const auto& need : needed)
        {
            if (need.call == call)
                row.changes.insert(row.changes.end(), need.changes.begin(), need.changes.end());
        }
        table.push_back(row);
    }
    table.push_back({"CreateEventW",
                     51,
                     51,
                     {L"-" + create + L"OrvPReady{id} succeeded \n", L"-= ReadyEvent 1",
                      L"+" + create + L"OrvPReady{id}" + failed, L"+= ReadyEvent 0"}});
}
} // namespace

FaultTable ProxyEventFaults()
{
    FaultTable table = {
        {"CreateMutexW",
         1,
         1,
         {L"-= Lock 1", L"+CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 1450>\n", L"+= Lock 0",
          L"-= OrvPOpenMutex 1", L"+CProxySecManager::OrvPOpenMutex Open Mutex Failed <error 2>\n",
          L"+= OrvPOpenMutex 0"}},
        {"OpenEventW", 1, 1, {L"-= OrvPOpenEvent 1", L"+= OrvPOpenEvent 0"}},
        {"OpenMutexW",
         1,
         1,
         {L"-= OrvPOpenMutex 1", L"+CProxySecManager::OrvPOpenMutex Open Mutex Failed <error 5>\n",
          L"+= OrvPOpenMutex 0"}},
        {"ResetEvent", 1, 2, {}},
        {"ResetEvent",
         3,
         3,
         {L"-= IsSet 0", L"+= IsSet 1", L"-CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_STEPOUT\n",
          L"-= Wait 258", L"+CProxyEvent::Wait event PROXY_EVENT_ZEPH_STEPOUT signalled\n", L"+= Wait 0"}},
        {"ResetEvent", 4, c_lastCall, {}},
        {"SetEvent",
         1,
         1,
         {L"-= Set 1", L"-= IsSet 1", L"+= Set 0", L"+= IsSet 0",
          L"-CProxyEvent::Wait event PROXY_EVENT_ZEPH_STEPOUT signalled\n", L"-= Wait 0",
          L"+CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_STEPOUT\n", L"+= Wait 258"}},
        {"SetEvent", 2, 2, {L"-= SetQuietly 1", L"-= WaitForAny 3", L"+= SetQuietly 0", L"+= WaitForAny 0"}},
        {"SetEvent",
         3,
         3,
         {L"-= Respond 1", L"-CProxyEvent::WaitForResponse failed\n\n", L"-= WaitForResponse 1", L"+= Respond 0",
          L"+= WaitForResponse 0"}},
        {"WaitForMultipleObjects",
         1,
         1,
         {L"-= WaitForAny 3", L"+CProxyEvent::DoWait <error 6>\n", L"+= WaitForAny 0"}},
        {"WaitForMultipleObjects",
         2,
         2,
         {L"-CProxyEvent::WaitForResponse failed\n\n", L"-= WaitForResponse 1", L"+CProxyEvent::DoWait <error 6>\n",
          L"+= WaitForResponse 0"}},
        {"WaitForSingleObject", 1, 1, {L"-= IsSet 1", L"+= IsSet 0"}},
        {"WaitForSingleObject",
         2,
         2,
         {L"+= Wait 4294967295", L"+= IsSet 1",
          L"+CProxyEvent::Wait waiting on event id:8 name:PROXY_EVENT_ZEPH_STEPOUT timeout:0\n", L"-= IsSet 0",
          L"-CProxyEvent::Wait waiting on event id:8 name:PROXY_EVENT_ZEPH_STEPOUT timeout:0\n",
          L"-CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_STEPOUT\n", L"-= Wait 258"}},
        {"WaitForSingleObject", 3, 3, {}},
        {"WaitForSingleObject",
         4,
         4,
         {L"-CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_STEPOUT\n", L"-= Wait 258", L"+= Wait 4294967295"}},
        {"WaitForSingleObject", 5, 5, {L"-= WaitForAny 3", L"+= WaitForAny 0"}},
        {"WaitForSingleObject", 6, 6, {}},
        {"WaitForSingleObject", 7, 7, {L"-= Lock 1", L"+= Lock 0"}},
        {"WaitForSingleObject", 8, c_lastCall, {}},
        {"CloseHandle", 1, c_lastCall, {}},
        {"ReleaseMutex", 1, 1, {}},
        {"GetTokenInformation",
         1,
         c_lastCall,
         {L"+CProxySecManager::GetSessionForProcess GetTokenInformation Failed\n<error 5>\n"}},
        {"InitializeSecurityDescriptor",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n"}},
        {"OpenProcess", 1, c_lastCall, {L"+CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 5>\n"}},
        {"OpenProcessToken",
         1,
         c_lastCall,
         {L"+CProxySecManager::GetSessionForProcess OpenProcessToken Failed\n<error 5>\n"}},
        {"SetSecurityDescriptorDacl",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n"}},
        {"MsgWaitForMultipleObjectsEx",
         1,
         1,
         {L"-CProxyEvent::WaitForResponse failed\n\n", L"-= WaitForResponse 1", L"+= WaitForResponse 0"}},
    };
    AddEventRows(table);
    return table;
}

class SystemFaultsInProxyEvents : public testing::Test
{
protected:
    SystemFaultsInProxyEvents()
        : m_window(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
    {
        EXPECT_NE(m_window, nullptr);
    }
    ~SystemFaultsInProxyEvents() override { DestroyWindow(m_window); }

    void Use() const
    {
        SignalAndWait(m_id);
        NoteOpened(L"ReadyEvent", CProxyEvent::ReadyEvent(m_id));
        {
            CProxyAccess access(0xFFFFFFFF, m_mutex.c_str());
            Note(L"Lock", access.Lock(0) ? 1 : 0);
            NoteOpened(L"OrvPOpenMutex", g_SecManager.OrvPOpenMutex(m_kernelMutex.c_str(), SYNCHRONIZE));
            Note(L"Unlock", access.Unlock() ? 1 : 0);
            NoteIfHeld(m_kernelMutex);
        }
        CProxyEvent pumping(m_id, m_window);
        NoteOpened(L"OrvPOpenEvent", g_SecManager.OrvPOpenEvent(0xFFFFFFFF, SYNCHRONIZE, m_event.c_str()));
        Note(L"WaitForResponse", pumping.WaitForResponse(60000) ? 1 : 0);
        Note(L"ResponseWasOk", pumping.ResponseWasOk() ? 1 : 0);
    }

    TraceCapture m_trace;
    ErrorTextStandIn m_errors;
    const unsigned m_id = GetCurrentProcessId();
    const std::wstring m_mutex = FreshName(L"OrvFaultMutex");
    const std::wstring m_kernelMutex = contract::KernelName(m_mutex);
    const std::wstring m_event = L"Event7_" + contract::PaddedHex(m_id);
    HWND m_window;
    Redirect<decltype(MsgWaitForMultipleObjectsEx)> m_wait{"MsgWaitForMultipleObjectsEx", Respond};
    FaultScenario m_scenario{m_trace,
                             [this] { Use(); },
                             {{contract::KernelName(L""), L"{ns}"},
                              {contract::PaddedHex(m_id), L"{id}"},
                              {L"OrvPReady" + std::to_wstring(m_id), L"OrvPReady{id}"},
                              {m_mutex, L"{mutex}"}}};
};

TEST_F(SystemFaultsInProxyEvents, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(ProxyEventFaults());
}

// A mask of events throws when there is no memory for it.
TEST_F(SystemFaultsInProxyEvents, AnyRequestForMemoryMayFail)
{
    m_scenario.ExpectForEachRequest({{},
                                     {L"= raised std::bad_alloc after: (nothing)"},
                                     {L"= raised std::bad_alloc after: = Wait 258"},
                                     {L"= raised std::bad_alloc after: = SetQuietly 1"},
                                     {L"= raised std::bad_alloc after: = Unlock 1"}});
}

TEST_F(SystemFaultsInProxyEvents, MemoryMayEnd)
{
    m_scenario.ExpectFromEachRequest(
        {{L"= raised std::bad_alloc after: (nothing)"},
         {L"= raised std::bad_alloc after: = Wait 258"},
         {L"= raised std::bad_alloc after: = SetQuietly 1"},
         {L"= raised std::bad_alloc after: = Unlock 1"},
         {L"-CProxySecManager::OrvPCreateMutex Create Mutex {ns}{mutex}\n", L"-= Lock 1", L"+= Lock 0",
          L"-= OrvPOpenMutex 1", L"+CProxySecManager::OrvPOpenMutex Open Mutex Failed <error 2>\n",
          L"+= OrvPOpenMutex 0", L"= raised std::bad_alloc after: = Unlock 1"}});
}
