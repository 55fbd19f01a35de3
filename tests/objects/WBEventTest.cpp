#include "OrvProfiler/objects/WBEvent.h"

#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/CreateEventStandIn.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ManagerIn.h"
#include "tests/support/worlds/NamedObjects.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <gmock/gmock.h>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
// What the index holds before the call, to show whether the call writes it.
constexpr uint32_t c_nothing = 0x5A5A5A5A;

std::wstring KernelName(uint32_t index, uint32_t id)
{
    return contract::LocalName(contract::EventName(index, id));
}

// The indices whose events are signalled.
std::set<uint32_t> Signalled(uint32_t id)
{
    std::set<uint32_t> signalled;
    for (uint32_t i = 0; i < 11; ++i)
    {
        if (IsSignalled(KernelName(i, id)))
            signalled.insert(i);
    }
    return signalled;
}
} // namespace

TEST(CWBEvent, NamesAreTheTableNameAndTheIdInHexadecimal)
{
    EXPECT_STREQ(L"EV_STOP1a2b", CWBEvent::EventName(0, 0x1A2B));
    EXPECT_STREQ(L"EV_LOAD1a2b", CWBEvent::EventName(1, 0x1A2B));
    EXPECT_STREQ(L"EV_CREATE1a2b", CWBEvent::EventName(2, 0x1A2B));
    EXPECT_STREQ(L"EV_INVOKE1a2b", CWBEvent::EventName(3, 0x1A2B));
    EXPECT_STREQ(L"EV_DELETE1a2b", CWBEvent::EventName(4, 0x1A2B));
    EXPECT_STREQ(L"EV_RESET1a2b", CWBEvent::EventName(5, 0x1A2B));
    EXPECT_STREQ(L"EV_SUCCESS1a2b", CWBEvent::EventName(6, 0x1A2B));
    EXPECT_STREQ(L"EV_FAILED1a2b", CWBEvent::EventName(7, 0x1A2B));
    EXPECT_STREQ(L"EV_BREAKPOINT1a2b", CWBEvent::EventName(8, 0x1A2B));
    EXPECT_STREQ(L"EV_PROPERTY_GET1a2b", CWBEvent::EventName(9, 0x1A2B));
    EXPECT_STREQ(L"EV_PROPERTY_SET1a2b", CWBEvent::EventName(10, 0x1A2B));

    EXPECT_STREQ(L"EV_STOP0", CWBEvent::EventName(0, 0)) << "no padding";
    EXPECT_STREQ(L"EV_STOPabcd", CWBEvent::EventName(0, 0xABCD));
    EXPECT_STREQ(L"EV_PROPERTY_SETffffffff", CWBEvent::EventName(10, 4294967295U));
}

TEST(CWBEvent, NameOfAnIndexOutsideTheTableIsEmpty)
{
    for (const int32_t index : {-1, 11, 12, 128, INT_MIN, INT_MAX})
        EXPECT_STREQ(L"", CWBEvent::EventName(index, 0x1A2B)) << index;
}

TEST(CWBEvent, IndicesAndRolesAreFixed)
{
    EXPECT_EQ(0U, EV_STOP);
    EXPECT_EQ(1U, EV_LOAD);
    EXPECT_EQ(2U, EV_CREATE);
    EXPECT_EQ(3U, EV_INVOKE);
    EXPECT_EQ(4U, EV_DELETE);
    EXPECT_EQ(5U, EV_RESET);
    EXPECT_EQ(6U, EV_SUCCESS);
    EXPECT_EQ(7U, EV_FAILED);
    EXPECT_EQ(8U, EV_BREAKPOINT);
    EXPECT_EQ(9U, EV_PROPERTY_GET);
    EXPECT_EQ(10U, EV_PROPERTY_SET);
    EXPECT_EQ(11U, c_workbenchEventCount);
    EXPECT_EQ(8U, c_workbenchCommandCount);
    EXPECT_EQ(6U, c_commandGetProperty);
    EXPECT_EQ(7U, c_commandSetProperty);
    EXPECT_EQ(8U, c_responseSuccess);
    EXPECT_EQ(9U, c_responseFailed);
    EXPECT_EQ(10U, c_responseBreakpoint);
}

TEST(CWBEvent, CreatesElevenManualResetEventsInTheOrderOfTheTable)
{
    const uint32_t id = FreshId();
    const CreateEventStandIn created;
    const TraceCapture trace;
    const CWBEvent events(id);
    EXPECT_THAT(trace.Lines(), ElementsAreArray(contract::EventLines(contract::LocalName(L""), contract::Hex(id))))
        << "no session is looked up";
    EXPECT_FALSE(events.IsWaiting());
    ASSERT_THAT(created.Calls(), SizeIs(11));
    for (uint32_t i = 0; i < 11; ++i)
    {
        const CreateEventStandIn::Call& call = created.Calls()[i];
        EXPECT_EQ(KernelName(i, id), call.kernelName);
        EXPECT_TRUE(call.manualReset);
        EXPECT_FALSE(call.initialState);
        EXPECT_FALSE(call.hasAttributes);
    }
    EXPECT_THAT(Signalled(id), IsEmpty());
}

TEST(CWBEvent, SetSignalsTheEventOfTheIndexAloneAndSaysNothing)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    const TraceCapture trace;
    for (uint32_t i = 0; i < 11; ++i)
    {
        EXPECT_EQ(1U, events.Set(i));
        EXPECT_THAT(Signalled(id), ElementsAre(i));
        EXPECT_EQ(1U, events.Set(i)) << "a second time is fine";
        EXPECT_EQ(1U, events.Reset(i));
        EXPECT_THAT(Signalled(id), IsEmpty());
        EXPECT_EQ(1U, events.Reset(i));
    }
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CWBEvent, BadIndicesAreTracedAndRefused)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    for (const uint32_t index : {11U, 12U, 128U, 0x80000000U, 0xFFFFFFFFU})
    {
        const TraceCapture trace;
        EXPECT_EQ(0U, events.Set(index));
        EXPECT_EQ(0U, events.Reset(index));
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::Set bad id in set event \n\n",
                                               L"CWBEvent::Reset bad id in reset event\n\n"));
    }
    EXPECT_THAT(Signalled(id), IsEmpty());
}

TEST(CWBEvent, FailingSystemCallsAreTracedWithTheTableName)
{
    CWBEvent events(FreshId());
    const TraceCapture trace;
    {
        const FailingCall<decltype(SetEvent)> setEvent("SetEvent", ERROR_INVALID_HANDLE);
        EXPECT_EQ(0U, events.Set(0));
        EXPECT_EQ(0U, events.Set(6));
        EXPECT_EQ(0U, events.Set(10));
    }
    {
        const FailingCall<decltype(ResetEvent)> resetEvent("ResetEvent", ERROR_INVALID_HANDLE);
        EXPECT_EQ(0U, events.Reset(1));
        EXPECT_EQ(0U, events.Reset(9));
    }
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::Set Failed to set event EV_STOP\n",
                                           L"CWBEvent::Set Failed to set event EV_SUCCESS\n",
                                           L"CWBEvent::Set Failed to set event EV_PROPERTY_SET\n",
                                           L"CWBEvent::Reset Failed to reset event EV_LOAD\n",
                                           L"CWBEvent::Reset Failed to reset event EV_PROPERTY_GET\n"));
}

TEST(CWBEvent, ACreationThatFailsLeavesTheSlotEmptyAndGoesOn)
{
    const uint32_t id = FreshId();
    const ErrorTextStandIn texts;
    CreateEventStandIn created;
    created.Fail(KernelName(3, id), ERROR_ACCESS_DENIED);
    TraceCapture trace;
    CWBEvent events(id);
    std::vector<std::wstring> lines = contract::EventLines(contract::LocalName(L""), contract::Hex(id));
    lines[3] = L"CProxySecManager::OrvPCreateEvent CreateEvent " + KernelName(3, id) + L" Failed\n<error 5>\n";
    EXPECT_THAT(trace.Lines(), ElementsAreArray(lines));

    trace.Clear();
    EXPECT_EQ(0U, events.Set(3));
    EXPECT_EQ(0U, events.Reset(3));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::Set Failed to set event EV_INVOKE\n",
                                           L"CWBEvent::Reset Failed to reset event EV_INVOKE\n"));
    for (const uint32_t other : {0U, 2U, 4U, 10U})
        EXPECT_EQ(1U, events.Set(other)) << other;
    EXPECT_THAT(Signalled(id), ElementsAre(0U, 2U, 4U, 10U));
}

TEST(CWBEvent, ResetAllResetsAllElevenAfterOneEmptyLine)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    for (uint32_t i = 0; i < 11; ++i)
        events.Set(i);
    ASSERT_THAT(Signalled(id), SizeIs(11));
    const TraceCapture trace;
    EXPECT_TRUE(events.ResetAll());
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::ResetAll \n"));
    EXPECT_THAT(Signalled(id), IsEmpty());
}

TEST(CWBEvent, ResetAllGoesOnAfterAFailureAndReportsIt)
{
    for (const uint32_t missing : {0U, 5U, 10U})
    {
        const uint32_t id = FreshId();
        CreateEventStandIn created;
        created.Fail(KernelName(missing, id), ERROR_ACCESS_DENIED);
        CWBEvent events(id);
        for (uint32_t i = 0; i < 11; ++i)
            events.Set(i);
        const TraceCapture trace;
        EXPECT_FALSE(events.ResetAll());
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(L"CWBEvent::ResetAll \n", L"CWBEvent::Reset Failed to reset event " +
                                                              std::wstring(contract::c_eventNames[missing]) + L"\n"));
        EXPECT_THAT(Signalled(id), IsEmpty());
    }
}

TEST(CWBEvent, WaitReportsTheSlotAndHasResetIt)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    for (uint32_t i = 0; i < 11; ++i)
    {
        events.Set(i);
        uint32_t index = c_nothing;
        const TraceCapture trace;
        EXPECT_EQ(1U, events.Wait(&index, 11, 0));
        EXPECT_EQ(i, index);
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(L"CWBEvent::Wait Waiting\n\n",
                                L"CWBEvent::Wait Event is " + std::wstring(contract::c_eventNames[i]) + L"\n"));
        EXPECT_THAT(Signalled(id), IsEmpty());
        EXPECT_FALSE(events.IsWaiting());
    }
}

TEST(CWBEvent, StopTakesPrecedenceOverAPendingCommand)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    events.Set(1);
    events.Set(0);
    uint32_t index = c_nothing;
    EXPECT_EQ(1U, events.Wait(&index, 8, 0));
    EXPECT_EQ(0U, index);
    EXPECT_THAT(Signalled(id), ElementsAre(1U)) << "the other one stays signalled";
    EXPECT_EQ(1U, events.Wait(&index, 8, 0));
    EXPECT_EQ(1U, index);
    EXPECT_EQ(258U, events.Wait(&index, 8, 0));
}

TEST(CWBEvent, WaitLooksAtTheLeadingSlotsOnly)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    for (const uint32_t count : {1U, 8U, 10U})
    {
        events.Set(count);
        uint32_t index = c_nothing;
        EXPECT_EQ(258U, events.Wait(&index, count, 0)) << count;
        EXPECT_EQ(1U, events.Wait(&index, count + 1, 0)) << count;
        EXPECT_EQ(count, index);
    }
}

TEST(CWBEvent, WaitReportsTheTimeOut)
{
    CWBEvent events(FreshId());
    for (const DWORD timeoutMs : {0U, 20U})
    {
        uint32_t index = c_nothing;
        const TraceCapture trace;
        EXPECT_EQ(258U, events.Wait(&index, 8, timeoutMs));
        EXPECT_EQ(258U, index);
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Wait Timeout\n\n"));
    }
}

TEST(CWBEvent, WaitPassesItsArgumentsOn)
{
    CWBEvent events(FreshId());
    const FailingCall<decltype(WaitForMultipleObjects)> wait("WaitForMultipleObjects", ERROR_INVALID_PARAMETER);
    uint32_t index = c_nothing;
    events.Wait(&index, 8, 10000);
    events.GetResponse(4000);
    ASSERT_THAT(wait.Calls(), SizeIs(2));
    const auto& [count, handles, all, timeoutMs] = wait.Calls()[0];
    EXPECT_EQ(8U, count);
    EXPECT_EQ(FALSE, all);
    EXPECT_EQ(10000U, timeoutMs);
    const auto& [responses, responseHandles, allResponses, responseTimeoutMs] = wait.Calls()[1];
    EXPECT_EQ(3U, responses);
    EXPECT_EQ(handles + 8, responseHandles);
    EXPECT_EQ(FALSE, allResponses);
    EXPECT_EQ(4000U, responseTimeoutMs);
}

TEST(CWBEvent, WaitReportsAnAbandonedSlotAndDoesNotResetIt)
{
    struct Row
    {
        uint32_t slot;
        uint32_t count;
    };
    for (const Row& row : {Row{3, 8}, Row{0, 1}, Row{7, 8}, Row{10, 11}})
    {
        const uint32_t id = FreshId();
        CreateEventStandIn created;
        created.Give(KernelName(row.slot, id), MakeAbandonedMutex());
        CWBEvent events(id);
        const CallRecorder<decltype(ResetEvent)> resetEvent("ResetEvent");
        uint32_t index = c_nothing;
        const TraceCapture trace;
        EXPECT_EQ(2U, events.Wait(&index, row.count, 0)) << row.slot;
        EXPECT_EQ(row.slot, index);
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Wait Abandoned\n\n"));
        EXPECT_THAT(resetEvent.Calls(), IsEmpty());
        EXPECT_FALSE(events.IsWaiting());
    }
}

TEST(CWBEvent, AWaitResultThatIsNoSlotIsAnError)
{
    static DWORD answer;
    CWBEvent events(FreshId());
    const Redirect<decltype(WaitForMultipleObjects)> wait("WaitForMultipleObjects",
                                                          [](DWORD, const HANDLE*, BOOL, DWORD) { return answer; });
    for (const DWORD result : {3UL, 127UL, 131UL, 257UL, 0xFFFFFFFFUL})
    {
        answer = result;
        uint32_t index = c_nothing;
        const TraceCapture trace;
        EXPECT_EQ(0U, events.Wait(&index, 3, 0)) << result;
        EXPECT_EQ(0xFFFFFFFFU, events.GetResponse(0)) << result;
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Wait Error\n\n",
                                L"CWBEvent::GetResponse Waiting\n\n", L"CWBEvent::GetResponse Error\n\n"));
    }
}

TEST(CWBEvent, ALowerSlotThatIsSignalledIsReportedBeforeAnAbandonedOne)
{
    const uint32_t id = FreshId();
    CreateEventStandIn created;
    created.Give(KernelName(3, id), MakeAbandonedMutex());
    CWBEvent events(id);
    events.Set(2);
    events.Set(4);
    uint32_t index = c_nothing;
    EXPECT_EQ(1U, events.Wait(&index, 8, 0));
    EXPECT_EQ(2U, index);
    EXPECT_EQ(2U, events.Wait(&index, 8, 0));
    EXPECT_EQ(3U, index);
}

ORV_CHILD_ROLE(HoldForWait)
{
    HANDLE const mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, arguments.at(0).c_str());
    if (mutex == nullptr || WaitForSingleObject(mutex, 0) != WAIT_OBJECT_0)
        return 1;
    Meeting(arguments.at(1)).Signal();
    Sleep(INFINITE);
    return 2;
}

TEST(CWBEvent, WaitReportsTheDeathOfTheProcessThatHeldASlot)
{
    const uint32_t id = FreshId();
    const std::wstring mutexName = FreshName(L"held");
    const std::wstring heldName = FreshName(L"holding");
    const Meeting held(heldName);
    CreateEventStandIn created;
    created.Give(KernelName(5, id), CreateMutexW(nullptr, FALSE, mutexName.c_str()));
    CWBEvent events(id);
    const ChildProcess child = ChildProcess::StartRole(L"HoldForWait", {mutexName, heldName});
    held.Wait();
    uint32_t index = c_nothing;
    EXPECT_EQ(258U, events.Wait(&index, 8, 0));
    child.Kill();
    EXPECT_EQ(2U, events.Wait(&index, 8, 30000));
    EXPECT_EQ(5U, index);
}

TEST(CWBEvent, WaitOverAMissingSlotIsAnError)
{
    const uint32_t id = FreshId();
    CreateEventStandIn created;
    created.Fail(KernelName(4, id), ERROR_ACCESS_DENIED);
    CWBEvent events(id);
    events.Set(0);
    uint32_t index = c_nothing;
    {
        const TraceCapture trace;
        EXPECT_EQ(0U, events.Wait(&index, 8, 0));
        EXPECT_EQ(0xFFFFFFFFU, index);
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Wait Error\n\n"));
    }
    EXPECT_EQ(1U, events.Wait(&index, 4, 0)) << "the slots before it can be waited for";
    EXPECT_EQ(0U, index);
}

TEST(CWBEvent, WaitOverAnImpossibleCountIsAnError)
{
    // Signalled handles lie behind the set, so that a wait which reads past its end succeeds and is seen.
    struct
    {
        CWBEvent events;
        HANDLE behind[60];
    } memory{CWBEvent(FreshId()), {}};
    CWBEvent& events = memory.events;
    HANDLE const other = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    std::fill(std::begin(memory.behind), std::end(memory.behind), other);
    for (uint32_t i = 0; i < 11; ++i)
        events.Set(i);
    for (const uint32_t count : {0U, 12U, 64U, 65U, 0xFFFFFFFFU})
    {
        uint32_t index = c_nothing;
        const TraceCapture trace;
        EXPECT_EQ(0U, events.Wait(&index, count, 0)) << count;
        EXPECT_EQ(0xFFFFFFFFU, index);
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Wait Error\n\n"));
        EXPECT_FALSE(events.IsWaiting());
    }
    CloseHandle(other);
}

TEST(CWBEvent, WaitReportsTheSlotEvenIfItCannotBeReset)
{
    CWBEvent events(FreshId());
    events.Set(2);
    const FailingCall<decltype(ResetEvent)> resetEvent("ResetEvent", ERROR_ACCESS_DENIED);
    uint32_t index = c_nothing;
    const TraceCapture trace;
    EXPECT_EQ(1U, events.Wait(&index, 8, 0));
    EXPECT_EQ(2U, index);
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Reset Failed to reset event EV_CREATE\n",
                            L"CWBEvent::Wait Event is EV_CREATE\n"));
}

TEST(CWBEvent, GetResponseReportsTheSlotAndHasResetIt)
{
    struct Row
    {
        uint32_t slot;
        const wchar_t* line;
    };
    constexpr Row rows[] = {
        {8, L"CWBEvent::GetResponse Success\n\n"},
        {9, L"CWBEvent::GetResponse Failed\n\n"},
        {10, L"CWBEvent::GetResponse Breakpoint\n\n"},
    };
    const uint32_t id = FreshId();
    CWBEvent events(id);
    for (const Row& row : rows)
    {
        events.Set(row.slot);
        const TraceCapture trace;
        EXPECT_EQ(row.slot, events.GetResponse(0));
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::GetResponse Waiting\n\n", row.line));
        EXPECT_THAT(Signalled(id), IsEmpty());
    }
    EXPECT_FALSE(events.IsWaiting());
}

TEST(CWBEvent, GetResponseTracesBeforeItResets)
{
    CWBEvent events(FreshId());
    events.Set(9);
    const FailingCall<decltype(ResetEvent)> resetEvent("ResetEvent", ERROR_ACCESS_DENIED);
    const TraceCapture trace;
    EXPECT_EQ(9U, events.GetResponse(0));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CWBEvent::GetResponse Waiting\n\n", L"CWBEvent::GetResponse Failed\n\n",
                                           L"CWBEvent::Reset Failed to reset event EV_PROPERTY_GET\n"));
}

TEST(CWBEvent, GetResponseReportsTheLowestOfSeveral)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    for (const uint32_t slot : {10U, 9U, 8U})
        events.Set(slot);
    EXPECT_EQ(8U, events.GetResponse(0));
    EXPECT_THAT(Signalled(id), ElementsAre(9U, 10U));
    EXPECT_EQ(9U, events.GetResponse(0));
    EXPECT_EQ(10U, events.GetResponse(0));
    EXPECT_EQ(258U, events.GetResponse(0));
}

TEST(CWBEvent, GetResponseIsNotWokenByCommands)
{
    const uint32_t id = FreshId();
    CWBEvent events(id);
    for (uint32_t i = 0; i < 8; ++i)
        events.Set(i);
    const TraceCapture trace;
    EXPECT_EQ(258U, events.GetResponse(20));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CWBEvent::GetResponse Waiting\n\n", L"CWBEvent::GetResponse Timeout\n\n"));
    EXPECT_THAT(Signalled(id), SizeIs(8));
}

TEST(CWBEvent, GetResponseReportsAnAbandonedEvent)
{
    for (const uint32_t slot : {8U, 9U, 10U})
    {
        const uint32_t id = FreshId();
        CreateEventStandIn created;
        created.Give(KernelName(slot, id), MakeAbandonedMutex());
        CWBEvent events(id);
        const CallRecorder<decltype(ResetEvent)> resetEvent("ResetEvent");
        const TraceCapture trace;
        EXPECT_EQ(0xFFFFFFFFU, events.GetResponse(0)) << slot;
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(L"CWBEvent::GetResponse Waiting\n\n",
                                L"CWBEvent::GetResponse Event abandoned, other client holding the event has probably "
                                L"exited\n\n"));
        EXPECT_THAT(resetEvent.Calls(), IsEmpty());
    }
}

TEST(CWBEvent, GetResponseOverAMissingSlotIsAnError)
{
    for (const uint32_t slot : {8U, 9U, 10U})
    {
        const uint32_t id = FreshId();
        CreateEventStandIn created;
        created.Fail(KernelName(slot, id), ERROR_ACCESS_DENIED);
        CWBEvent events(id);
        const TraceCapture trace;
        EXPECT_EQ(0xFFFFFFFFU, events.GetResponse(0)) << slot;
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(L"CWBEvent::GetResponse Waiting\n\n", L"CWBEvent::GetResponse Error\n\n"));
        EXPECT_FALSE(events.IsWaiting());
    }
}

namespace
{
const CWBEvent* g_watched = nullptr;
std::vector<bool> g_seenWaiting;

void SeeTraced(const wchar_t*)
{
    g_seenWaiting.push_back(g_watched->IsWaiting());
}
} // namespace

TEST(CWBEvent, WaitingFlagIsUpFromTheFirstLineToTheEndOfTheWait)
{
    CWBEvent events(FreshId());
    events.Set(1);
    events.Set(9);
    g_watched = &events;
    g_seenWaiting.clear();
    uint32_t index = c_nothing;
    {
        const Redirect<void(const wchar_t*)> lines("OutputDebugStringW", SeeTraced);
        EXPECT_EQ(1U, events.Wait(&index, 8, 0));
        EXPECT_EQ(9U, events.GetResponse(0));
    }
    EXPECT_THAT(g_seenWaiting, ElementsAre(true, false, true, false));
    EXPECT_FALSE(events.IsWaiting());
}

TEST(CWBEvent, OtherCodeSeesThatAThreadWaits)
{
    const uint32_t id = FreshId();
    CWBEvent waiter(id);
    CWBEvent setter(id);
    uint32_t index = c_nothing;
    uint32_t result = c_nothing;
    std::thread thread([&] { result = waiter.Wait(&index, 8, 30000); });
    for (int i = 0; i < 10000 && !waiter.IsWaiting(); ++i)
        Sleep(1);
    EXPECT_TRUE(waiter.IsWaiting());
    EXPECT_EQ(1U, setter.Set(6));
    thread.join();
    EXPECT_EQ(1U, result);
    EXPECT_EQ(6U, index);
    EXPECT_FALSE(waiter.IsWaiting());
}

TEST(CWBEvent, EventsLiveAsLongAsAnyoneHoldsThem)
{
    const uint32_t id = FreshId();
    {
        CWBEvent later(id);
        {
            CWBEvent first(id);
            first.Set(4);
        }
        EXPECT_THAT(Signalled(id), ElementsAre(4U));
        uint32_t index = c_nothing;
        EXPECT_EQ(1U, later.Wait(&index, 8, 0));
        EXPECT_EQ(4U, index);
    }
    for (uint32_t i = 0; i < 11; ++i)
        EXPECT_FALSE(EventExists(KernelName(i, id))) << i;
}

TEST(CWBEvent, ClosesEveryHandleMissingOnesIncluded)
{
    const uint32_t id = FreshId();
    CreateEventStandIn created;
    created.Fail(KernelName(0, id), ERROR_ACCESS_DENIED);
    created.Fail(KernelName(10, id), ERROR_ACCESS_DENIED);
    const TraceCapture trace;
    const unsigned before = OpenHandleCount();
    {
        const CWBEvent events(id);
        EXPECT_EQ(before + 9, OpenHandleCount());
    }
    EXPECT_EQ(before, OpenHandleCount());
}

ORV_CHILD_ROLE(ServeCommands)
{
    const uint32_t id = std::stoul(arguments.at(0), nullptr, 16);
    CWBEvent events(id);
    Meeting(arguments.at(1)).Signal();
    // Answers property commands with a failure, others with a breakpoint and then success, until it is stopped.
    for (;;)
    {
        uint32_t index = c_nothing;
        if (events.Wait(&index, 8, 30000) != 1)
            return 1;
        if (index == 0)
            return 0;
        if (events.Set(index == 6 || index == 7 ? 9 : 8) != 1)
            return 2;
    }
}

namespace
{
// Plays the client; a child process plays the workbench.
void ExpectAConversation(uint32_t id, const wchar_t* role)
{
    const std::wstring readyName = FreshName(L"serving");
    const Meeting ready(readyName);
    CWBEvent events(id);
    const ChildProcess child = ChildProcess::StartRole(role, {contract::PaddedHex(id), readyName});
    ready.Wait();
    for (int round = 0; round < 50; ++round)
    {
        for (uint32_t command = 1; command < 8; ++command)
        {
            ASSERT_EQ(1U, events.Set(command));
            ASSERT_EQ(command == 6 || command == 7 ? 9U : 8U, events.GetResponse(30000)) << command;
        }
    }
    EXPECT_TRUE(events.ResetAll());
    EXPECT_EQ(1U, events.Set(0));
    EXPECT_EQ(0U, child.WaitForExit());
}
} // namespace

TEST(CWBEvent, TwoProcessesTalkThroughTheSameEvents)
{
    const TraceCapture trace;
    ExpectAConversation(FreshId(), L"ServeCommands");
}

ORV_CHILD_ROLE(ServeCommandsInNamespace)
{
    const ManagerIn<NamespaceWorld> world(NamespaceWorld::Entry::Parents);
    return ChildRoleServeCommands(arguments);
}

TEST(CWBEvent, TwoProcessesTalkThroughThePrivateNamespace)
{
    const uint32_t id = FreshId();
    const TraceCapture trace;
    const ManagerIn<NamespaceWorld> world;
    {
        const CWBEvent events(id);
        EXPECT_FALSE(EventExists(KernelName(0, id)));
        EXPECT_TRUE(EventExists(contract::NamespaceName(contract::EventName(10, id))));
    }
    ExpectAConversation(id, L"ServeCommandsInNamespace");
}

TEST(CWBEvent, NamesHaveNoSessionWithoutPrivateNamespaces)
{
    const uint32_t id = FreshId();
    const ManagerIn<WindowsWithoutNamespaces> world;
    const TraceCapture trace;
    const CWBEvent events(id);
    EXPECT_THAT(trace.Lines(), ElementsAreArray(contract::EventLines(contract::LocalName(L""), contract::Hex(id))));
}
