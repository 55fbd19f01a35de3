#include "OrvProfiler/objects/WBEvent.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <memory>
#include <string>

// What the workbench's events ask of the system, in its order.

namespace
{
constexpr const wchar_t* c_names[] = {L"EV_STOP",       L"EV_LOAD",         L"EV_CREATE",      L"EV_INVOKE",
                                      L"EV_DELETE",     L"EV_RESET",        L"EV_SUCCESS",     L"EV_FAILED",
                                      L"EV_BREAKPOINT", L"EV_PROPERTY_GET", L"EV_PROPERTY_SET"};

class CWBEventScript : public ScriptTest
{
protected:
    CWBEventScript()
    {
        m_script.Rename(L"Local\\EV_", L"EV_");
        m_script.Rename(contract::Hex(m_id), L"");
        m_script.Clear();
    }

    CWBEvent& Events()
    {
        m_events = std::make_unique<CWBEvent>(m_id);
        m_script.WatchState([this] { return m_events != nullptr && m_events->IsWaiting() ? L"waiting" : L"awake"; });
        m_script.Clear();
        return *m_events;
    }

    // Makes the n-th event's handle null.
    CWBEvent& EventsWithout(unsigned n)
    {
        m_script.Fail("CreateEventW", n);
        return Events();
    }

    const uint32_t m_id = FreshId();
    std::unique_ptr<CWBEvent> m_events;
};

// A wait that ends with a result. It is made after the recorder, and lets it hear of the call.
class WaitStandIn
{
public:
    explicit WaitStandIn(DWORD result) : m_redirect("WaitForMultipleObjects", Wait)
    {
        s_result = result;
        s_real = m_redirect.Real();
    }

private:
    static DWORD Wait(DWORD count, const HANDLE* handles, int all, DWORD)
    {
        s_real(count, handles, all, 0);
        return s_result;
    }

    static inline DWORD s_result = 0;
    static inline decltype(&WaitForMultipleObjects) s_real = nullptr;
    Redirect<DWORD(DWORD, const HANDLE*, int, DWORD)> m_redirect;
};
} // namespace

TEST_F(CWBEventScript, MakesTheElevenEventsInTheirOrder)
{
    Script expected;
    for (const wchar_t* const name : c_names)
    {
        expected.push_back(L"CreateEventW default 1 0 " + std::wstring(name));
        expected.push_back(L"trace CProxySecManager::OrvPCreateEvent CreateEvent " + std::wstring(name) +
                           L" succeeded \n");
    }
    const CWBEvent events(m_id);
    EXPECT_TRUE(m_script.Is(expected));
}

TEST_F(CWBEventScript, GoesOnWithoutAnEvent)
{
    m_script.Fail("CreateEventW", 3);
    {
        const CWBEvent events(m_id);
        EXPECT_TRUE(
            m_script.Is({L"CreateEventW default 1 0 EV_STOP",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_STOP succeeded \n",
                         L"CreateEventW default 1 0 EV_LOAD",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_LOAD succeeded \n",
                         L"CreateEventW default 1 0 EV_CREATE fails",
                         L"FormatMessageW 1450",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_CREATE Failed\n<error 1450>\n",
                         L"CreateEventW default 1 0 EV_INVOKE",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_INVOKE succeeded \n",
                         L"CreateEventW default 1 0 EV_DELETE",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_DELETE succeeded \n",
                         L"CreateEventW default 1 0 EV_RESET",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_RESET succeeded \n",
                         L"CreateEventW default 1 0 EV_SUCCESS",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_SUCCESS succeeded \n",
                         L"CreateEventW default 1 0 EV_FAILED",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_FAILED succeeded \n",
                         L"CreateEventW default 1 0 EV_BREAKPOINT",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_BREAKPOINT succeeded \n",
                         L"CreateEventW default 1 0 EV_PROPERTY_GET",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_PROPERTY_GET succeeded \n",
                         L"CreateEventW default 1 0 EV_PROPERTY_SET",
                         L"trace CProxySecManager::OrvPCreateEvent CreateEvent EV_PROPERTY_SET succeeded \n"}));
    }
    EXPECT_TRUE(m_script.Is({L"CloseHandle EV_STOP", L"CloseHandle EV_LOAD", L"CloseHandle null",
                             L"CloseHandle EV_INVOKE", L"CloseHandle EV_DELETE", L"CloseHandle EV_RESET",
                             L"CloseHandle EV_SUCCESS", L"CloseHandle EV_FAILED", L"CloseHandle EV_BREAKPOINT",
                             L"CloseHandle EV_PROPERTY_GET", L"CloseHandle EV_PROPERTY_SET"}));
}

TEST_F(CWBEventScript, Sets)
{
    CWBEvent& events = EventsWithout(4);
    events.Set(1);
    EXPECT_TRUE(m_script.Is({L"SetEvent EV_LOAD"}));
    events.Set(3);
    EXPECT_TRUE(m_script.Is({L"SetEvent null", L"trace CWBEvent::Set Failed to set event EV_INVOKE\n"}));
    events.Set(11);
    EXPECT_TRUE(m_script.Is({L"trace CWBEvent::Set bad id in set event \n\n"}));
}

TEST_F(CWBEventScript, Resets)
{
    CWBEvent& events = EventsWithout(4);
    events.Reset(1);
    EXPECT_TRUE(m_script.Is({L"ResetEvent EV_LOAD"}));
    events.Reset(3);
    EXPECT_TRUE(m_script.Is({L"ResetEvent null", L"trace CWBEvent::Reset Failed to reset event EV_INVOKE\n"}));
    events.Reset(11);
    EXPECT_TRUE(m_script.Is({L"trace CWBEvent::Reset bad id in reset event\n\n"}));
}

TEST_F(CWBEventScript, ResetsAllInTheirOrder)
{
    CWBEvent& events = Events();
    events.ResetAll();
    EXPECT_TRUE(
        m_script.Is({L"trace CWBEvent::ResetAll \n", L"ResetEvent EV_STOP", L"ResetEvent EV_LOAD",
                     L"ResetEvent EV_CREATE", L"ResetEvent EV_INVOKE", L"ResetEvent EV_DELETE",
                     L"ResetEvent EV_RESET", L"ResetEvent EV_SUCCESS", L"ResetEvent EV_FAILED",
                     L"ResetEvent EV_BREAKPOINT", L"ResetEvent EV_PROPERTY_GET", L"ResetEvent EV_PROPERTY_SET"}));
}

TEST_F(CWBEventScript, WaitResetsWhatHasWokenItBeforeItSaysSo)
{
    CWBEvent& events = Events();
    events.Set(2);
    m_script.Clear();
    uint32_t index = 0;
    EXPECT_EQ(1U, events.Wait(&index, 8, 10000));
    EXPECT_TRUE(m_script.Is({L"= waiting", L"trace CWBEvent::Wait Waiting\n\n",
                             L"WaitForMultipleObjects 8 "
                             L"EV_STOP,EV_LOAD,EV_CREATE,EV_INVOKE,EV_DELETE,EV_RESET,EV_SUCCESS,EV_FAILED 0 10000",
                             L"= awake", L"ResetEvent EV_CREATE", L"trace CWBEvent::Wait Event is EV_CREATE\n"}));
}

TEST_F(CWBEventScript, WaitSaysThatTheTimeIsOver)
{
    CWBEvent& events = Events();
    uint32_t index = 0;
    EXPECT_EQ(258U, events.Wait(&index, 8, 0));
    EXPECT_TRUE(m_script.Is(
        {L"= waiting", L"trace CWBEvent::Wait Waiting\n\n",
         L"WaitForMultipleObjects 8 EV_STOP,EV_LOAD,EV_CREATE,EV_INVOKE,EV_DELETE,EV_RESET,EV_SUCCESS,EV_FAILED 0 0",
         L"= awake", L"trace CWBEvent::Wait Timeout\n\n"}));
}

TEST_F(CWBEventScript, WaitSaysThatItFailed)
{
    CWBEvent& events = EventsWithout(1);
    uint32_t index = 0;
    EXPECT_EQ(0U, events.Wait(&index, 8, 10000));
    EXPECT_TRUE(m_script.Is(
        {L"= waiting", L"trace CWBEvent::Wait Waiting\n\n",
         L"WaitForMultipleObjects 8 null,EV_LOAD,EV_CREATE,EV_INVOKE,EV_DELETE,EV_RESET,EV_SUCCESS,EV_FAILED 0 10000",
         L"= awake", L"trace CWBEvent::Wait Error\n\n"}));
    EXPECT_EQ(0U, events.Wait(&index, 12, 10000));
    EXPECT_TRUE(m_script.Is(
        {L"= waiting", L"trace CWBEvent::Wait Waiting\n\n", L"= awake", L"trace CWBEvent::Wait Error\n\n"}));
}

TEST_F(CWBEventScript, WaitSaysThatAnEventIsAbandoned)
{
    const WaitStandIn wait(WAIT_ABANDONED_0 + 3);
    CWBEvent& events = Events();
    uint32_t index = 0;
    EXPECT_EQ(2U, events.Wait(&index, 8, 10000));
    EXPECT_EQ(3U, index);
    EXPECT_TRUE(m_script.Is(
        {L"= waiting", L"trace CWBEvent::Wait Waiting\n\n",
         L"WaitForMultipleObjects 8 EV_STOP,EV_LOAD,EV_CREATE,EV_INVOKE,EV_DELETE,EV_RESET,EV_SUCCESS,EV_FAILED 0 0",
         L"= awake", L"trace CWBEvent::Wait Abandoned\n\n"}));
}

TEST_F(CWBEventScript, WaitSaysThatAnEventIsAbandonedBeforeItStoresWhich)
{
    const WaitStandIn wait(WAIT_ABANDONED_0 + 3);
    CWBEvent& events = Events();
    uint32_t index = 0;
    m_script.WatchState([&index] { return L"index " + std::to_wstring(index); });
    m_script.Clear();
    events.Wait(&index, 8, 10000);
    EXPECT_TRUE(m_script.Is(
        {L"trace CWBEvent::Wait Waiting\n\n",
         L"WaitForMultipleObjects 8 EV_STOP,EV_LOAD,EV_CREATE,EV_INVOKE,EV_DELETE,EV_RESET,EV_SUCCESS,EV_FAILED 0 0",
         L"= index 131", L"trace CWBEvent::Wait Abandoned\n\n", L"= index 3"}));
    m_script.WatchState(nullptr);
}

TEST_F(CWBEventScript, GetResponseSaysWhatCameBeforeItResets)
{
    CWBEvent& events = Events();
    for (uint32_t response = 8; response <= 10; ++response)
        events.Set(response);
    m_script.Clear();
    EXPECT_EQ(8U, events.GetResponse(INFINITE));
    EXPECT_TRUE(m_script.Is({L"= waiting", L"trace CWBEvent::GetResponse Waiting\n\n",
                             L"WaitForMultipleObjects 3 EV_BREAKPOINT,EV_PROPERTY_GET,EV_PROPERTY_SET 0 forever",
                             L"= awake", L"trace CWBEvent::GetResponse Success\n\n", L"ResetEvent EV_BREAKPOINT"}));
    EXPECT_EQ(9U, events.GetResponse(5));
    EXPECT_TRUE(m_script.Is({L"= waiting", L"trace CWBEvent::GetResponse Waiting\n\n",
                             L"WaitForMultipleObjects 3 EV_BREAKPOINT,EV_PROPERTY_GET,EV_PROPERTY_SET 0 5",
                             L"= awake", L"trace CWBEvent::GetResponse Failed\n\n", L"ResetEvent EV_PROPERTY_GET"}));
    EXPECT_EQ(10U, events.GetResponse(5));
    EXPECT_TRUE(
        m_script.Is({L"= waiting", L"trace CWBEvent::GetResponse Waiting\n\n",
                     L"WaitForMultipleObjects 3 EV_BREAKPOINT,EV_PROPERTY_GET,EV_PROPERTY_SET 0 5", L"= awake",
                     L"trace CWBEvent::GetResponse Breakpoint\n\n", L"ResetEvent EV_PROPERTY_SET"}));
    EXPECT_EQ(258U, events.GetResponse(0));
    EXPECT_TRUE(m_script.Is({L"= waiting", L"trace CWBEvent::GetResponse Waiting\n\n",
                             L"WaitForMultipleObjects 3 EV_BREAKPOINT,EV_PROPERTY_GET,EV_PROPERTY_SET 0 0",
                             L"= awake", L"trace CWBEvent::GetResponse Timeout\n\n"}));
}

TEST_F(CWBEventScript, GetResponseSaysThatItFailed)
{
    CWBEvent& events = EventsWithout(9);
    EXPECT_EQ(0xFFFFFFFF, events.GetResponse(5));
    EXPECT_TRUE(m_script.Is({L"= waiting", L"trace CWBEvent::GetResponse Waiting\n\n",
                             L"WaitForMultipleObjects 3 null,EV_PROPERTY_GET,EV_PROPERTY_SET 0 5", L"= awake",
                             L"trace CWBEvent::GetResponse Error\n\n"}));
}

TEST_F(CWBEventScript, GetResponseSaysThatAnEventIsAbandoned)
{
    const WaitStandIn wait(WAIT_ABANDONED_0 + 2);
    CWBEvent& events = Events();
    EXPECT_EQ(0xFFFFFFFF, events.GetResponse(5));
    EXPECT_TRUE(m_script.Is(
        {L"= waiting", L"trace CWBEvent::GetResponse Waiting\n\n",
         L"WaitForMultipleObjects 3 EV_BREAKPOINT,EV_PROPERTY_GET,EV_PROPERTY_SET 0 0", L"= awake",
         L"trace CWBEvent::GetResponse Event abandoned, other client holding the event has probably exited\n\n"}));
}
