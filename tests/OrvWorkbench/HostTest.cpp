#include "OrvProfiler/foundation/Trace.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/LogFile.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/NamedObjects.h"

#include <iterator>

using contract::Join;
using contract::KernelName;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// Binding the runtime, calling one managed method, the breakpoint step, and the end of a host.

namespace
{
constexpr HRESULT Status(unsigned long value)
{
    return static_cast<HRESULT>(value);
}

// Read before any test makes a host.
// NOLINTNEXTLINE(cppcoreguidelines-interfaces-global-init): both are constant-initialised
const uint32_t c_firstSharePid = g_sharePid;
// NOLINTNEXTLINE(cppcoreguidelines-interfaces-global-init): as above
const HWND c_firstWindow = g_hZephWnd;
} // namespace

TEST(CHost, IsOfNoProcessAndNoWindowBeforeThereIsOne)
{
    EXPECT_EQ(0U, c_firstSharePid);
    EXPECT_EQ(nullptr, c_firstWindow);
}

TEST(ActionResult, HasTheNumbersOfTheManagedSide)
{
    const int32_t results[] = {
        ActionEventUnknown, ActionInvokeFail,       ActionLoadAssemblyFail, ActionCreateTypeFail, ActionFail,
        ActionSuccess,      ActionLoadedAssemblyOk, ActionAssemblyExists,   ActionCreatedType,    ActionTypeExists,
        ActionInvokedOk,    ActionAssemblyNotFound, ActionTypeNotFound,     ActionException,
    };
    EXPECT_THAT(results, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
}

TEST(ActionResult, HasNamesAndAPlaceholderForEveryOtherNumber)
{
    const std::pair<int32_t, const wchar_t*> names[] = {
        {0, L"ActionEventUnknown"},
        {1, L"ActionInvokeFail"},
        {2, L"ActionLoadAssemblyFail"},
        {3, L"ActionCreateTypeFail"},
        {4, L"ActionFail"},
        {5, L"ActionSuccess"},
        {6, L"ActionLoadedAssemblyOk"},
        {7, L"ActionAssemblyExists"},
        {8, L"ActionCreatedType"},
        {9, L"ActionTypeExists"},
        {10, L"ActionInvokedOk"},
        {11, L"ActionAssemblyNotFound"},
        {12, L"ActionTypeNotFound"},
        {13, L"Exception"},
        {14, L"unknown result 14"},
        {-1, L"unknown result -1"},
        {2147483647, L"unknown result 2147483647"},
        {-2147483647 - 1, L"unknown result -2147483648"},
    };
    for (const auto& [result, name] : names)
        EXPECT_STREQ(name, ActionResultName(result));
}

TEST(WorkbenchMessages, HaveTheNumbersOfTheClient)
{
    EXPECT_EQ(0x83F0U, WM_WORKBENCH_READY);
    EXPECT_EQ(0x8407U, WM_WORKBENCH_IDLE);
    EXPECT_EQ(0x83EBU, WM_WORKBENCH_EXITING);
}

TEST_F(CHostWithStandIns, MakesItsEventsThenBindsAndStartsTheRuntime)
{
    const CHost host(m_id, c_assembly, c_type);
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(Join(
                                     {ConstructionLines(), {L"runtime start\n", L"CHost::CHost Loaded Runtime\n"}})));
    EXPECT_EQ(m_id, g_sharePid);
    for (unsigned slot = 0; slot < contract::c_eventCount; ++slot)
        EXPECT_FALSE(TakeSignal(slot)) << slot;
}

TEST_F(CHostWithStandIns, KeysItsEventsByTheWholeId)
{
    const CHost host(0xFFFFFFFF, c_assembly, c_type);
    EXPECT_EQ(contract::EventCreatedLine(KernelName(L"EV_STOPffffffff")), m_trace.Lines().at(0));
    EXPECT_EQ(0xFFFFFFFF, g_sharePid);
}

TEST_F(CHostWithStandIns, GoesOnWithoutARuntimeThatCannotBeBound)
{
    m_bindStatus = Status(0x80131700);
    m_bindGivesHost = false;
    {
        CHost host(m_id, c_assembly, c_type);
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAreArray(Join(
                        {ConstructionLines(), {L"CHost::CHost Failed to Loaded Runtime\n", L"CHost::CHost #s\n"}})));
        m_trace.Clear();
        EXPECT_EQ(4, host.Execute(L"LoadAssembly", L"text"));
        EXPECT_THAT(m_trace.Lines(), ElementsAre(L"CHost::Execute ExecuteInDefaultAppDomain failed\n"));
    }
    EXPECT_THAT(m_calls, IsEmpty());
    EXPECT_EQ(0, m_releases);
}

TEST_F(CHostWithStandIns, KeepsButDoesNotStartARuntimeThatCameWithAFailingBind)
{
    m_bindStatus = E_FAIL;
    {
        const CHost host(m_id, c_assembly, c_type);
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAreArray(Join(
                        {ConstructionLines(), {L"CHost::CHost Failed to Loaded Runtime\n", L"CHost::CHost #s\n"}})));
    }
    EXPECT_EQ(1, m_releases);
}

TEST_F(CHostWithStandIns, TakesAnyStatusThatIsNotNegativeForSuccess)
{
    m_bindStatus = S_FALSE;
    m_startStatus = S_FALSE;
    CHost host(m_id, c_assembly, c_type);
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(Join(
                                     {ConstructionLines(), {L"runtime start\n", L"CHost::CHost Loaded Runtime\n"}})));
    m_method = [](const ManagedCall&, DWORD* returnValue) {
        *returnValue = 9;
        return S_FALSE;
    };
    EXPECT_EQ(9, host.Execute(L"CreateType", L""));
}

TEST_F(CHostWithStandIns, ToleratesABindThatSucceedsWithoutARuntime)
{
    m_bindGivesHost = false;
    {
        CHost host(m_id, c_assembly, c_type);
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAreArray(Join({ConstructionLines(), {L"CHost::CHost Loaded Runtime\n"}})));
        EXPECT_EQ(4, host.Execute(L"Reset", L""));
        m_trace.Clear();
        EXPECT_EQ(5, host.Breakpoint());
        EXPECT_EQ(L"CHost::Breakpoint breakpointed workbench failed\n\n", m_trace.Lines().back());
    }
    EXPECT_EQ(0, m_releases);
}

TEST_F(CHostWithStandIns, StillAsksARuntimeThatDidNotStart)
{
    m_startStatus = E_NOTIMPL;
    {
        CHost host(m_id, c_assembly, c_type);
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAreArray(Join(
                        {ConstructionLines(),
                         {L"runtime start\n", L"CHost::CHost Failed to Loaded Runtime\n", L"CHost::CHost #s\n"}})));
        EXPECT_EQ(5, host.Execute(L"Invoke", L"text"));
    }
    EXPECT_EQ(1, m_releases);
}

TEST_F(CHostWithStandIns, GoesOnWithoutEventsThatCannotBeCreated)
{
    const FailingCall<decltype(CreateEventW)> createEvent("CreateEventW", ERROR_NOT_ENOUGH_MEMORY);
    CHost host(m_id, c_assembly, c_type);
    EXPECT_EQ(11U, createEvent.Calls().size());
    EXPECT_EQ(L"CProxySecManager::OrvPCreateEvent CreateEvent " + KernelName(L"EV_STOP" + m_hexId) +
                  L" Failed\n<error 8>\n",
              m_trace.Lines().front());
    EXPECT_EQ(L"CHost::CHost Loaded Runtime\n", m_trace.Lines().back());
    EXPECT_EQ(5, host.Execute(L"Delete", L"text"));
}

TEST_F(CHostWithStandIns, KeepsCopiesOfItsTexts)
{
    wchar_t assembly[] = L"Some.dll";
    wchar_t type[] = L"OrvWorkBench.CInvoke";
    CHost host(m_id, assembly, type);
    assembly[0] = type[0] = L'x';
    host.Execute(L"Invoke", L"text");
    EXPECT_EQ(L"Some.dll", m_calls.at(0).assembly);
    EXPECT_EQ(L"OrvWorkBench.CInvoke", m_calls.at(0).type);
}

TEST_F(CHostWithStandIns, CallsAManagedMethodWithTheTextAsItStands)
{
    CHost host(m_id, c_assembly, c_type);
    const std::wstring longText(40000, L'x');
    const wchar_t* const texts[] = {L"", L"text", L"100%s %d%n %", L"\x20AC \xD83D\xDE00\r\n\t", longText.c_str()};
    for (const wchar_t* text : texts)
    {
        m_calls.clear();
        EXPECT_EQ(5, host.Execute(L"Method", text));
        ASSERT_EQ(1U, m_calls.size());
        EXPECT_EQ(L"Some.dll", m_calls[0].assembly);
        EXPECT_EQ(L"OrvWorkBench.CInvoke", m_calls[0].type);
        EXPECT_EQ(L"Method", m_calls[0].method);
        EXPECT_EQ(text, m_calls[0].argument);
    }
}

TEST_F(CHostWithStandIns, ReturnsTheManagedResultAsASignedNumber)
{
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    const std::pair<DWORD, int32_t> results[] = {
        {0, 0},           {1, 1},
        {2, 2},           {3, 3},
        {4, 4},           {5, 5},
        {6, 6},           {7, 7},
        {8, 8},           {9, 9},
        {10, 10},         {11, 11},
        {12, 12},         {13, 13},
        {14, 14},         {0x7FFFFFFF, 2147483647},
        {0xFFFFFFFF, -1}, {0x80000000, -2147483647 - 1},
    };
    for (const auto& [managed, expected] : results)
    {
        m_method = [value = managed](const ManagedCall&, DWORD* returnValue) {
            *returnValue = value;
            return S_OK;
        };
        EXPECT_EQ(expected, host.Execute(L"Invoke", L""));
    }
    EXPECT_EQ(std::size(results), m_trace.Lines().size()) << "the calls themselves, and no line of the host's";
}

TEST_F(CHostWithStandIns, CountsAMethodThatLeavesTheResultAloneAsZero)
{
    CHost host(m_id, c_assembly, c_type);
    DWORD before = 99;
    m_method = [&](const ManagedCall&, DWORD* returnValue) {
        before = *returnValue;
        return S_OK;
    };
    EXPECT_EQ(0, host.Execute(L"Invoke", L""));
    EXPECT_EQ(0U, before);
}

TEST_F(CHostWithStandIns, CountsACallThatTheRuntimeRefusesAsFailed)
{
    CHost host(m_id, c_assembly, c_type);
    const unsigned long statuses[] = {0x80131023, 0x80004003, 0x80131513, 0x80070002, 0x8007000B,
                                      0x80131522, 0x80131621, 0x80131500, 0x80000000, 0xFFFFFFFF};
    for (const unsigned long status : statuses)
    {
        m_method = [status](const ManagedCall&, DWORD* returnValue) {
            *returnValue = 10;
            return Status(status);
        };
        m_trace.Clear();
        EXPECT_EQ(4, host.Execute(L"Invoke", L"text"));
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAre(L"runtime Invoke \"text\"\n", L"CHost::Execute ExecuteInDefaultAppDomain failed\n"));
    }
}

TEST_F(CHostWithStandIns, SignalsSuccessThenTellsTheWindowThenEntersTheBreakpoint)
{
    CHost host(m_id, c_assembly, c_type);
    g_hZephWnd = reinterpret_cast<HWND>(c_window);
    m_trace.Clear();
    bool signalled = false;
    m_method = [&](const ManagedCall&, DWORD* returnValue) {
        signalled = TakeSignal(8);
        *returnValue = 0; // not looked at
        return S_OK;
    };
    EXPECT_EQ(5, host.Breakpoint());
    EXPECT_THAT(m_trace.Lines(),
                ElementsAre(L"CHost::Breakpoint Workbench breakpoint\n\n",
                            L"CHost::Breakpoint setting response ok\n\n",
                            L"CHost::Breakpoint Sending IDLE state to HWND 0000000012345678\n",
                            L"window sent 12345678 8407 0 0\n", L"CHost::Breakpoint entering IDLE breakpoint\n\n",
                            L"runtime OrvBreakPoint \"\"\n", L"CHost::Breakpoint breakpointed workbench ok\n\n"));
    EXPECT_TRUE(signalled);
    EXPECT_EQ(L"Some.dll", m_calls.at(0).assembly);
    EXPECT_EQ(L"OrvWorkBench.CInvoke", m_calls.at(0).type);
    for (unsigned slot = 0; slot < contract::c_eventCount; ++slot)
        EXPECT_FALSE(TakeSignal(slot)) << slot;
}

TEST_F(CHostWithStandIns, ReportsAnIdleMessageAnsweredWithZeroAndGoesOn)
{
    CHost host(m_id, c_assembly, c_type);
    g_hZephWnd = reinterpret_cast<HWND>(c_window);
    m_sendAnswer = 0;
    for (const DWORD error : {1400UL, 5UL, 0UL})
    {
        m_sendError = error;
        m_trace.Clear();
        EXPECT_EQ(5, host.Breakpoint());
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAre(L"CHost::Breakpoint Workbench breakpoint\n\n",
                                L"CHost::Breakpoint setting response ok\n\n",
                                L"CHost::Breakpoint Sending IDLE state to HWND 0000000012345678\n",
                                L"window sent 12345678 8407 0 0\n", L"CHost::Breakpoint Error is PostMessage:\n\n",
                                L"CHost::Breakpoint <error " + std::to_wstring(error) + L">\n",
                                L"CHost::Breakpoint entering IDLE breakpoint\n\n", L"runtime OrvBreakPoint \"\"\n",
                                L"CHost::Breakpoint breakpointed workbench ok\n\n"));
    }
}

TEST_F(CHostWithStandIns, HandsTheRuntimeAReturnValueOfZero)
{
    std::vector<DWORD> values;
    m_method = [&](const ManagedCall&, DWORD* returnValue) {
        values.push_back(*returnValue);
        return S_OK;
    };
    CHost host(m_id, c_assembly, c_type);
    EXPECT_EQ(0, host.Execute(L"Invoke", L"text"));
    EXPECT_EQ(5, host.Breakpoint());
    EXPECT_THAT(values, ElementsAre(0U, 0U));
}

TEST_F(CHostWithStandIns, ReportsABreakpointThatTheRuntimeRefuses)
{
    CHost host(m_id, c_assembly, c_type);
    m_method = [](const ManagedCall&, DWORD* returnValue) {
        *returnValue = 5;
        return Status(0x80131513);
    };
    EXPECT_EQ(5, host.Breakpoint());
    EXPECT_EQ(L"CHost::Breakpoint breakpointed workbench failed\n\n", m_trace.Lines().back());
}

TEST_F(CHostWithStandIns, EntersTheBreakpointAlsoWhenSuccessCannotBeSignalled)
{
    CHost host(m_id, c_assembly, c_type);
    g_hZephWnd = reinterpret_cast<HWND>(c_window);
    m_trace.Clear();
    const FailingCall<decltype(SetEvent)> setEvent("SetEvent", ERROR_INVALID_HANDLE);
    EXPECT_EQ(5, host.Breakpoint());
    EXPECT_EQ(1U, setEvent.Calls().size());
    EXPECT_THAT(m_trace.Lines(),
                ElementsAre(L"CHost::Breakpoint Workbench breakpoint\n\n",
                            L"CHost::Breakpoint setting response ok\n\n",
                            L"CWBEvent::Set Failed to set event EV_BREAKPOINT\n",
                            L"CHost::Breakpoint Sending IDLE state to HWND 0000000012345678\n",
                            L"window sent 12345678 8407 0 0\n", L"CHost::Breakpoint entering IDLE breakpoint\n\n",
                            L"runtime OrvBreakPoint \"\"\n", L"CHost::Breakpoint breakpointed workbench ok\n\n"));
}

TEST_F(CHostWithStandIns, ClosesTheLogThenReleasesTheRuntimeThenClosesItsEvents)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"host.log");
    bool eventsExisted = false;
    m_release = [&] { eventsExisted = EventExists(EventKernelName(0)) && EventExists(EventKernelName(10)); };
    TraceOpen(path.c_str());
    {
        const CHost host(m_id, c_assembly, c_type);
        m_trace.Clear();
    }
    EXPECT_THAT(m_trace.Lines(), ElementsAre(L"runtime release\n"));
    EXPECT_EQ(L"CHost::CHost Loaded Runtime", LogLines(FileBytes(path)).back());
    EXPECT_TRUE(eventsExisted);
    for (unsigned slot = 0; slot < contract::c_eventCount; ++slot)
        EXPECT_FALSE(EventExists(EventKernelName(slot))) << slot;
    EXPECT_EQ(1, m_releases);
    EXPECT_NE(FALSE, DeleteFileW(path.c_str())) << "the log is closed";
}

TEST_F(CHostWithStandIns, LeavesNoHandleOpen)
{
    const unsigned before = OpenHandleCount();
    {
        const CHost host(m_id, c_assembly, c_type);
        EXPECT_EQ(before + 11, OpenHandleCount());
    }
    EXPECT_EQ(before, OpenHandleCount());
}

TEST_F(CHostWithStandIns, IsDestroyedThroughItsOwnType)
{
    struct Derived : CHost
    {
        using CHost::CHost;
        ~Derived() override { Trace(L"%6.0f derived\n", TickMs()); }
    };
    CHost* const host = new Derived(m_id, c_assembly, c_type);
    m_trace.Clear();
    delete host;
    EXPECT_THAT(m_trace.Lines(), ElementsAre(L"derived\n", L"runtime release\n"));
}
