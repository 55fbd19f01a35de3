#include "tests/OrvWorkbench/WorkbenchFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

using contract::c_exitingMessage;
using contract::c_idleMessage;
using contract::c_readyMessage;
using contract::Command;
using contract::Join;
using testing::_;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::FieldsAre;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

// The workbench as its client sees it, with a runtime that answers what the test tells it to.

namespace
{
// A message with zero parameters, and the responses that were signalled when it came.
auto Posted(unsigned message, bool success, bool failed)
{
    return FieldsAre(message, 0U, 0, false, success, failed);
}

auto Sent(unsigned message, bool success, bool failed)
{
    return FieldsAre(message, 0U, 0, true, success, failed);
}

// A client that has stored its window and then serves nothing.
ORV_CHILD_ROLE(ClientThatDies)
{
    InProcessClient client;
    client.MakeShareAndWindow();
    Meeting(arguments.at(0)).Signal();
    Sleep(INFINITE);
    return 0;
}

// A client that is stuck in its window procedure.
ORV_CHILD_ROLE(ClientThatHangs)
{
    InProcessClient client;
    const std::wstring& reached = arguments.at(1);
    client.WhenIdle([&] {
        Meeting(reached).Signal();
        Sleep(INFINITE);
    });
    client.MakeShareAndWindow();
    Meeting(arguments.at(0)).Signal();
    Sleep(INFINITE);
    return 0;
}

class WorkbenchCommand : public OrvWorkBench64, public testing::WithParamInterface<Command>
{
};

std::string CaseName(const testing::TestParamInfo<Command>& info)
{
    return info.param.method;
}

struct ResultCase
{
    const wchar_t* text;
    unsigned response;
    const wchar_t* outcome;
};
} // namespace

TEST_F(OrvWorkBench64, StartsWithTheClientsShareAndStops)
{
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_TRUE(Process().IsRunning());
    Stop();
    EXPECT_TRUE(LogIs(Join({StartLines(), StopLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({})));
    EXPECT_THAT(m_client.Messages(),
                ElementsAre(Posted(c_readyMessage, false, false), Sent(c_exitingMessage, false, false)));
    EXPECT_FALSE(m_client.IsSignalled(8)) << "a stop is not answered";
    EXPECT_FALSE(m_client.IsSignalled(9));
    EXPECT_FALSE(m_client.IsSignalled(10));
    EXPECT_FALSE(m_client.IsSignalled(0)) << "the waiter resets what woke it";
}

TEST_F(OrvWorkBench64, EndsWithoutAClientsShare)
{
    Prepare(WorkbenchRuntime::Scripted);
    Start();
    EXPECT_EQ(1U, Process().WaitForExit());
    const std::wstring share = m_client.ShareName();
    EXPECT_TRUE(LogIs(Join({EventLines(m_client.HexId()),
                            LoadedLines(),
                            ArgumentLines(),
                            contract::InLogFile({contract::c_shareSizeLine, contract::OpenMapLine(share)}),
                            {L"CProxySecManager::OrvPOpenFileMapping Failed with " + SystemText(2)[0], L""},
                            {L"CProxyMap::OpenMap Open returned: " + SystemText(2)[0], L""},
                            contract::InLogFile({contract::MappingCreatedLine(contract::KernelName(share)),
                                                 contract::MapCreatedLine(share)}),
                            MutexLines(share),
                            {L"CHost::Init Opened share for pid = " + m_client.HexId(), WindowLine(0),
                             L"CHost::Run Zeph Window handle for notifications is NULL cant go on", L""}})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({})));
    EXPECT_TRUE(m_client.IsSignalled(9));
    EXPECT_FALSE(m_client.IsSignalled(8));
}

TEST_F(OrvWorkBench64, EndsWithoutAWindow)
{
    m_client.MakeShare();
    m_client.WriteText(L"kept");
    Prepare(WorkbenchRuntime::Scripted);
    Start();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(
        LogIs(Join({EventLines(m_client.HexId()),
                    LoadedLines(),
                    ArgumentLines(),
                    OpenedShareLines(m_client.ShareName(), m_client.HexId()),
                    {WindowLine(0), L"CHost::Run Zeph Window handle for notifications is NULL cant go on", L""}})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({})));
    EXPECT_EQ(9U, m_client.WaitForResponse());
    EXPECT_STREQ(L"kept", m_client.TextField()) << "an existing share stays as it is";
}

TEST_F(OrvWorkBench64, ServesAClientOfAnIdThatIsNoProcess)
{
    InProcessClient client(FreshId() & 0x7FFFFFFF); // no greater id can be put on the command line
    client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    Start(client);
    client.WaitForMessages(1);
    EXPECT_EQ(8U, client.Carry(1, L"x"));
    client.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    const Lines noProcess = Join({{L"CProxySecManager::GetSessionForProcess OpenProcess Failed"}, SystemText(87)});
    EXPECT_TRUE(LogIs(Join({EventLines(client.HexId()),
                            LoadedLines(),
                            ArgumentLines(client),
                            contract::InLogFile({contract::c_shareSizeLine}),
                            noProcess,
                            contract::InLogFile({contract::OpenMapLine(client.ShareName())}),
                            noProcess,
                            MutexLines(client.ShareName()),
                            {L"CHost::Init Opened share for pid = " + client.HexId(), WindowLine(client.Window())},
                            CommandLines(1, L"x", L"succeeded, result = ActionSuccess"),
                            StopLines()})));
}

TEST_P(WorkbenchCommand, IsCarriedOutAndReported)
{
    const Command& command = GetParam();
    std::optional<EnvironmentVariable> reset(std::in_place, L"ORV_SCRIPT_RESET", L"result=10");
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(command.slot, L"result=10; first"));
    Stop();
    EXPECT_TRUE(LogIs(
        Join({StartLines(), CommandLines(command.slot, L"result=10; first", L"succeeded, result = ActionInvokedOk"),
              StopLines()})));
    const std::string argument = command.takesText ? "result=10; first" : "";
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({command.breaks ? CallWithBreakpoint(command.method, argument)
                                                          : Call(command.method, argument)})));
    if (command.breaks)
        EXPECT_THAT(m_client.Messages(),
                    ElementsAre(Posted(c_readyMessage, false, false), Sent(c_idleMessage, true, false),
                                Sent(c_exitingMessage, false, false)));
    else
        EXPECT_THAT(m_client.Messages(),
                    ElementsAre(Posted(c_readyMessage, false, false), Sent(c_exitingMessage, false, false)));
    EXPECT_FALSE(m_client.IsSignalled(command.slot));
    EXPECT_FALSE(m_client.IsSignalled(8)) << "two responses at most";
    EXPECT_FALSE(m_client.IsSignalled(9));
    EXPECT_FALSE(m_client.IsSignalled(10));
}

TEST_P(WorkbenchCommand, IsReportedWhenItFails)
{
    const Command& command = GetParam();
    const EnvironmentVariable reset(L"ORV_SCRIPT_RESET", L"result=3");
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(9U, m_client.Carry(command.slot, L"result=3"));
    Stop();
    EXPECT_TRUE(
        LogIs(Join({StartLines(), CommandLines(command.slot, L"result=3", L"failed, result = ActionCreateTypeFail"),
                    StopLines()})));
    const std::string argument = command.takesText ? "result=3" : "";
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({command.breaks ? CallWithBreakpoint(command.method, argument)
                                                          : Call(command.method, argument)})));
    EXPECT_EQ(command.breaks ? 3U : 2U, m_client.Messages().size());
}

TEST_P(WorkbenchCommand, FailsWhenTheRuntimeRefusesTheCall)
{
    const Command& command = GetParam();
    const EnvironmentVariable reset(L"ORV_SCRIPT_RESET", L"0x80131513");
    const EnvironmentVariable breakpoint(L"ORV_SCRIPT_BREAKPOINT", L"0x80131513");
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(9U, m_client.Carry(command.slot, L"status=0x80131513"));
    Stop();
    Lines lines = CommandLines(command.slot, L"status=0x80131513", L"failed, result = ActionFail");
    lines.insert(lines.begin() + 6, L"CHost::Execute ExecuteInDefaultAppDomain failed");
    if (command.breaks)
        lines[lines.size() - 3] = L"CHost::Breakpoint breakpointed workbench failed";
    EXPECT_TRUE(LogIs(Join({StartLines(), lines, StopLines()})));
}

INSTANTIATE_TEST_SUITE_P(Each, WorkbenchCommand, testing::ValuesIn(contract::c_commands), CaseName);

TEST_F(OrvWorkBench64, ServesAWholeSession)
{
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(1, L"result=6; My.dll"));
    EXPECT_EQ(8U, m_client.Carry(2, L"result=8; a"));
    EXPECT_EQ(8U, m_client.Carry(6, L"a.P"));
    EXPECT_EQ(9U, m_client.Carry(7, L"result=4; a.P = 1"));
    EXPECT_EQ(9U, m_client.Carry(3, L"result=1; a.M()"));
    EXPECT_EQ(8U, m_client.Carry(3, L"result=10; a.N()"));
    EXPECT_EQ(8U, m_client.Carry(4, L"a"));
    EXPECT_EQ(8U, m_client.Carry(5, L"left over"));
    Stop();
    EXPECT_TRUE(
        LogIs(Join({StartLines(), CommandLines(1, L"result=6; My.dll", L"succeeded, result = ActionLoadedAssemblyOk"),
                    CommandLines(2, L"result=8; a", L"succeeded, result = ActionCreatedType"),
                    CommandLines(6, L"a.P", L"succeeded, result = ActionSuccess"),
                    CommandLines(7, L"result=4; a.P = 1", L"failed, result = ActionFail"),
                    CommandLines(3, L"result=1; a.M()", L"failed, result = ActionInvokeFail"),
                    CommandLines(3, L"result=10; a.N()", L"succeeded, result = ActionInvokedOk"),
                    CommandLines(4, L"a", L"succeeded, result = ActionSuccess"),
                    CommandLines(5, L"left over", L"succeeded, result = ActionSuccess"), StopLines()})));
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf(
                    {Call("LoadAssembly", "result=6; My.dll"), CallWithBreakpoint("CreateType", "result=8; a"),
                     CallWithBreakpoint("GetProperty", "a.P"), CallWithBreakpoint("SetProperty", "result=4; a.P = 1"),
                     CallWithBreakpoint("Invoke", "result=1; a.M()"),
                     CallWithBreakpoint("Invoke", "result=10; a.N()"), Call("Delete", "a"), Call("Reset", "")})));
    EXPECT_THAT(m_client.Messages(),
                ElementsAre(Posted(c_readyMessage, false, false), Sent(c_idleMessage, true, false),
                            Sent(c_idleMessage, true, false), Sent(c_idleMessage, true, false),
                            Sent(c_idleMessage, true, false), Sent(c_idleMessage, true, false),
                            Sent(c_exitingMessage, false, false)));
}

TEST_F(OrvWorkBench64, SplitsResultsBetweenFourAndFive)
{
    const ResultCase cases[] = {
        {L"result=0", 9, L"failed, result = ActionEventUnknown"},
        {L"result=4", 9, L"failed, result = ActionFail"},
        {L"result=5", 8, L"succeeded, result = ActionSuccess"},
        {L"result=11", 8, L"succeeded, result = ActionAssemblyNotFound"},
        {L"result=13", 8, L"succeeded, result = Exception"},
        {L"result=14", 8, L"succeeded, result = unknown result 14"},
        {L"result=2147483647", 8, L"succeeded, result = unknown result 2147483647"},
        {L"result=-1", 9, L"failed, result = unknown result -1"},
        {L"result=-2147483648", 9, L"failed, result = unknown result -2147483648"},
        {L"status=1; result=9", 8, L"succeeded, result = ActionTypeExists"},
    };
    StartServing(WorkbenchRuntime::Scripted);
    Lines expected = StartLines();
    for (const ResultCase& one : cases)
    {
        EXPECT_EQ(one.response, m_client.Carry(1, one.text)) << testing::PrintToString(std::wstring(one.text));
        expected = Join({expected, CommandLines(1, one.text, one.outcome)});
    }
    Stop();
    EXPECT_TRUE(LogIs(Join({expected, StopLines()})));
}

TEST_F(OrvWorkBench64, SignalsSuccessAtTheBreakpointAndTheOutcomeAfterwards)
{
    const Meeting answer(FreshName(L"answer"));
    m_client.WhenIdle([&] { answer.Wait(); });
    StartServing(WorkbenchRuntime::Scripted);
    m_client.WriteText(L"result=1");
    m_client.Signal(3);
    EXPECT_EQ(8U, m_client.WaitForResponse()) << "also of a command that has failed";
    // The workbench waits until the window procedure returns: no breakpoint and no outcome yet.
    m_client.Stop();
    WorkbenchRun::WaitForLogLine(BreakpointLines()[4]);
    EXPECT_TRUE(LogIs(Join({StartLines(), WaitLines(L"EV_INVOKE"), {L"CHost::Run Command is Invoke: result=1"}, [&] {
                                Lines lines = BreakpointLines();
                                lines.resize(5);
                                return lines;
                            }()})));
    EXPECT_EQ(Call("Invoke", "result=1")[0], Process().Record().back());
    EXPECT_FALSE(m_client.IsSignalled(9));
    answer.Signal();
    EXPECT_EQ(9U, m_client.WaitForResponse());
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(
        LogIs(Join({StartLines(), CommandLines(3, L"result=1", L"failed, result = ActionInvokeFail"), StopLines()})));
    EXPECT_EQ(3U, m_client.Messages().size());
}

TEST_F(OrvWorkBench64, LeavesTheBreakpointsSuccessToAClientThatDoesNotTakeIt)
{
    m_client.WhenIdle({});
    StartServing(WorkbenchRuntime::Scripted);
    m_client.WriteText(L"result=2");
    m_client.Signal(2);
    m_client.WaitForMessages(2);
    WorkbenchRun::WaitForLogLine(L"CHost::Run command failed, result = ActionLoadAssemblyFail");
    Stop();
    EXPECT_THAT(m_client.Messages(),
                ElementsAre(Posted(c_readyMessage, false, false), Sent(c_idleMessage, true, false),
                            Sent(c_exitingMessage, true, true)));
}

TEST_F(OrvWorkBench64, ReportsAWindowThatAnswersIdleWithZero)
{
    StartServing(WorkbenchRuntime::Scripted);
    m_client.AnswerIdleWith(0);
    EXPECT_EQ(8U, m_client.Carry(3, L"zero"));
    m_client.AnswerIdleWith(1);
    EXPECT_EQ(8U, m_client.Carry(3, L"one"));
    Stop();
    const std::wstring anyText = L"CHost::Breakpoint " + std::wstring(c_anyText);
    Lines refused = CommandLines(3, L"zero", L"succeeded, result = ActionSuccess");
    const Lines error{L"CHost::Breakpoint Error is PostMessage:", L"", anyText, L""};
    refused.insert(refused.begin() + 11, error.begin(), error.end());
    EXPECT_TRUE(LogIs(
        Join({StartLines(), refused, CommandLines(3, L"one", L"succeeded, result = ActionSuccess"), StopLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({CallWithBreakpoint("Invoke", "zero"),
                                                               CallWithBreakpoint("Invoke", "one")})));
}

TEST_F(OrvWorkBench64, WritesAHeartbeatAfterTenSecondsWithoutACommand)
{
    StartServing(WorkbenchRuntime::Scripted);
    WorkbenchRun::WaitForLogLine(L"CHost::Run Timeout");
    EXPECT_TRUE(Process().IsRunning());
    EXPECT_EQ(8U, m_client.Carry(1, L"x"));
    Stop();
    EXPECT_TRUE(LogIs(Join({StartLines(),
                            {L"CHost::Run Sleeping", L"", L"CWBEvent::Wait Waiting", L"", L"CWBEvent::Wait Timeout",
                             L"", L"CHost::Run Timeout", L""},
                            CommandLines(1, L"x", L"succeeded, result = ActionSuccess"),
                            StopLines()})));
}

TEST_F(OrvWorkBench64, StopsBeforeAPendingLoad)
{
    m_client.MakeShareAndWindow();
    m_client.Signal(1);
    m_client.Signal(0);
    Prepare(WorkbenchRuntime::Scripted);
    Start();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(LogIs(Join({StartLines(), StopLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({})));
    EXPECT_TRUE(m_client.IsSignalled(1)) << "nobody has taken it";
    EXPECT_FALSE(m_client.IsSignalled(0));
}

TEST_F(OrvWorkBench64, TakesThePendingCommandsFromTheLowestSlotOn)
{
    m_client.MakeShareAndWindow();
    m_client.WriteText(L"x");
    for (const unsigned slot : {7U, 5U, 4U, 1U})
        m_client.Signal(slot);
    Prepare(WorkbenchRuntime::Scripted);
    Start();
    m_client.WaitForMessages(2);
    WorkbenchRun::WaitForLogLine(L"CHost::Breakpoint breakpointed workbench ok");
    EXPECT_EQ(8U, m_client.WaitForResponse());
    Stop();
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({Call("LoadAssembly", "x"), Call("Delete", "x"), Call("Reset", ""),
                                           CallWithBreakpoint("SetProperty", "x")})));
}

TEST_F(OrvWorkBench64, EndsWithoutAResponseWhenAnExceptionReachesTheLoop)
{
    StartServing(WorkbenchRuntime::Scripted);
    m_client.WriteText(L"throw");
    m_client.Signal(1);
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(
        LogIs(Join({StartLines(),
                    WaitLines(L"EV_LOAD"),
                    {L"CHost::Run Command is Load: throw", L"CHost::Run WorkBench Exception in main loop", L""},
                    ExitLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({Call("LoadAssembly", "throw")})));
    EXPECT_THAT(m_client.Messages(),
                ElementsAre(Posted(c_readyMessage, false, false), Sent(c_exitingMessage, false, false)));
    EXPECT_FALSE(m_client.IsSignalled(8));
    EXPECT_FALSE(m_client.IsSignalled(9));
}

// An access violation in what the runtime calls, for example.
TEST_F(OrvWorkBench64, EndsInTheSameWayWhenAWindowsExceptionReachesTheLoop)
{
    StartServing(WorkbenchRuntime::Scripted);
    m_client.WriteText(L"raise=0xC0000005");
    m_client.Signal(1);
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(LogIs(
        Join({StartLines(),
              WaitLines(L"EV_LOAD"),
              {L"CHost::Run Command is Load: raise=0xC0000005", L"CHost::Run WorkBench Exception in main loop", L""},
              ExitLines()})));
    EXPECT_THAT(m_client.Messages(),
                ElementsAre(Posted(c_readyMessage, false, false), Sent(c_exitingMessage, false, false)));
    EXPECT_FALSE(m_client.IsSignalled(8));
    EXPECT_FALSE(m_client.IsSignalled(9));
}

TEST_F(OrvWorkBench64, EndsWhenAnExceptionLeavesTheBreakpoint)
{
    const EnvironmentVariable breakpoint(L"ORV_SCRIPT_BREAKPOINT", L"throw");
    StartServing(WorkbenchRuntime::Scripted);
    m_client.WriteText(L"x");
    m_client.Signal(6);
    EXPECT_EQ(1U, Process().WaitForExit());
    Lines untilThrown = BreakpointLines();
    untilThrown.resize(7);
    EXPECT_TRUE(LogIs(Join({StartLines(),
                            WaitLines(L"EV_SUCCESS"),
                            {L"CHost::Run Command is Get: x"},
                            untilThrown,
                            {L"CHost::Run WorkBench Exception in main loop", L""},
                            ExitLines()})));
    EXPECT_THAT(m_client.Messages(),
                ElementsAre(Posted(c_readyMessage, false, false), Sent(c_idleMessage, true, false),
                            Sent(c_exitingMessage, false, false)));
}

TEST_F(OrvWorkBench64, EndsWhenTheNameOfACommandEventIsTaken)
{
    // An object of another kind under the load event's name: neither side has that event.
    const uint32_t id = FreshId() & 0x7FFFFFFF;
    const std::wstring hexId = contract::Hex(id);
    const UniqueHandle taken(CreateMutexW(nullptr, FALSE, contract::KernelName(contract::EventName(1, id)).c_str()));
    InProcessClient client(id);
    client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    Start(client);
    EXPECT_EQ(1U, Process().WaitForExit());
    Lines events = EventLines(hexId);
    events[1] = L"CProxySecManager::OrvPCreateEvent CreateEvent " + contract::KernelName(contract::EventName(1, id)) +
                L" Failed";
    events.insert(events.begin() + 2, {SystemText(6)[0], L""});
    const Lines log = WorkbenchRun::Log();
    ASSERT_LE(events.size() + 9, log.size());
    EXPECT_THAT(Lines(log.begin(), log.begin() + static_cast<ptrdiff_t>(events.size())), ElementsAreArray(events));
    EXPECT_THAT(Lines(log.end() - 10, log.end()),
                ElementsAre(L"CHost::Run Sleeping", L"", L"CWBEvent::Wait Waiting", L"", L"CWBEvent::Wait Error", L"",
                            L"CHost::Run error in event management so  exiting", L"", L"CHost::Run WorkBench Exiting",
                            L""));
    // The workbench does not wait for the client here: the response may be there before the posted message is
    // handled, and a sent message overtakes it.
    EXPECT_THAT(client.WaitForMessages(2), UnorderedElementsAre(FieldsAre(c_readyMessage, 0U, 0, false, _, _),
                                                                Sent(c_exitingMessage, false, true)));
    EXPECT_EQ(9U, client.WaitForResponse());
}

TEST_F(OrvWorkBench64, PassesTextsAsTheyAre)
{
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(1, L""));
    EXPECT_EQ(8U, m_client.Carry(1, L"100%s %n%d %"));
    EXPECT_EQ(8U, m_client.Carry(1, L"\x20AC \x4E2D \xD83D\xDE00"));
    EXPECT_EQ(8U, m_client.Carry(1, L"two\nlines"));
    Stop();
    Lines twoLines = CommandLines(1, L"two", L"succeeded, result = ActionSuccess");
    twoLines.insert(twoLines.begin() + 6, L"lines");
    EXPECT_TRUE(LogIs(Join({StartLines(), CommandLines(1, L"", L"succeeded, result = ActionSuccess"),
                            CommandLines(1, L"100%s %n%d %", L"succeeded, result = ActionSuccess"),
                            CommandLines(1, L"\x20AC \x4E2D \xD83D\xDE00", L"succeeded, result = ActionSuccess"),
                            twoLines, StopLines()})));
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({Call("LoadAssembly", ""), Call("LoadAssembly", "100%s %n%d %"),
                                           Call("LoadAssembly", "\xE2\x82\xAC \xE4\xB8\xAD \xF0\x9F\x98\x80"),
                                           Call("LoadAssembly", "two\\nlines")})));
}

TEST_F(OrvWorkBench64, ReadsATextWithoutAnEndUpToTheEndOfItsField)
{
    StartServing(WorkbenchRuntime::Scripted);
    std::fill_n(m_client.TextField(), contract::c_textUnits, L'a');
    m_client.TextField()[contract::c_textUnits] = L'b'; // the client's own data
    m_client.Signal(1);
    EXPECT_EQ(8U, m_client.WaitForResponse());
    Stop();
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({Call("LoadAssembly", std::string(contract::c_textUnits, 'a'))})));
    // A long line is cut, and loses its line end too.
    EXPECT_THAT(WorkbenchRun::Log(),
                Contains(AllOf(testing::StartsWith(L"CHost::Run Command is Load: " + std::wstring(900, L'a')),
                               testing::EndsWith(L" CHost::Run command succeeded, result = ActionSuccess"))));
}

TEST_F(OrvWorkBench64, GoesOnWhenTheClientIsGone)
{
    const std::wstring name = FreshName(L"dies");
    const Meeting ready(name);
    const ChildProcess dying = ChildProcess::StartRole(L"ClientThatDies", {name});
    ready.Wait();
    InProcessClient heir(dying.Id());
    heir.MakeShare();
    Prepare(WorkbenchRuntime::Scripted);
    Start(heir);
    WorkbenchRun::WaitForLogLine(L"CWBEvent::Wait Waiting");
    dying.Kill();

    heir.WriteText(L"result=10");
    heir.Signal(3);
    WorkbenchRun::WaitForLogLine(L"CHost::Run command succeeded, result = ActionInvokedOk");
    EXPECT_EQ(8U, heir.WaitForResponse());
    heir.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(
        LogIs(Join({StartLines(heir), InvokeWithoutWindow(heir, L"result=10", L"succeeded, result = ActionInvokedOk"),
                    StopLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({CallWithBreakpoint("Invoke", "result=10")})));
}

TEST_F(OrvWorkBench64, GoesOnWhenTheClientDiesWhileItHandlesTheIdleMessage)
{
    const std::wstring readyName = FreshName(L"hangs");
    const std::wstring reachedName = FreshName(L"reached");
    const Meeting ready(readyName);
    const Meeting reached(reachedName);
    const ChildProcess hanging = ChildProcess::StartRole(L"ClientThatHangs", {readyName, reachedName});
    ready.Wait();
    InProcessClient heir(hanging.Id());
    heir.MakeShare();
    Prepare(WorkbenchRuntime::Scripted);
    Start(heir);
    heir.WriteText(L"result=10");
    heir.Signal(3);
    reached.Wait();
    EXPECT_EQ(8U, heir.WaitForResponse());
    hanging.Kill();
    EXPECT_EQ(8U, heir.WaitForResponse());
    heir.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_THAT(WorkbenchRun::Log(),
                IsSupersetOf({L"CHost::Breakpoint Error is PostMessage:",
                              L"CHost::Breakpoint breakpointed workbench ok", L"CHost::Run WorkBench Exiting"}));
}
