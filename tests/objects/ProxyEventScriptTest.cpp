#include "OrvProfiler/objects/ProxyEvent.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <memory>

// What the proxy events ask of the system, in its order.

using contract::Join;

namespace
{
// Creates the fifty events, and closes them.
Script MakeEvents()
{
    Script script;
    for (unsigned i = 0; i < 50; ++i)
    {
        const std::wstring name = L"Local\\Event" + std::to_wstring(i) + L"_{set}";
        script.push_back(L"CreateEventW everybody 1 0 " + name);
        script.push_back(L"trace CProxySecManager::OrvPCreateEvent CreateEvent " + name + L" succeeded \n");
    }
    return script;
}

Script CloseEvents()
{
    Script script;
    for (unsigned i = 0; i < 50; ++i)
        script.push_back(L"CloseHandle Local\\Event" + std::to_wstring(i) + L"_{set}");
    return script;
}

// The flag lies behind the table of virtual functions, the window, the fifty handles and the two responses.
unsigned char ResponseFlagOf(const CProxyEvent& events)
{
    constexpr size_t flagOffset = 8 + 8 + 50 * 8 + 2 * 8;
    return *(reinterpret_cast<const volatile unsigned char*>(&events) + flagOffset);
}

class CProxyEventScript : public ScriptTest
{
protected:
    CProxyEventScript()
    {
        m_script.Rename(contract::PaddedHex(m_id), L"{set}");
        m_script.NameProcess(m_id, L"{id}");
        m_script.Clear();
    }
    ~CProxyEventScript() override
    {
        if (m_window != nullptr)
            DestroyWindow(m_window);
    }

    CProxyEvent& Events()
    {
        m_events = std::make_unique<CProxyEvent>(m_id, m_window);
        m_script.Clear();
        return *m_events;
    }

    CProxyEvent& EventsWithWindow()
    {
        m_window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        m_script.NameHandle(m_window, L"{window}");
        CProxyEvent& events = Events();
        // What came with the window's creation.
        MSG message;
        while (PeekMessageW(&message, m_window, 0, 0, PM_REMOVE) != FALSE)
            DispatchMessageW(&message);
        m_script.Clear();
        return events;
    }

    const uint32_t m_id = FreshId();
    HWND m_window = nullptr;
    std::unique_ptr<CProxyEvent> m_events;
};
} // namespace

TEST_F(CProxyEventScript, MakesTheFiftyEventsInTheirOrder)
{
    {
        const CProxyEvent events(m_id);
        EXPECT_TRUE(m_script.Is(Join({c_letEverybodyIn, c_askSession, MakeEvents()})));
    }
    EXPECT_TRUE(m_script.Is(CloseEvents()));
}

TEST_F(CProxyEventScript, ConstructClosesWhatThereWas)
{
    CProxyEvent& events = Events();
    events.Construct(m_id);
    EXPECT_TRUE(m_script.Is(Join({CloseEvents(), c_letEverybodyIn, c_askSession, MakeEvents()})));
}

TEST_F(CProxyEventScript, ConstructForgetsTheLastResponseBeforeItMakesTheEvents)
{
    CProxyEvent& events = Events();
    events.Set(13);
    EXPECT_TRUE(events.WaitForResponse(100));
    m_script.WatchState([&events] { return ResponseFlagOf(events) != 0 ? L"ok" : L"not ok"; });
    m_script.Clear();
    events.Construct(m_id);
    EXPECT_TRUE(m_script.Is(Join({CloseEvents(), {L"= not ok"}, c_letEverybodyIn, c_askSession, MakeEvents()})));
    m_script.WatchState(nullptr);
}

TEST_F(CProxyEventScript, SkipsAnEventThatIsMissing)
{
    m_script.Fail("CreateEventW", 2);
    m_events = std::make_unique<CProxyEvent>(m_id);
    Script steps = m_script.Steps();
    const Script missing = {L"CreateEventW everybody 1 0 Local\\Event1_{set} fails", L"FormatMessageW 1450",
                            L"trace CProxySecManager::OrvPCreateEvent CreateEvent Local\\Event1_{set} "
                            L"Failed\n<error 1450>\n",
                            L"trace CProxyEvent::Construct FAILED TO CREATE EVENT Event1_{set}\n",
                            L"CreateEventW everybody 1 0 Local\\Event2_{set}"};
    EXPECT_EQ(missing, Script(steps.begin() + 7, steps.begin() + 12));
    m_script.Clear();
    m_events.reset();
    Script closed = CloseEvents();
    closed.erase(closed.begin() + 1);
    EXPECT_TRUE(m_script.Is(closed));
}

TEST_F(CProxyEventScript, ACommandResetsTheResponsesFirst)
{
    CProxyEvent& events = Events();
    events.Set(5);
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Set PROXY_EVENT_ZEPH_RUN 5\n", L"ResetEvent Local\\Event12_{set}",
                             L"ResetEvent Local\\Event11_{set}", L"SetEvent Local\\Event4_{set}"}));
    events.SetQuietly(5);
    EXPECT_TRUE(m_script.Is(
        {L"ResetEvent Local\\Event12_{set}", L"ResetEvent Local\\Event11_{set}", L"SetEvent Local\\Event4_{set}"}));
    events.Set(13);
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Set PROXY_EVENT_OK 13\n", L"SetEvent Local\\Event12_{set}"}));
    events.Set(51);
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Set  51\n"}));
    events.SetQuietly(0);
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyEventScript, ResetsAndAsks)
{
    CProxyEvent& events = Events();
    events.Reset(7);
    EXPECT_TRUE(m_script.Is({L"ResetEvent Local\\Event6_{set}"}));
    events.Reset(51);
    EXPECT_TRUE(m_script.Is({}));
    events.IsSet(7);
    events.IsNotSet(8);
    EXPECT_TRUE(
        m_script.Is({L"WaitForSingleObject Local\\Event6_{set} 0", L"WaitForSingleObject Local\\Event7_{set} 0"}));
    events.ResetAll();
    Script all;
    for (unsigned i = 0; i < 50; ++i)
        all.push_back(L"ResetEvent Local\\Event" + std::to_wstring(i) + L"_{set}");
    EXPECT_TRUE(m_script.Is(all));
}

TEST_F(CProxyEventScript, WaitSaysWhatCameBeforeItResets)
{
    CProxyEvent& events = Events();
    events.Set(5);
    m_script.Clear();
    EXPECT_EQ(0U, events.Wait(5, 100, false));
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Wait waiting on event id:5 name:PROXY_EVENT_ZEPH_RUN timeout:100\n",
                             L"WaitForSingleObject Local\\Event4_{set} 100",
                             L"trace CProxyEvent::Wait event PROXY_EVENT_ZEPH_RUN signalled\n"}));
    EXPECT_EQ(0U, events.Wait(5, 100, true));
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Wait waiting on event id:5 name:PROXY_EVENT_ZEPH_RUN timeout:100\n",
                             L"WaitForSingleObject Local\\Event4_{set} 100",
                             L"trace CProxyEvent::Wait event PROXY_EVENT_ZEPH_RUN signalled\n",
                             L"ResetEvent Local\\Event4_{set}"}));
    EXPECT_EQ(258U, events.Wait(5, 0, true));
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Wait waiting on event id:5 name:PROXY_EVENT_ZEPH_RUN timeout:0\n",
                             L"WaitForSingleObject Local\\Event4_{set} 0",
                             L"trace CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_RUN\n"}));
    m_script.Fail("WaitForSingleObject");
    EXPECT_EQ(0xFFFFFFFF, events.Wait(5, INFINITE, true));
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Wait waiting on event id:5 name:PROXY_EVENT_ZEPH_RUN timeout:-1\n",
                             L"WaitForSingleObject Local\\Event4_{set} forever fails"}));
    EXPECT_EQ(128U, events.Wait(0, 100, true));
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyEventScript, WaitForAnyAsksForEachOfTheSet)
{
    CProxyEvent& events = Events();
    events.Set(3);
    events.Set(7);
    m_script.Clear();
    BitMask set;
    for (const int32_t number : {3, 5, 7})
        CProxyEvent::AddToSet(set, number);
    events.WaitForAny(set, 100);
    EXPECT_TRUE(
        m_script.Is({L"WaitForMultipleObjects 3 Local\\Event2_{set},Local\\Event4_{set},Local\\Event6_{set} 0 100",
                     L"WaitForSingleObject Local\\Event2_{set} 0", L"ResetEvent Local\\Event2_{set}",
                     L"WaitForSingleObject Local\\Event4_{set} 0", L"WaitForSingleObject Local\\Event6_{set} 0",
                     L"ResetEvent Local\\Event6_{set}"}));
    events.WaitForAny(set, 0);
    EXPECT_TRUE(
        m_script.Is({L"WaitForMultipleObjects 3 Local\\Event2_{set},Local\\Event4_{set},Local\\Event6_{set} 0 0"}));
    m_script.Fail("WaitForMultipleObjects");
    events.WaitForAny(set, 0);
    EXPECT_TRUE(m_script.Is(
        {L"WaitForMultipleObjects 3 Local\\Event2_{set},Local\\Event4_{set},Local\\Event6_{set} 0 0 fails",
         L"FormatMessageW 6", L"trace CProxyEvent::DoWait <error 6>\n"}));
}

TEST_F(CProxyEventScript, WaitForResponseSaysThatItFailedBeforeItRemembersIt)
{
    CProxyEvent& events = Events();
    events.Set(13);
    events.Set(12);
    m_script.Clear();
    EXPECT_TRUE(events.WaitForResponse(100));
    EXPECT_TRUE(m_script.Is({L"WaitForMultipleObjects 2 Local\\Event12_{set},Local\\Event11_{set} 0 100"}));
    events.ResponseWasOk();
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::ResponseWasOk  ok\n"}));
    events.Reset(13);
    m_script.Clear();
    EXPECT_TRUE(events.WaitForResponse(INFINITE));
    EXPECT_TRUE(m_script.Is({L"WaitForMultipleObjects 2 Local\\Event12_{set},Local\\Event11_{set} 0 forever",
                             L"trace CProxyEvent::WaitForResponse failed\n\n"}));
    events.ResponseWasOk();
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::ResponseWasOk  not ok\n"}));
    events.Reset(12);
    m_script.Clear();
    EXPECT_FALSE(events.WaitForResponse(0));
    EXPECT_TRUE(m_script.Is({L"WaitForMultipleObjects 2 Local\\Event12_{set},Local\\Event11_{set} 0 0"}));
}

TEST_F(CProxyEventScript, TheResponseFlagChangesAfterTheLine)
{
    CProxyEvent& events = Events();
    m_script.WatchState([&events] { return ResponseFlagOf(events) != 0 ? L"ok" : L"not ok"; });
    events.Set(13);
    m_script.Clear();
    EXPECT_TRUE(events.WaitForResponse(100));
    EXPECT_TRUE(m_script.Is({L"WaitForMultipleObjects 2 Local\\Event12_{set},Local\\Event11_{set} 0 100", L"= ok"}));
    events.Reset(13);
    events.Set(12);
    m_script.Clear();
    EXPECT_TRUE(events.WaitForResponse(100));
    EXPECT_TRUE(m_script.Is({L"WaitForMultipleObjects 2 Local\\Event12_{set},Local\\Event11_{set} 0 100",
                             L"trace CProxyEvent::WaitForResponse failed\n\n", L"= not ok"}));
}

TEST_F(CProxyEventScript, Responds)
{
    CProxyEvent& events = Events();
    events.Respond(true);
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Respond \n", L"trace CProxyEvent::Set PROXY_EVENT_OK 13\n",
                             L"SetEvent Local\\Event12_{set}"}));
    events.Respond(false);
    EXPECT_TRUE(m_script.Is({L"trace CProxyEvent::Respond \n", L"trace CProxyEvent::Set PROXY_EVENT_NOT_OK 12\n",
                             L"SetEvent Local\\Event11_{set}"}));
}

TEST_F(CProxyEventScript, TheWaitWithAWindowTestsBeforeItDispatchesAndBlocks)
{
    CProxyEvent& events = EventsWithWindow();
    m_script.Show("QueryPerformanceCounter");
    PostMessageW(m_window, WM_USER, 0, 0);
    m_script.Clear();
    // The first slice ends with the first response.
    const Redirect<DWORD(DWORD, const HANDLE*, DWORD, DWORD, DWORD)> wait(
        "MsgWaitForMultipleObjectsEx", [](DWORD count, const HANDLE* handles, DWORD, DWORD, DWORD) -> DWORD {
            SetEvent(handles[count - 1]);
            return 7;
        });
    m_script.Hide("SetEvent");
    m_script.Clear();
    EXPECT_TRUE(events.WaitForResponse(5000));
    EXPECT_TRUE(m_script.Is(
        {L"QueryPerformanceCounter", L"QueryPerformanceCounter", L"WaitForSingleObject Local\\Event12_{set} 0",
         L"WaitForSingleObject Local\\Event11_{set} 0", L"PeekMessageW {window} 1", L"TranslateMessage",
         L"DispatchMessageW", L"PeekMessageW {window} 1", L"QueryPerformanceCounter", L"QueryPerformanceCounter",
         L"WaitForSingleObject Local\\Event12_{set} 0", L"WaitForSingleObject Local\\Event11_{set} 0",
         L"ResetEvent Local\\Event11_{set}", L"QueryPerformanceCounter", L"QueryPerformanceCounter",
         L"trace CProxyEvent::WaitForResponse failed\n\n"}));
}

TEST_F(CProxyEventScript, TheWaitWithAWindowEndsWhenTheTimeIsOver)
{
    CProxyEvent& events = EventsWithWindow();
    m_script.Hide("CloseHandle");
    EXPECT_FALSE(events.WaitForResponse(0));
    const Script steps = m_script.Steps();
    ASSERT_GE(steps.size(), 2U);
    EXPECT_EQ(L"WaitForSingleObject Local\\Event12_{set} 0", steps[steps.size() - 2]);
    EXPECT_EQ(L"WaitForSingleObject Local\\Event11_{set} 0", steps.back());
    m_script.Clear();
    m_script.Fail("MsgWaitForMultipleObjectsEx");
    EXPECT_FALSE(events.WaitForResponse(INFINITE));
    EXPECT_TRUE(
        m_script.Is({L"WaitForSingleObject Local\\Event12_{set} 0", L"WaitForSingleObject Local\\Event11_{set} 0",
                     L"PeekMessageW {window} 1",
                     L"MsgWaitForMultipleObjectsEx 2 Local\\Event12_{set},Local\\Event11_{set} 200 140 0 fails"}));
}

TEST_F(CProxyEventScript, MakesTheReadyEvent)
{
    m_script.Rename(std::to_wstring(static_cast<int32_t>(m_id)), L"{number}");
    CloseHandle(CProxyEvent::ReadyEvent(m_id));
    EXPECT_TRUE(m_script.Is(
        Join({c_letEverybodyIn,
              c_askSession,
              {L"CreateEventW everybody 1 0 Local\\OrvPReady{number}",
               L"trace CProxySecManager::OrvPCreateEvent CreateEvent Local\\OrvPReady{number} succeeded \n",
               L"CloseHandle Local\\OrvPReady{number}"}})));
}

TEST_F(CProxyEventScript, NamesAndSetsAskForNothing)
{
    CProxyEvent& events = Events();
    BitMask set;
    CProxyEvent::AddToSet(set, 50);
    CProxyEvent::RemoveFromSet(set, 50);
    CProxyEvent::IsInSet(set, 50);
    CProxyEvent::TakeFirst(set);
    events.VerifyMask(set);
    CProxyEvent::EventName(1);
    CProxyEvent::KernelName(0, m_id);
    CProxyEvent::ServiceName(1);
    ProxyInstanceName(1);
    ClientInstanceName(1);
    EXPECT_TRUE(m_script.Is({}));
}
