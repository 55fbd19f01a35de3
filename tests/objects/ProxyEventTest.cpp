#include "OrvProfiler/objects/ProxyEvent.h"

#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/CreateEventStandIn.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ManagerIn.h"
#include "tests/support/worlds/NamedObjects.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <atomic>
#include <climits>
#include <cwchar>
#include <functional>
#include <gmock/gmock.h>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

using contract::c_noProcessLine;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
// Entry n-1 is event n.
constexpr const wchar_t* c_names[] = {
    L"PROXY_EVENT_ZEPH_DIE",
    L"PROXY_EVENT_ZEPH_STOP",
    L"PROXY_EVENT_ATTACH",
    L"PROXY_EVENT_ZEPH_DEBUG",
    L"PROXY_EVENT_ZEPH_RUN",
    L"PROXY_EVENT_ZEPH_STEPIN",
    L"PROXY_EVENT_ZEPH_STEPOVER",
    L"PROXY_EVENT_ZEPH_STEPOUT",
    L"PROXY_EVENT_ZEPH_STEP_BACK",
    L"PROXY_EVENT_ZEPH_ADD_BREAKPOINT",
    L"PROXY_EVENT_ZEPH_DELETE_BREAKPOINT",
    L"PROXY_EVENT_NOT_OK",
    L"PROXY_EVENT_OK",
    L"PROXY_EVENT_ZEPH_CREATE_PLATFORM",
    L"PROXY_EVENT_DEBUGGER_BEGIN",
    L"PROXY_EVENT_GET_VARIABLE",
    L"PROXY_EVENT_JVM_BEGIN",
    L"PROXY_EVENT_RECORD",
    L"PROXY_EVENT_RECORD_STOP",
    L"PROXY_EVENT_ZEPH_GET_LOCALS",
    L"PROXY_EVENT_ZEPH_GET_BRANCH",
    L"PROXY_EVENT_ZEPH_REFRESH_BRANCH",
    L"PROXY_EVENT_ZEPH_DELETE_BRANCH",
    L"PROXY_EVENT_ZEPH_EVALUATE",
    L"PROXY_EVENT_MAIN_THREAD_EXIT",
    L"PROXY_EVENT_WORKBENCH_LOAD_ASSEMBLY",
    L"PROXY_EVENT_WORKBENCH_CREATE_INSTANCE",
    L"PROXY_EVENT_WORKBENCH_INVOKE",
    L"PROXY_EVENT_WORKBENCH_DELETE_INSTANCE",
    L"PROXY_EVENT_WORKBENCH_RESET",
    L"PROXY_EVENT_WORKBENCH_GET_PROPERTY",
    L"PROXY_EVENT_WORKBENCH_SET_PROPERTY",
    L"PROXY_EVENT_RESUME_THREADS",
    L"PROXY_EVENT_SUSPEND_THREADS",
    L"PROXY_EVENT_TRACE_LINE_NUMBERS",
    L"PROXY_EVENT_GET_THREAD_STATE",
    L"PROXY_EVENT_ADD_WATCH",
    L"PROXY_EVENT_CLEAR_WATCH",
    L"PROXY_EVENT_GET_ADDRESS",
    L"PROXY_EVENT_GET_FRAME_PARAMS",
    L"PROXY_EVENT_GET_BREAKPOINT",
    L"PROXY_EVENT_UPDATE_OPTIONS",
    L"PROXY_EVENT_ZEPH_START",
    L"PROXY_EVENT_QUERY",
    L"PROXY_EVENT_DELETE_BREAKPOINTS",
    L"PROXY_EVENT_SET_LINE",
    L"PROXY_EVENT_READ_MEMORY",
    L"PROXY_EVENT_WRITE_MEMORY",
    L"PROXY_EVENT_COMMAND",
    L"PROXY_EVENT_CANCEL",
};
static_assert(sizeof c_names / sizeof *c_names == 50);

constexpr int32_t c_invalidNumbers[] = {0, 51, -1, 128, INT_MIN, INT_MAX};

std::wstring ObjectName(int32_t number, uint32_t id)
{
    return L"Event" + std::to_wstring(number - 1) + L"_" + contract::PaddedHex(id);
}

std::wstring KernelName(int32_t number, uint32_t id)
{
    return contract::LocalName(ObjectName(number, id));
}

// The numbers of the signalled events.
std::set<int32_t> Signalled(uint32_t id)
{
    std::set<int32_t> signalled;
    for (int32_t number = 1; number <= 50; ++number)
    {
        if (IsSignalled(KernelName(number, id)))
            signalled.insert(number);
    }
    return signalled;
}

// Setting a command resets both responses, so these are set once more at the end.
void SetAllFifty(CProxyEvent& events)
{
    for (int32_t number = 1; number <= 50; ++number)
        events.SetQuietly(number);
    events.SetQuietly(12);
    events.SetQuietly(13);
}

BitMask SetOf(std::initializer_list<int32_t> numbers)
{
    BitMask set;
    for (const int32_t number : numbers)
        set.Set(static_cast<uint32_t>(number - 1), true);
    return set;
}

std::set<int32_t> Numbers(BitMask set)
{
    std::set<int32_t> numbers;
    for (uint32_t bit = 0; bit < 96; ++bit)
    {
        if (set.Test(bit))
            numbers.insert(static_cast<int32_t>(bit) + 1);
    }
    return numbers;
}
} // namespace

TEST(CProxyEvent, DisplayNamesAreThoseOfTheTable)
{
    for (int32_t number = 1; number <= 50; ++number)
        EXPECT_STREQ(c_names[number - 1], CProxyEvent::EventName(number)) << number;
    for (const int32_t number : c_invalidNumbers)
        EXPECT_STREQ(L"", CProxyEvent::EventName(number)) << number;
}

TEST(CProxyEvent, TableHasEntriesOf522BytesAndASentinel)
{
    for (int32_t number = 1; number < 50; ++number)
    {
        const auto* const entry = reinterpret_cast<const char*>(CProxyEvent::EventName(number));
        const auto* const next = reinterpret_cast<const char*>(CProxyEvent::EventName(number + 1));
        ASSERT_EQ(522, next - entry) << number;
    }
    const auto sentinel = reinterpret_cast<uintptr_t>(CProxyEvent::EventName(50)) + 522;
    const std::wstring text = reinterpret_cast<const wchar_t*>(sentinel);
    std::wstring expected;
    for (int i = 0; i < 7; ++i)
        expected += L"--end of event list--";
    EXPECT_EQ(expected, text);
    EXPECT_EQ(147U, text.size());
}

TEST(CProxyEvent, NumbersAreFixed)
{
    EXPECT_EQ(1, PROXY_EVENT_ZEPH_DIE);
    EXPECT_EQ(2, PROXY_EVENT_ZEPH_STOP);
    EXPECT_EQ(3, PROXY_EVENT_ATTACH);
    EXPECT_EQ(4, PROXY_EVENT_ZEPH_DEBUG);
    EXPECT_EQ(5, PROXY_EVENT_ZEPH_RUN);
    EXPECT_EQ(6, PROXY_EVENT_ZEPH_STEPIN);
    EXPECT_EQ(7, PROXY_EVENT_ZEPH_STEPOVER);
    EXPECT_EQ(8, PROXY_EVENT_ZEPH_STEPOUT);
    EXPECT_EQ(9, PROXY_EVENT_ZEPH_STEP_BACK);
    EXPECT_EQ(10, PROXY_EVENT_ZEPH_ADD_BREAKPOINT);
    EXPECT_EQ(11, PROXY_EVENT_ZEPH_DELETE_BREAKPOINT);
    EXPECT_EQ(12, PROXY_EVENT_NOT_OK);
    EXPECT_EQ(13, PROXY_EVENT_OK);
    EXPECT_EQ(14, PROXY_EVENT_ZEPH_CREATE_PLATFORM);
    EXPECT_EQ(15, PROXY_EVENT_DEBUGGER_BEGIN);
    EXPECT_EQ(16, PROXY_EVENT_GET_VARIABLE);
    EXPECT_EQ(17, PROXY_EVENT_JVM_BEGIN);
    EXPECT_EQ(18, PROXY_EVENT_RECORD);
    EXPECT_EQ(19, PROXY_EVENT_RECORD_STOP);
    EXPECT_EQ(20, PROXY_EVENT_ZEPH_GET_LOCALS);
    EXPECT_EQ(21, PROXY_EVENT_ZEPH_GET_BRANCH);
    EXPECT_EQ(22, PROXY_EVENT_ZEPH_REFRESH_BRANCH);
    EXPECT_EQ(23, PROXY_EVENT_ZEPH_DELETE_BRANCH);
    EXPECT_EQ(24, PROXY_EVENT_ZEPH_EVALUATE);
    EXPECT_EQ(25, PROXY_EVENT_MAIN_THREAD_EXIT);
    EXPECT_EQ(26, PROXY_EVENT_WORKBENCH_LOAD_ASSEMBLY);
    EXPECT_EQ(27, PROXY_EVENT_WORKBENCH_CREATE_INSTANCE);
    EXPECT_EQ(28, PROXY_EVENT_WORKBENCH_INVOKE);
    EXPECT_EQ(29, PROXY_EVENT_WORKBENCH_DELETE_INSTANCE);
    EXPECT_EQ(30, PROXY_EVENT_WORKBENCH_RESET);
    EXPECT_EQ(31, PROXY_EVENT_WORKBENCH_GET_PROPERTY);
    EXPECT_EQ(32, PROXY_EVENT_WORKBENCH_SET_PROPERTY);
    EXPECT_EQ(33, PROXY_EVENT_RESUME_THREADS);
    EXPECT_EQ(34, PROXY_EVENT_SUSPEND_THREADS);
    EXPECT_EQ(35, PROXY_EVENT_TRACE_LINE_NUMBERS);
    EXPECT_EQ(36, PROXY_EVENT_GET_THREAD_STATE);
    EXPECT_EQ(37, PROXY_EVENT_ADD_WATCH);
    EXPECT_EQ(38, PROXY_EVENT_CLEAR_WATCH);
    EXPECT_EQ(39, PROXY_EVENT_GET_ADDRESS);
    EXPECT_EQ(40, PROXY_EVENT_GET_FRAME_PARAMS);
    EXPECT_EQ(41, PROXY_EVENT_GET_BREAKPOINT);
    EXPECT_EQ(42, PROXY_EVENT_UPDATE_OPTIONS);
    EXPECT_EQ(43, PROXY_EVENT_ZEPH_START);
    EXPECT_EQ(44, PROXY_EVENT_QUERY);
    EXPECT_EQ(45, PROXY_EVENT_DELETE_BREAKPOINTS);
    EXPECT_EQ(46, PROXY_EVENT_SET_LINE);
    EXPECT_EQ(47, PROXY_EVENT_READ_MEMORY);
    EXPECT_EQ(48, PROXY_EVENT_WRITE_MEMORY);
    EXPECT_EQ(49, PROXY_EVENT_COMMAND);
    EXPECT_EQ(50, PROXY_EVENT_CANCEL);
}

TEST(CProxyEvent, KernelNamesCountFromZero)
{
    EXPECT_STREQ(L"Event0_00001234", CProxyEvent::KernelName(0, 0x1234));
    EXPECT_STREQ(L"Event12_00001234", CProxyEvent::KernelName(12, 0x1234)) << "the event OK";
    EXPECT_STREQ(L"Event49_00001234", CProxyEvent::KernelName(49, 0x1234));
    EXPECT_STREQ(L"Event7_00000000", CProxyEvent::KernelName(7, 0));
    EXPECT_STREQ(L"Event7_ffffffff", CProxyEvent::KernelName(7, 4294967295U));
    for (const int32_t index : {-1, 50, 51, INT_MIN, INT_MAX})
        EXPECT_STREQ(L"", CProxyEvent::KernelName(index, 0x1234)) << index;
}

TEST(CProxyEvent, ServiceAndInstanceNamesAreFixed)
{
    EXPECT_STREQ(L"OrvPSvc00001234", CProxyEvent::ServiceName(0x1234));
    EXPECT_STREQ(L"OrvPSvc00000000", CProxyEvent::ServiceName(0));
    EXPECT_STREQ(L"OrvPSvcffffffff", CProxyEvent::ServiceName(4294967295U));
    EXPECT_STREQ(L"orvp_instance00004660", ProxyInstanceName(0x1234));
    EXPECT_STREQ(L"zeph_instance00004660", ClientInstanceName(0x1234));
    EXPECT_STREQ(L"orvp_instance00000000", ProxyInstanceName(0));
    EXPECT_STREQ(L"zeph_instance99999999", ClientInstanceName(99999999));
    EXPECT_STREQ(L"zeph_instance100000000", ClientInstanceName(100000000));
    EXPECT_STREQ(L"orvp_instance4294967295", ProxyInstanceName(4294967295U));
}

TEST(CProxyEvent, CreatesFiftyManualResetEventsThatAreOpenToAll)
{
    const uint32_t id = FreshId();
    const ErrorTextStandIn texts;
    const CreateEventStandIn created;
    const TraceCapture trace;
    const CProxyEvent events(id);
    std::vector<std::wstring> lines{c_noProcessLine};
    for (int32_t number = 1; number <= 50; ++number)
        lines.push_back(contract::EventCreatedLine(KernelName(number, id)));
    EXPECT_THAT(trace.Lines(), ElementsAreArray(lines));
    ASSERT_THAT(created.Calls(), SizeIs(50));
    for (const CreateEventStandIn::Call& call : created.Calls())
    {
        EXPECT_TRUE(call.manualReset);
        EXPECT_FALSE(call.initialState);
        EXPECT_TRUE(call.opensToAll);
    }
    EXPECT_THAT(Signalled(id), IsEmpty());
}

TEST(CProxyEvent, FindsTheSessionOfALivingProcess)
{
    const TraceCapture trace;
    const CProxyEvent events(GetCurrentProcessId());
    ASSERT_THAT(trace.Lines(), SizeIs(50));
    EXPECT_EQ(contract::EventCreatedLine(KernelName(1, GetCurrentProcessId())), trace.Lines().front());
}

TEST(CProxyEvent, CreationsThatFailAreTracedAndSkipped)
{
    const uint32_t id = FreshId();
    const ErrorTextStandIn texts;
    CreateEventStandIn created;
    for (const int32_t number : {1, 30, 50})
        created.Fail(KernelName(number, id), ERROR_ACCESS_DENIED);
    TraceCapture trace;
    CProxyEvent events(id);
    std::vector<std::wstring> lines{c_noProcessLine};
    for (int32_t number = 1; number <= 50; ++number)
    {
        if (number != 1 && number != 30 && number != 50)
        {
            lines.push_back(contract::EventCreatedLine(KernelName(number, id)));
            continue;
        }
        lines.push_back(L"CProxySecManager::OrvPCreateEvent CreateEvent " + KernelName(number, id) +
                        L" Failed\n<error 5>\n");
        lines.push_back(L"CProxyEvent::Construct FAILED TO CREATE EVENT " + ObjectName(number, id) + L"\n");
    }
    EXPECT_THAT(trace.Lines(), ElementsAreArray(lines));

    for (const int32_t number : {1, 30, 50})
    {
        trace.Clear();
        EXPECT_FALSE(events.Set(number));
        EXPECT_FALSE(events.SetQuietly(number));
        EXPECT_FALSE(events.Reset(number));
        EXPECT_FALSE(events.IsSet(number));
        EXPECT_TRUE(events.IsNotSet(number));
        EXPECT_EQ(0xFFFFFFFFU, events.Wait(number, 0, true));
        const std::wstring name = c_names[number - 1];
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::Set " + name + L" " + std::to_wstring(number) + L"\n",
                                               L"CProxyEvent::Wait waiting on event id:" + std::to_wstring(number) +
                                                   L" name:" + name + L" timeout:0\n"));
    }
    EXPECT_TRUE(events.Set(2));
    EXPECT_TRUE(events.Set(49));
    EXPECT_THAT(Signalled(id), ElementsAre(2, 49));
}

TEST(CProxyEvent, WithoutAnAccessListTheEventsAreCreatedAllTheSame)
{
    const uint32_t id = FreshId();
    const ErrorTextStandIn texts;
    const FailingCall<decltype(InitializeSecurityDescriptor)> initialize("InitializeSecurityDescriptor",
                                                                         ERROR_NOT_ENOUGH_MEMORY);
    const TraceCapture trace;
    CProxyEvent events(id);
    ASSERT_THAT(trace.Lines(), SizeIs(52));
    EXPECT_EQ(L"CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 8>\n", trace.Lines()[0]);
    EXPECT_TRUE(events.Set(50));
    EXPECT_THAT(Signalled(id), ElementsAre(50));
}

TEST(CProxyEvent, ConstructAgainMovesToAnotherSetAndLosesNothing)
{
    const TraceCapture trace;
    const uint32_t id = FreshId();
    const uint32_t otherId = FreshId();
    CreateEventStandIn created;
    created.Fail(KernelName(20, id), ERROR_ACCESS_DENIED);
    const unsigned before = OpenHandleCount();
    {
        CProxyEvent events(id);
        EXPECT_EQ(before + 49, OpenHandleCount());
        events.Set(13);
        EXPECT_TRUE(events.WaitForResponse(0));
        EXPECT_TRUE(events.ResponseWasOk());

        events.Construct(otherId);
        EXPECT_EQ(before + 50, OpenHandleCount());
        EXPECT_FALSE(EventExists(KernelName(13, id)));
        EXPECT_FALSE(events.ResponseWasOk()) << "nothing has come in the new set";
        EXPECT_FALSE(events.WaitForResponse(0));
        EXPECT_TRUE(events.Set(13));
        EXPECT_THAT(Signalled(otherId), ElementsAre(13));
        EXPECT_TRUE(events.WaitForResponse(0));
    }
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_FALSE(EventExists(KernelName(1, otherId)));
}

TEST(CProxyEvent, ConstructAgainForgetsTheResponseBeforeItNeedsMemory)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    events.Set(13);
    EXPECT_TRUE(events.WaitForResponse(0));
    AllocationProbe heap;
    heap.FailRequest(1);
    EXPECT_THROW(events.Construct(id), std::bad_alloc);
    EXPECT_FALSE(events.ResponseWasOk());
}

TEST(CProxyEvent, LosesNoMemory)
{
    const uint32_t id = FreshId();
    ExpectNothingLeaks([id] {
        CProxyEvent events(id);
        BitMask set = SetOf({3, 7, 200});
        events.Set(7);
        events.VerifyMask(events.WaitForAny(set, 0));
        CProxyEvent::TakeFirst(set);
    });
}

TEST(CProxyEvent, SetSignalsTheEventAloneAndTracesItsName)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    for (int32_t number = 1; number <= 50; ++number)
    {
        const TraceCapture trace;
        EXPECT_TRUE(events.Set(number));
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::Set " + std::wstring(c_names[number - 1]) + L" " +
                                               std::to_wstring(number) + L"\n"));
        EXPECT_THAT(Signalled(id), ElementsAre(number));
        EXPECT_TRUE(events.IsSet(number));
        EXPECT_FALSE(events.IsNotSet(number));
        EXPECT_TRUE(events.Reset(number));
        EXPECT_FALSE(events.IsSet(number));
        EXPECT_TRUE(events.IsNotSet(number));
    }
}

TEST(CProxyEvent, ACommandResetsBothResponsesFirst)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    events.Set(12);
    events.Set(13);
    EXPECT_THAT(Signalled(id), ElementsAre(12, 13)) << "a response does not reset the other one";
    EXPECT_TRUE(events.Set(5));
    EXPECT_THAT(Signalled(id), ElementsAre(5));

    events.Set(12);
    EXPECT_TRUE(events.Set(13));
    EXPECT_TRUE(events.Set(12));
    EXPECT_THAT(Signalled(id), ElementsAre(5, 12, 13));
    EXPECT_TRUE(events.SetQuietly(50));
    EXPECT_THAT(Signalled(id), ElementsAre(5, 50));
    EXPECT_TRUE(events.SetQuietly(13));
    EXPECT_TRUE(events.SetQuietly(12));
    EXPECT_THAT(Signalled(id), ElementsAre(5, 12, 13, 50));
}

TEST(CProxyEvent, TheResponseOkIsResetBeforeTheOther)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    HANDLE ok = nullptr;
    HANDLE notOk = nullptr;
    {
        const CallRecorder<decltype(ResetEvent)> resetEvent("ResetEvent");
        events.Reset(13);
        events.Reset(12);
        ASSERT_THAT(resetEvent.Calls(), SizeIs(2));
        ok = std::get<0>(resetEvent.Calls()[0]);
        notOk = std::get<0>(resetEvent.Calls()[1]);
    }
    const CallRecorder<decltype(ResetEvent)> resetEvent("ResetEvent");
    events.Set(1);
    EXPECT_THAT(resetEvent.Calls(), ElementsAre(std::make_tuple(ok), std::make_tuple(notOk)));
}

TEST(CProxyEvent, InvalidNumbersAreRefusedWithoutTouchingAnything)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    events.Set(12);
    events.Set(13);
    for (const int32_t number : c_invalidNumbers)
    {
        const TraceCapture trace;
        EXPECT_FALSE(events.Set(number)) << number;
        EXPECT_FALSE(events.SetQuietly(number));
        EXPECT_FALSE(events.Reset(number));
        EXPECT_FALSE(events.IsSet(number));
        EXPECT_TRUE(events.IsNotSet(number));
        EXPECT_EQ(128U, events.Wait(number, INFINITE, true)) << "at once";
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::Set  " + std::to_wstring(number) + L"\n"));
    }
    EXPECT_THAT(Signalled(id), ElementsAre(12, 13));
}

TEST(CProxyEvent, SetReportsAFailingCall)
{
    CProxyEvent events(FreshId());
    const FailingCall<decltype(SetEvent)> setEvent("SetEvent", ERROR_ACCESS_DENIED);
    const TraceCapture trace;
    EXPECT_FALSE(events.Set(7));
    EXPECT_FALSE(events.SetQuietly(7));
    EXPECT_FALSE(events.Respond(true));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::Set PROXY_EVENT_ZEPH_STEPOVER 7\n",
                                           L"CProxyEvent::Respond \n", L"CProxyEvent::Set PROXY_EVENT_OK 13\n"));
}

TEST(CProxyEvent, ResetAllResetsEveryEventAndSaysNothing)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    SetAllFifty(events);
    ASSERT_THAT(Signalled(id), SizeIs(50));
    const TraceCapture trace;
    events.ResetAll();
    EXPECT_THAT(Signalled(id), IsEmpty());
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxyEvent, WaitReportsASignalAndResetsItIfAsked)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    events.Set(50);
    const TraceCapture trace;
    EXPECT_EQ(0U, events.Wait(50, 1000, false));
    EXPECT_THAT(Signalled(id), ElementsAre(50));
    EXPECT_EQ(0U, events.Wait(50, INFINITE, true));
    EXPECT_THAT(Signalled(id), IsEmpty());
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxyEvent::Wait waiting on event id:50 name:PROXY_EVENT_CANCEL timeout:1000\n",
                            L"CProxyEvent::Wait event PROXY_EVENT_CANCEL signalled\n",
                            L"CProxyEvent::Wait waiting on event id:50 name:PROXY_EVENT_CANCEL timeout:-1\n",
                            L"CProxyEvent::Wait event PROXY_EVENT_CANCEL signalled\n"));
}

TEST(CProxyEvent, WaitReportsTheTimeOut)
{
    CProxyEvent events(FreshId());
    const TraceCapture trace;
    EXPECT_EQ(258U, events.Wait(1, 0, true));
    EXPECT_EQ(258U, events.Wait(1, 20, false));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxyEvent::Wait waiting on event id:1 name:PROXY_EVENT_ZEPH_DIE timeout:0\n",
                            L"CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_DIE\n",
                            L"CProxyEvent::Wait waiting on event id:1 name:PROXY_EVENT_ZEPH_DIE timeout:20\n",
                            L"CProxyEvent::Wait event timeout PROXY_EVENT_ZEPH_DIE\n"));
}

TEST(CProxyEvent, WaitIsRepeatedWhenItIsAbandoned)
{
    const uint32_t id = FreshId();
    CreateEventStandIn created;
    created.Give(KernelName(18, id), MakeAbandonedMutex());
    CProxyEvent events(id);
    const TraceCapture trace;
    EXPECT_EQ(0U, events.Wait(18, 500, false));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxyEvent::Wait waiting on event id:18 name:PROXY_EVENT_RECORD timeout:500\n",
                            L"CProxyEvent::Wait waiting on event id:18 name:PROXY_EVENT_RECORD timeout:500\n",
                            L"CProxyEvent::Wait event PROXY_EVENT_RECORD signalled\n"));
}

TEST(CProxyEvent, WaitForAnyReportsEveryEventOfTheSetThatIsSignalled)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    for (const int32_t number : {2, 3, 7, 50})
        events.Set(number);
    const TraceCapture trace;
    EXPECT_THAT(Numbers(events.WaitForAny(SetOf({3, 7}), 1000)), ElementsAre(3, 7));
    EXPECT_THAT(Signalled(id), ElementsAre(2, 50)) << "those of the set are reset, others are not";
    EXPECT_THAT(Numbers(events.WaitForAny(SetOf({3, 7, 50}), 1000)), ElementsAre(50));
    EXPECT_THAT(Numbers(events.WaitForAny(BitMask(0x7), 1000)), ElementsAre(2));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxyEvent, WaitForAnyTakesAllFiftyAndNoMore)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    SetAllFifty(events);
    BitMask everything;
    everything.Invert();
    EXPECT_THAT(Numbers(events.WaitForAny(everything, 0)), SizeIs(50));
    EXPECT_THAT(Signalled(id), IsEmpty());
    EXPECT_TRUE(events.WaitForAny(everything, 0).IsEmpty());
}

TEST(CProxyEvent, WaitForAnyIsEmptyAfterTheTime)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    events.Set(4);
    const TraceCapture trace;
    EXPECT_TRUE(events.WaitForAny(SetOf({3, 5, 12}), 20).IsEmpty());
    EXPECT_THAT(Signalled(id), ElementsAre(4));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxyEvent, WaitForAnyOfNothingOrOfAMissingEventIsEmptyAndTraced)
{
    const uint32_t id = FreshId();
    const ErrorTextStandIn texts;
    CreateEventStandIn created;
    created.Fail(KernelName(9, id), ERROR_ACCESS_DENIED);
    CProxyEvent events(id);
    events.Set(8);
    const TraceCapture trace;
    EXPECT_TRUE(events.WaitForAny(BitMask(), 1000).IsEmpty());
    EXPECT_TRUE(events.WaitForAny(SetOf({51, 64}), 1000).IsEmpty());
    EXPECT_TRUE(events.WaitForAny(SetOf({8, 9}), 1000).IsEmpty());
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::DoWait <error 87>\n", L"CProxyEvent::DoWait <error 87>\n",
                                           L"CProxyEvent::DoWait <error 6>\n"));
    EXPECT_THAT(Signalled(id), ElementsAre(8));
}

TEST(CProxyEvent, WaitForAnyOfAnAbandonedHandleIsEmpty)
{
    const uint32_t id = FreshId();
    CreateEventStandIn created;
    created.Give(KernelName(3, id), MakeAbandonedMutex());
    CProxyEvent events(id);
    EXPECT_TRUE(events.WaitForAny(SetOf({3, 7}), 0).IsEmpty());
}

TEST(CProxyEvent, DoWaitReportsTheIndexAndResetsNothing)
{
    CProxyEvent events(FreshId());
    HANDLE const abandoned = MakeAbandonedMutex();
    HANDLE const handles[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr), CreateEventW(nullptr, TRUE, TRUE, nullptr),
                              abandoned};
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(1U, events.DoWait(3, handles, 1000));
    EXPECT_EQ(1U, events.DoWait(2, handles, 1000));
    EXPECT_EQ(258U, events.DoWait(1, handles, 20));
    EXPECT_EQ(128U, events.DoWait(1, &abandoned, 1000));
    EXPECT_THAT(trace.Lines(), IsEmpty());
    EXPECT_EQ(0xFFFFFFFFU, events.DoWait(0, handles, 1000));
    EXPECT_EQ(0xFFFFFFFFU, events.DoWait(65, handles, 1000));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::DoWait <error 87>\n", L"CProxyEvent::DoWait <error 87>\n"));
    for (HANDLE const handle : handles)
        CloseHandle(handle);
}

TEST(CProxyEvent, DerivedClassesReplaceTheWait)
{
    struct Scripted : CProxyEvent
    {
        using CProxyEvent::CProxyEvent;
        uint32_t DoWait(uint32_t count, const HANDLE*, uint32_t timeoutMs) override
        {
            waits.emplace_back(count, timeoutMs);
            return result;
        }
        std::vector<std::pair<uint32_t, uint32_t>> waits;
        uint32_t result = 0;
    };
    Scripted events(FreshId());
    const TraceCapture trace;
    EXPECT_TRUE(events.WaitForResponse(7));
    EXPECT_TRUE(events.ResponseWasOk());
    events.result = 1;
    EXPECT_TRUE(events.WaitForResponse(8));
    EXPECT_FALSE(events.ResponseWasOk());
    events.result = 0;
    EXPECT_TRUE(events.WaitForResponse(9));
    for (const uint32_t failure : {2U, 128U, 129U, 258U, 0xFFFFFFFFU})
    {
        events.result = failure;
        EXPECT_FALSE(events.WaitForResponse(10)) << failure;
        EXPECT_TRUE(events.ResponseWasOk()) << "unchanged";
    }
    events.SetQuietly(6);
    events.result = 3;
    EXPECT_TRUE(events.WaitForAny(SetOf({5, 6, 7}), 11).IsEmpty());
    events.result = 2;
    EXPECT_THAT(Numbers(events.WaitForAny(SetOf({5, 6, 7}), 12)), ElementsAre(6))
        << "what is signalled is reported, not what woke the wait";
    EXPECT_THAT(events.waits, ElementsAre(std::make_pair(2U, 7U), std::make_pair(2U, 8U), std::make_pair(2U, 9U),
                                          std::make_pair(2U, 10U), std::make_pair(2U, 10U), std::make_pair(2U, 10U),
                                          std::make_pair(2U, 10U), std::make_pair(2U, 10U), std::make_pair(3U, 11U),
                                          std::make_pair(3U, 12U)));
}

TEST(CProxyEvent, AResponseIsReportedAndStaysSet)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    TraceCapture trace;
    EXPECT_FALSE(events.ResponseWasOk()) << "none has come yet";

    events.SetQuietly(13);
    EXPECT_TRUE(events.WaitForResponse(1000));
    EXPECT_TRUE(events.ResponseWasOk());
    EXPECT_THAT(Signalled(id), ElementsAre(13));

    events.SetQuietly(12);
    EXPECT_TRUE(events.WaitForResponse(1000)) << "OK comes first";
    EXPECT_TRUE(events.ResponseWasOk());

    events.Reset(13);
    EXPECT_TRUE(events.WaitForResponse(INFINITE));
    EXPECT_FALSE(events.ResponseWasOk());
    EXPECT_THAT(Signalled(id), ElementsAre(12));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxyEvent::ResponseWasOk  not ok\n", L"CProxyEvent::ResponseWasOk  ok\n",
                            L"CProxyEvent::ResponseWasOk  ok\n", L"CProxyEvent::WaitForResponse failed\n\n",
                            L"CProxyEvent::ResponseWasOk  not ok\n"));
}

TEST(CProxyEvent, WithoutAResponseTheLastOneStandsUnchanged)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    events.Respond(true);
    EXPECT_TRUE(events.WaitForResponse(0));
    events.Set(1);
    EXPECT_FALSE(events.WaitForResponse(20));
    EXPECT_TRUE(events.ResponseWasOk());
    events.Respond(false);
    EXPECT_TRUE(events.WaitForResponse(0));
    events.Set(1);
    EXPECT_FALSE(events.WaitForResponse(0));
    EXPECT_FALSE(events.ResponseWasOk());
}

TEST(CProxyEvent, AWaitForMissingResponsesFails)
{
    for (const int32_t missing : {12, 13})
    {
        const uint32_t id = FreshId();
        const ErrorTextStandIn texts;
        CreateEventStandIn created;
        created.Fail(KernelName(missing, id), ERROR_ACCESS_DENIED);
        CProxyEvent events(id);
        const TraceCapture trace;
        EXPECT_FALSE(events.WaitForResponse(1000));
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::DoWait <error 6>\n"));
    }
}

TEST(CProxyEvent, RespondSetsTheResponseAndLeavesTheOther)
{
    const uint32_t id = FreshId();
    CProxyEvent events(id);
    const TraceCapture trace;
    EXPECT_TRUE(events.Respond(true));
    EXPECT_THAT(Signalled(id), ElementsAre(13));
    EXPECT_TRUE(events.Respond(false));
    EXPECT_THAT(Signalled(id), ElementsAre(12, 13));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxyEvent::Respond \n", L"CProxyEvent::Set PROXY_EVENT_OK 13\n",
                                           L"CProxyEvent::Respond \n", L"CProxyEvent::Set PROXY_EVENT_NOT_OK 12\n"));
}

TEST(CProxyEvent, VerifyMaskReturnsTheSetAndNeverWarns)
{
    const CProxyEvent events(FreshId());
    const TraceCapture trace;
    EXPECT_THAT(Numbers(events.VerifyMask(SetOf({51}))), ElementsAre(51));
    EXPECT_THAT(Numbers(events.VerifyMask(SetOf({1, 50, 51, 64, 70}))), ElementsAre(1, 50, 51, 64, 70));
    EXPECT_THAT(Numbers(events.VerifyMask(BitMask())), IsEmpty());
    EXPECT_THAT(Numbers(events.VerifyMask(BitMask(0x80000001))), ElementsAre(1, 32));
    BitMask everything;
    everything.Invert();
    EXPECT_THAT(Numbers(events.VerifyMask(everything)), SizeIs(96));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxyEvent, SetsAreMadeOfEventNumbers)
{
    BitMask set;
    EXPECT_TRUE(CProxyEvent::AddToSet(set, 1));
    EXPECT_TRUE(CProxyEvent::AddToSet(set, 33));
    EXPECT_TRUE(CProxyEvent::AddToSet(set, 50));
    EXPECT_TRUE(CProxyEvent::AddToSet(set, 50));
    EXPECT_EQ(1U, set.GetWord(0));
    EXPECT_EQ(0x00020001U, set.GetWord(1));
    EXPECT_TRUE(CProxyEvent::IsInSet(set, 1));
    EXPECT_TRUE(CProxyEvent::IsInSet(set, 33));
    EXPECT_TRUE(CProxyEvent::IsInSet(set, 50));
    EXPECT_FALSE(CProxyEvent::IsInSet(set, 2));
    EXPECT_FALSE(CProxyEvent::IsInSet(set, 49));
    EXPECT_TRUE(CProxyEvent::RemoveFromSet(set, 33));
    EXPECT_TRUE(CProxyEvent::RemoveFromSet(set, 33));
    EXPECT_FALSE(CProxyEvent::IsInSet(set, 33));
    EXPECT_THAT(Numbers(set), ElementsAre(1, 50));
}

TEST(CProxyEvent, SetsRefuseInvalidNumbers)
{
    BitMask set = SetOf({3, 51});
    for (const int32_t number : c_invalidNumbers)
    {
        EXPECT_FALSE(CProxyEvent::AddToSet(set, number)) << number;
        EXPECT_FALSE(CProxyEvent::RemoveFromSet(set, number)) << number;
        EXPECT_FALSE(CProxyEvent::IsInSet(set, number)) << number;
    }
    EXPECT_THAT(Numbers(set), ElementsAre(3, 51));
    EXPECT_FALSE(CProxyEvent::IsInSet(BitMask(0xFFFFFFFF), 50)) << "a set of 32 bits has no event 50";
}

TEST(CProxyEvent, TakeFirstTakesTheLowestEvent)
{
    BitMask set = SetOf({50, 13, 1, 33});
    EXPECT_EQ(1, CProxyEvent::TakeFirst(set));
    EXPECT_EQ(13, CProxyEvent::TakeFirst(set));
    EXPECT_EQ(33, CProxyEvent::TakeFirst(set));
    EXPECT_THAT(Numbers(set), ElementsAre(50));
    EXPECT_EQ(50, CProxyEvent::TakeFirst(set));
    EXPECT_TRUE(set.IsEmpty());
    EXPECT_EQ(0, CProxyEvent::TakeFirst(set));

    BitMask beyond = SetOf({51, 64});
    EXPECT_EQ(0, CProxyEvent::TakeFirst(beyond)) << "no event's bits";
    EXPECT_THAT(Numbers(beyond), ElementsAre(51, 64));
}

TEST(CProxyEvent, ReadyEventIsNamedInDecimal)
{
    const ErrorTextStandIn texts;
    CreateEventStandIn created;
    created.Fail(L"Local\\OrvPReady4660", ERROR_ACCESS_DENIED);
    const FailingCall<decltype(OpenProcess)> openProcess("OpenProcess", ERROR_INVALID_PARAMETER);
    const TraceCapture trace;
    EXPECT_EQ(nullptr, CProxyEvent::ReadyEvent(0x1234));
    EXPECT_THAT(
        trace.Lines(),
        ElementsAre(c_noProcessLine,
                    L"CProxySecManager::OrvPCreateEvent CreateEvent Local\\OrvPReady4660 Failed\n<error 5>\n"));
    ASSERT_THAT(created.Calls(), SizeIs(1));
    EXPECT_TRUE(created.Calls()[0].manualReset);
    EXPECT_FALSE(created.Calls()[0].initialState);
    EXPECT_TRUE(created.Calls()[0].opensToAll);
}

TEST(CProxyEvent, ReadyEventIsTheSameForEverybody)
{
    const uint32_t id = GetCurrentProcessId();
    const std::wstring readyName = contract::LocalName(L"OrvPReady" + std::to_wstring(id));
    HANDLE const first = CProxyEvent::ReadyEvent(id);
    HANDLE const second = CProxyEvent::ReadyEvent(id);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_FALSE(IsSignalled(readyName));
    SetEvent(first);
    EXPECT_EQ(DWORD{WAIT_OBJECT_0}, WaitForSingleObject(second, 0));
    EXPECT_TRUE(IsSignalled(readyName));
    CloseHandle(first);
    CloseHandle(second);
    EXPECT_FALSE(EventExists(readyName));
}

// The wait that pumps messages.

namespace
{
constexpr UINT c_message = WM_APP + 5;

// A message-only window of the calling thread that notes the messages it gets.
class TestWindow
{
public:
    explicit TestWindow(std::function<void()> onMessage = nullptr) : m_onMessage(std::move(onMessage))
    {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = Receive;
        windowClass.lpszClassName = L"OrvTestWindow";
        windowClass.hInstance = GetModuleHandleW(nullptr);
        RegisterClassW(&windowClass);
        m_window = CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   windowClass.hInstance, nullptr);
        SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~TestWindow() { DestroyWindow(m_window); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND Get() const noexcept { return m_window; }
    void Post(WPARAM value) const { PostMessageW(m_window, c_message, value, 0); }
    const std::vector<WPARAM>& Values() const noexcept { return m_values; }

private:
    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM value, LPARAM parameter)
    {
        auto* const self = reinterpret_cast<TestWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message != c_message || self == nullptr)
            return DefWindowProcW(window, message, value, parameter);
        self->m_values.push_back(value);
        if (self->m_onMessage)
            self->m_onMessage();
        return static_cast<LRESULT>(value) * 2;
    }

    HWND m_window = nullptr;
    std::function<void()> m_onMessage;
    std::vector<WPARAM> m_values;
};

// A clock that only the test moves, and a blocking wait that moves it instead of waiting.
class ScriptedClock
{
public:
    ScriptedClock() : m_counter("QueryPerformanceCounter", Count), m_wait("MsgWaitForMultipleObjectsEx", Wait)
    {
        s_counts = 0;
        s_waitMs = 0;
        s_waits.clear();
        s_onWait = nullptr;
        s_result = WAIT_TIMEOUT;
    }

    struct WaitCall
    {
        DWORD count;
        DWORD timeoutMs;
        DWORD wakeMask;
        DWORD flags;
    };

    // How far each wait moves the clock, what it answers, and what happens during it.
    static inline int64_t s_waitMs = 0;
    static inline DWORD s_result = WAIT_TIMEOUT;
    static inline std::function<void()> s_onWait;
    static inline std::vector<WaitCall> s_waits;

    static void Advance(int64_t milliseconds)
    {
        LARGE_INTEGER frequency{};
        QueryPerformanceFrequency(&frequency);
        s_counts += frequency.QuadPart / 1000 * milliseconds;
    }

private:
    static int Count(LARGE_INTEGER* counter)
    {
        counter->QuadPart = s_counts;
        return TRUE;
    }
    static DWORD Wait(DWORD count, const HANDLE*, DWORD timeoutMs, DWORD wakeMask, DWORD flags)
    {
        s_waits.push_back({count, timeoutMs, wakeMask, flags});
        Advance(s_waitMs);
        if (s_onWait)
            s_onWait();
        return s_result;
    }

    static inline int64_t s_counts = 0;

    Redirect<int(LARGE_INTEGER*)> m_counter;
    Redirect<DWORD(DWORD, const HANDLE*, DWORD, DWORD, DWORD)> m_wait;
};
} // namespace

TEST(CProxyEventPumpingWait, FindsAResponseAndResetsIt)
{
    const uint32_t id = FreshId();
    const TestWindow window;
    CProxyEvent events(id, window.Get());
    TraceCapture trace;
    events.SetQuietly(12);
    events.SetQuietly(13);
    EXPECT_TRUE(events.WaitForResponse(0));
    EXPECT_TRUE(events.ResponseWasOk());
    EXPECT_THAT(Signalled(id), ElementsAre(12)) << "OK comes first and is reset";
    EXPECT_TRUE(events.WaitForResponse(INFINITE));
    EXPECT_FALSE(events.ResponseWasOk());
    EXPECT_THAT(Signalled(id), IsEmpty());
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxyEvent::ResponseWasOk  ok\n", L"CProxyEvent::WaitForResponse failed\n\n",
                            L"CProxyEvent::ResponseWasOk  not ok\n"));
    trace.Clear();
    EXPECT_FALSE(events.WaitForResponse(1));
    EXPECT_THAT(trace.Lines(), IsEmpty());
    EXPECT_FALSE(events.ResponseWasOk());
}

TEST(CProxyEventPumpingWait, AnswersMessagesUntilTheResponseComes)
{
    const uint32_t id = FreshId();
    CProxyEvent other(id);
    const TestWindow window;
    CProxyEvent events(id, window.Get());
    window.Post(1);
    LRESULT answer = 0;
    std::thread thread([&] {
        window.Post(2);
        answer = SendMessageW(window.Get(), c_message, 21, 0);
        window.Post(3);
        SendMessageW(window.Get(), c_message, 4, 0);
        other.Respond(true);
    });
    EXPECT_TRUE(events.WaitForResponse(30000));
    thread.join();
    EXPECT_TRUE(events.ResponseWasOk());
    EXPECT_EQ(42, answer) << "a sent message is answered while the thread waits";
    EXPECT_THAT(window.Values(), testing::IsSupersetOf({WPARAM{1}, WPARAM{2}, WPARAM{21}, WPARAM{4}}));
}

// Without translation a window sees keys, but no characters.
TEST(CProxyEventPumpingWait, TranslatesEachMessageBeforeItIsDispatched)
{
    const CallRecorder<decltype(TranslateMessage)> translate("TranslateMessage");
    std::vector<size_t> translated;
    const TestWindow window([&] { translated.push_back(translate.Calls().size()); });
    CProxyEvent events(FreshId(), window.Get());
    window.Post(1);
    window.Post(2);
    EXPECT_FALSE(events.WaitForResponse(1));
    EXPECT_THAT(translated, ElementsAre(1U, 2U));
}

TEST(CProxyEventPumpingWait, LeavesMessagesOfOtherWindowsAlone)
{
    const TestWindow window;
    const TestWindow other;
    CProxyEvent events(FreshId(), window.Get());
    window.Post(1);
    other.Post(2);
    EXPECT_FALSE(events.WaitForResponse(1));
    EXPECT_THAT(window.Values(), ElementsAre(1U));
    EXPECT_THAT(other.Values(), IsEmpty());
}

TEST(CProxyEventPumpingWait, ABlockingWaitIsTwoHundredMillisecondsForMessagesAndResponses)
{
    const ScriptedClock clock;
    const TestWindow window;
    CProxyEvent events(FreshId(), window.Get());
    ScriptedClock::s_waitMs = 200;
    EXPECT_FALSE(events.WaitForResponse(150));
    ASSERT_THAT(ScriptedClock::s_waits, SizeIs(1));
    EXPECT_EQ(2U, ScriptedClock::s_waits[0].count);
    EXPECT_EQ(200U, ScriptedClock::s_waits[0].timeoutMs) << "however little is left";
    EXPECT_EQ(0x140U, ScriptedClock::s_waits[0].wakeMask);
    EXPECT_EQ(0U, ScriptedClock::s_waits[0].flags);
}

TEST(CProxyEventPumpingWait, TheTimeIsOverWhenTheWaitsExceedIt)
{
    const ScriptedClock clock;
    const TestWindow window;
    CProxyEvent events(FreshId(), window.Get());
    ScriptedClock::s_waitMs = 100;
    EXPECT_FALSE(events.WaitForResponse(300));
    EXPECT_THAT(ScriptedClock::s_waits, SizeIs(4)) << "300 is not more than 300";
    ScriptedClock::s_waits.clear();
    EXPECT_FALSE(events.WaitForResponse(299));
    EXPECT_THAT(ScriptedClock::s_waits, SizeIs(3));
    ScriptedClock::s_waits.clear();
    EXPECT_FALSE(events.WaitForResponse(0));
    EXPECT_THAT(ScriptedClock::s_waits, SizeIs(1));
}

TEST(CProxyEventPumpingWait, TheTimeOfDispatchingDoesNotCount)
{
    const ScriptedClock clock;
    const TestWindow window([] { ScriptedClock::Advance(3600000); });
    CProxyEvent events(FreshId(), window.Get());
    ScriptedClock::s_waitMs = 100;
    ScriptedClock::s_onWait = [&window] { window.Post(1); };
    EXPECT_FALSE(events.WaitForResponse(1000));
    EXPECT_THAT(ScriptedClock::s_waits, SizeIs(11));
    EXPECT_THAT(window.Values(), SizeIs(10)) << "the last one was not looked for any more";
}

TEST(CProxyEventPumpingWait, WithoutLimitTheTimeIsNeverOver)
{
    const uint32_t id = FreshId();
    const ScriptedClock clock;
    const TestWindow window;
    CProxyEvent events(id, window.Get());
    CProxyEvent other(id);
    // Days, far beyond what 32 bits of milliseconds hold.
    ScriptedClock::s_waitMs = 1000000000;
    int waits = 0;
    ScriptedClock::s_onWait = [&] {
        if (++waits == 500)
            other.SetQuietly(12);
    };
    EXPECT_TRUE(events.WaitForResponse(0xFFFFFFFF));
    EXPECT_EQ(500, waits);
    EXPECT_FALSE(events.ResponseWasOk());

    ScriptedClock::s_waitMs = 1000000;
    ScriptedClock::s_onWait = nullptr;
    ScriptedClock::s_waits.clear();
    EXPECT_FALSE(events.WaitForResponse(0xFFFFFFFE)) << "one less is a limit";
    EXPECT_THAT(ScriptedClock::s_waits, SizeIs(4295));
}

TEST(CProxyEventPumpingWait, WhatTheBlockingWaitAnswersIsNotBelieved)
{
    const uint32_t id = FreshId();
    const ScriptedClock clock;
    const TestWindow window;
    CProxyEvent events(id, window.Get());
    ScriptedClock::s_waitMs = 100;
    for (const DWORD answer : {0U, 1U, 2U, 128U, 258U})
    {
        ScriptedClock::s_result = answer;
        ScriptedClock::s_waits.clear();
        EXPECT_FALSE(events.WaitForResponse(500)) << answer;
        EXPECT_THAT(ScriptedClock::s_waits, SizeIs(6));
    }
    ScriptedClock::s_result = 1;
    ScriptedClock::s_onWait = [&] { events.SetQuietly(13); };
    EXPECT_TRUE(events.WaitForResponse(500));
    EXPECT_TRUE(events.ResponseWasOk());
}

TEST(CProxyEventPumpingWait, AFailingWaitEndsItWithoutALine)
{
    const ScriptedClock clock;
    const TestWindow window;
    CProxyEvent events(FreshId(), window.Get());
    ScriptedClock::s_result = WAIT_FAILED;
    const TraceCapture trace;
    EXPECT_FALSE(events.WaitForResponse(INFINITE));
    EXPECT_THAT(ScriptedClock::s_waits, SizeIs(1));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxyEventPumpingWait, MissingResponsesMakeTheWaitFail)
{
    const uint32_t id = FreshId();
    CreateEventStandIn created;
    created.Fail(KernelName(12, id), ERROR_ACCESS_DENIED);
    created.Fail(KernelName(13, id), ERROR_ACCESS_DENIED);
    const TestWindow window;
    CProxyEvent events(id, window.Get());
    window.Post(1);
    EXPECT_FALSE(events.WaitForResponse(INFINITE));
    EXPECT_THAT(window.Values(), ElementsAre(1U)) << "messages were answered first";
}

// Several threads and processes.

TEST(CProxyEvent, ManyThreadsSetAndWaitOnOneSet)
{
    constexpr int rounds = 100;
    const TraceCapture trace;
    CProxyEvent events(FreshId());
    std::atomic<int> served{0};
    std::vector<std::thread> threads;
    // Each pair of threads signals each other in turn through two events, neither of them a response.
    for (int32_t pair = 0; pair < 6; ++pair)
    {
        const int32_t there = 20 + 2 * pair;
        const int32_t back = there + 1;
        threads.emplace_back([&events, &served, there, back] {
            for (int round = 0; round < rounds; ++round)
            {
                if (events.Wait(there, 30000, true) != 0 || !events.Set(back))
                    return;
                ++served;
            }
        });
        threads.emplace_back([&events, &served, there, back] {
            BitMask set;
            CProxyEvent::AddToSet(set, back);
            for (int round = 0; round < rounds; ++round)
            {
                BitMask seen;
                if (!events.SetQuietly(there) || (seen = events.WaitForAny(set, 30000)).IsEmpty())
                    return;
                served += CProxyEvent::TakeFirst(seen) == back ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(6 * 2 * rounds, served);
}

TEST(CProxyEvent, ManyThreadsMayWaitForTheResponse)
{
    const TraceCapture trace;
    CProxyEvent events(FreshId());
    std::atomic<int> seen{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] { seen += events.WaitForResponse(30000) && events.ResponseWasOk() ? 1 : 0; });
    EXPECT_TRUE(events.Respond(true));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(8, seen);
}

ORV_CHILD_ROLE(ServeProxyEvents)
{
    CProxyEvent events(std::stoul(arguments.at(0), nullptr, 16));
    Meeting(arguments.at(1)).Signal();
    BitMask commands;
    for (int32_t number = 1; number <= 50; ++number)
    {
        if (number != 12 && number != 13)
            CProxyEvent::AddToSet(commands, number);
    }
    // Even commands are done, odd ones are not; the first event ends it.
    for (;;)
    {
        BitMask seen = events.WaitForAny(commands, 30000);
        const int32_t number = CProxyEvent::TakeFirst(seen);
        if (number == 0 || !seen.IsEmpty())
            return 1;
        if (!events.Respond(number % 2 == 0))
            return 2;
        if (number == 1)
            return 0;
    }
}

namespace
{
void ExpectAConversation(uint32_t id, const wchar_t* role)
{
    const std::wstring readyName = FreshName(L"serving");
    const Meeting ready(readyName);
    CProxyEvent events(id);
    const ChildProcess child = ChildProcess::StartRole(role, {contract::PaddedHex(id), readyName});
    ready.Wait();
    for (int round = 0; round < 5; ++round)
    {
        for (int32_t number = 2; number <= 50; ++number)
        {
            if (number == 12 || number == 13)
                continue;
            ASSERT_TRUE(events.Set(number));
            ASSERT_TRUE(events.WaitForResponse(30000)) << number;
            ASSERT_EQ(number % 2 == 0, events.ResponseWasOk()) << number;
        }
    }
    EXPECT_TRUE(events.Set(1));
    EXPECT_EQ(0U, child.WaitForExit());
}
} // namespace

TEST(CProxyEvent, TwoProcessesTalkThroughTheSameEvents)
{
    const TraceCapture trace;
    ExpectAConversation(FreshId(), L"ServeProxyEvents");
}

ORV_CHILD_ROLE(ServeProxyEventsInNamespace)
{
    const ManagerIn<NamespaceWorld> world(NamespaceWorld::Entry::Parents);
    return ChildRoleServeProxyEvents(arguments);
}

TEST(CProxyEvent, TwoProcessesTalkThroughThePrivateNamespace)
{
    const uint32_t id = FreshId();
    const TraceCapture trace;
    const ManagerIn<NamespaceWorld> world;
    {
        const CProxyEvent events(id);
        EXPECT_FALSE(EventExists(KernelName(1, id)));
        EXPECT_TRUE(EventExists(contract::NamespaceName(ObjectName(50, id))));
        HANDLE const ready = CProxyEvent::ReadyEvent(GetCurrentProcessId());
        EXPECT_TRUE(EventExists(contract::NamespaceName(L"OrvPReady" + std::to_wstring(GetCurrentProcessId()))));
        CloseHandle(ready);
    }
    ExpectAConversation(id, L"ServeProxyEventsInNamespace");
}

TEST(CProxyEvent, NamesCarryTheSessionOfTheProcessWithoutPrivateNamespaces)
{
    const ManagerIn<WindowsWithoutNamespaces> world;
    const CreateEventStandIn created;
    const uint32_t id = FreshId();
    {
        const CProxyEvent ofNobody(id);
    }
    DWORD session = 0;
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &session) != FALSE);
    const CProxyEvent own(GetCurrentProcessId());
    ASSERT_THAT(created.Calls(), SizeIs(100));
    EXPECT_EQ(L"Session\\-2\\Event0_" + contract::PaddedHex(id), created.Calls()[0].kernelName);
    EXPECT_EQ(L"Session\\" + std::to_wstring(session) + L"\\Event49_" + contract::PaddedHex(GetCurrentProcessId()),
              created.Calls()[99].kernelName);
}
