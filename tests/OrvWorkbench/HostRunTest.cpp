#include "OrvProfiler/share/ProxyShare.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/PageFault.h"

#include <atomic>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <thread>

using contract::c_textUnits;
using contract::Command;
using contract::Join;
using contract::KernelName;
using contract::WaitLines;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

// Opening the share, and the loop that serves the client's commands.

namespace
{
constexpr DWORD c_abandoned = 128;
constexpr DWORD c_timeout = 258;
constexpr DWORD c_failed = 0xFFFFFFFF;

class CHostRun : public CHostWithStandIns
{
protected:
    CHostRun() { ClientIsThere(); }

    // The lines from the start of Run to the ready message.
    Lines ReadyLines() const
    {
        return Join({OpenedShareLines(),
                     {L"CHost::Run Zeph window is 0000000012345678\n", L"window posted 12345678 83f0 0 0\n"}});
    }
    static Lines BreakpointLines()
    {
        return {L"CHost::Breakpoint Workbench breakpoint\n\n",
                L"CHost::Breakpoint setting response ok\n\n",
                L"CHost::Breakpoint Sending IDLE state to HWND 0000000012345678\n",
                L"window sent 12345678 8407 0 0\n",
                L"CHost::Breakpoint entering IDLE breakpoint\n\n",
                L"runtime OrvBreakPoint \"\"\n",
                L"CHost::Breakpoint breakpointed workbench ok\n\n"};
    }
    static Lines CommandLines(const Command& command, const wchar_t* text, const wchar_t* outcome)
    {
        const std::wstring method(command.method, command.method + std::strlen(command.method));
        return Join({WaitLines(command.eventName),
                     {L"CHost::Run Command is " + std::wstring(command.word) + L": " + text + L"\n",
                      L"runtime " + method + L" \"" + (command.takesText ? text : L"") + L"\"\n"},
                     command.breaks ? BreakpointLines() : Lines{},
                     {outcome}});
    }
    // The lines of a whole run that does this between its start and a stop.
    Lines ServedLines(const Lines& served) const
    {
        return Join({ReadyLines(), served, StopLines(), {L"runtime release\n"}});
    }
    // Runs the host until the waits that were set up are over.
    int Serve()
    {
        CHost host(m_id, c_assembly, c_type);
        m_trace.Clear();
        return host.Run();
    }
};

} // namespace

TEST_F(CHostWithStandIns, OpensTheShareThatTheClientMade)
{
    ClientIsThere();
    Client().WriteText(L"text");
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_TRUE(host.Init());
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(OpenedShareLines()));
    ASSERT_NE(nullptr, g_pShare);
    EXPECT_FALSE(g_pShare->IsCreated());
    EXPECT_STREQ(L"text", Client().TextField());
}

TEST_F(CHostWithStandIns, CreatesTheShareWhenThereIsNone)
{
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_TRUE(host.Init());
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(CreatedShareLines()));
    ASSERT_NE(nullptr, g_pShare);
    EXPECT_TRUE(g_pShare->IsCreated());
}

TEST_F(CHostWithStandIns, KeepsTheShareObjectThatTheProcessHas)
{
    ClientIsThere();
    CHost host(m_id, c_assembly, c_type);
    EXPECT_TRUE(host.Init());
    const CProxyShare* const share = g_pShare;
    m_trace.Clear();
    EXPECT_TRUE(host.Init());
    EXPECT_EQ(share, g_pShare);
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(OpenedShareLines()));
}

TEST_F(CHostWithStandIns, LeavesTheShareToTheProcess)
{
    ClientIsThere();
    {
        CHost host(m_id, c_assembly, c_type);
        EXPECT_TRUE(host.Init());
    }
    ASSERT_NE(nullptr, g_pShare);
    EXPECT_NE(nullptr, g_pShare->GetControl());
}

TEST_F(CHostWithStandIns, SucceedsAlsoWithoutAShare)
{
    const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_NOT_ENOUGH_MEMORY);
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_TRUE(host.Init());
    EXPECT_THAT(m_trace.Lines(),
                ElementsAre(contract::c_shareSizeLine, contract::OpenMapLine(m_shareName),
                            contract::c_openMappingFailedLine, contract::c_openMapFailedLine,
                            contract::MappingCreatedLine(KernelName(m_shareName)),
                            L"CProxySecManager::OrvPCreateFileMapping Failed with <error 8>\n",
                            L"CProxyMap::Create create share " + m_shareName + L" failed\n<error 8>\n",
                            L"CHost::Init Failed to open share\n\n"));
}

TEST_F(CHostWithStandIns, DoesNotRunWithoutMemoryForTheShareObject)
{
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    {
        AllocationProbe memory;
        memory.FailSize(sizeof(CProxyShare));
        const bool initialised = host.Init();
        memory.StopFailing();
        EXPECT_FALSE(initialised);
        EXPECT_TRUE(memory.HasFailed());
        memory.FailSize(sizeof(CProxyShare));
        const int result = host.Run();
        memory.StopFailing();
        EXPECT_EQ(0, result);
    }
    EXPECT_EQ(nullptr, g_pShare);
    EXPECT_THAT(m_trace.Lines(), IsEmpty());
    EXPECT_FALSE(TakeSignal(9));
}

TEST_F(CHostWithStandIns, DoesNotRunWhenOpeningTheShareThrows)
{
    ClientIsThere();
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    const Redirect<decltype(MapViewOfFile)> map("MapViewOfFile", [](HANDLE, DWORD, DWORD, DWORD, SIZE_T) -> void* {
        throw std::runtime_error("on purpose");
    });
    EXPECT_FALSE(host.Init());
    EXPECT_EQ(0, host.Run());
    EXPECT_THAT(m_trace.Lines(), Not(Contains(testing::StartsWith(L"CHost::"))));
    EXPECT_THAT(m_trace.Lines(), Not(Contains(testing::StartsWith(L"window"))));
}

TEST_F(CHostWithStandIns, DoesNotRunWithoutTheClientsWindow)
{
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_EQ(0, host.Run());
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(Join(
                                     {CreatedShareLines(),
                                      {L"CHost::Run Zeph window is 0000000000000000\n",
                                       L"CHost::Run Zeph Window handle for notifications is NULL cant go on\n\n"}})));
    EXPECT_TRUE(TakeSignal(9));
    EXPECT_FALSE(TakeSignal(8));
    EXPECT_EQ(nullptr, g_hZephWnd);
}

TEST_F(CHostWithStandIns, DoesNotRunWithoutAShare)
{
    const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_NOT_ENOUGH_MEMORY);
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_EQ(0, host.Run());
    const Lines lines = m_trace.Lines();
    ASSERT_LE(3U, lines.size());
    EXPECT_THAT(Lines(lines.end() - 3, lines.end()),
                ElementsAre(L"CHost::Init Failed to open share\n\n", L"CHost::Run Zeph window is 0000000000000000\n",
                            L"CHost::Run Zeph Window handle for notifications is NULL cant go on\n\n"));
    EXPECT_TRUE(TakeSignal(9));
}

TEST_F(CHostWithStandIns, ReadsTheWindowAsAWhole64BitHandle)
{
    ClientIsThere();
    Client().StoreWindow(0xFEDCBA9876543210);
    CHost host(m_id, c_assembly, c_type);
    EXPECT_EQ(1, host.Run());
    EXPECT_EQ(0xFEDCBA9876543210, reinterpret_cast<uintptr_t>(g_hZephWnd));
    EXPECT_THAT(m_trace.Lines(), Contains(L"CHost::Run Zeph window is FEDCBA9876543210\n"));
    EXPECT_THAT(m_trace.Lines(), Contains(L"window posted fedcba9876543210 83f0 0 0\n"));
    EXPECT_THAT(m_trace.Lines(), Contains(L"window sent fedcba9876543210 83eb 0 0\n"));
}

TEST_F(CHostRun, IsReadyBeforeTheFirstWaitAndEndsWithAStop)
{
    EXPECT_EQ(1, Serve());
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(ServedLines({})));
    EXPECT_THAT(m_calls, IsEmpty());
}

TEST_F(CHostRun, AnswersNoStop)
{
    CHost host(m_id, c_assembly, c_type);
    EXPECT_EQ(1, host.Run());
    EXPECT_FALSE(TakeSignal(8));
    EXPECT_FALSE(TakeSignal(9));
    EXPECT_FALSE(TakeSignal(10));
}

TEST_F(CHostRun, DoesNotCareWhatTheWindowAnswersToReadyAndExiting)
{
    m_sendAnswer = 0;
    m_sendError = 1400;
    EXPECT_EQ(1, Serve());
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(ServedLines({})));
}

TEST_F(CHostRun, CarriesOutEachCommand)
{
    Client().WriteText(L"the text");
    for (const Command& command : contract::c_commands)
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(command.eventName)));
        bool responded = false;
        NextWait(command.slot);
        NextWait(WAIT_OBJECT_0, [&] { responded = TakeSignal(8) && !TakeSignal(9) && !TakeSignal(10); });
        EXPECT_EQ(1, Serve());
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAreArray(ServedLines(CommandLines(
                        command, L"the text", L"CHost::Run command succeeded, result = ActionSuccess\n"))));
        EXPECT_TRUE(responded);
    }
}

TEST_F(CHostRun, ReportsEachCommandThatFails)
{
    Client().WriteText(L"the text");
    m_method = [](const ManagedCall&, DWORD* returnValue) {
        *returnValue = 1;
        return S_OK;
    };
    for (const Command& command : contract::c_commands)
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(command.eventName)));
        bool responded = false;
        bool passedBreakpoint = false;
        NextWait(command.slot);
        NextWait(WAIT_OBJECT_0, [&] {
            responded = TakeSignal(9);
            passedBreakpoint = TakeSignal(8); // deliberately not withdrawn
        });
        EXPECT_EQ(1, Serve());
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAreArray(ServedLines(CommandLines(
                        command, L"the text", L"CHost::Run command failed, result = ActionInvokeFail\n"))));
        EXPECT_TRUE(responded);
        EXPECT_EQ(command.breaks, passedBreakpoint);
    }
}

TEST_F(CHostRun, ReportsACallThatTheRuntimeRefusesAsFailed)
{
    Client().WriteText(L"x");
    m_method = [](const ManagedCall& call, DWORD* returnValue) {
        *returnValue = 5;
        return call.method == L"OrvBreakPoint" ? S_OK : E_FAIL;
    };
    bool responded = false;
    NextWait(3);
    NextWait(WAIT_OBJECT_0, [&] { responded = TakeSignal(9); });
    EXPECT_EQ(1, Serve());
    EXPECT_THAT(m_trace.Lines(),
                ElementsAreArray(ServedLines(Join({WaitLines(L"EV_INVOKE"),
                                                   {L"CHost::Run Command is Invoke: x\n", L"runtime Invoke \"x\"\n",
                                                    L"CHost::Execute ExecuteInDefaultAppDomain failed\n"},
                                                   BreakpointLines(),
                                                   {L"CHost::Run command failed, result = ActionFail\n"}}))));
    EXPECT_TRUE(responded);
}

TEST_F(CHostRun, SplitsResultsBetweenFourAndFive)
{
    struct Case
    {
        DWORD managed;
        unsigned response;
        const wchar_t* line;
    };
    const Case cases[] = {
        {0, 9, L"CHost::Run command failed, result = ActionEventUnknown\n"},
        {1, 9, L"CHost::Run command failed, result = ActionInvokeFail\n"},
        {2, 9, L"CHost::Run command failed, result = ActionLoadAssemblyFail\n"},
        {3, 9, L"CHost::Run command failed, result = ActionCreateTypeFail\n"},
        {4, 9, L"CHost::Run command failed, result = ActionFail\n"},
        {5, 8, L"CHost::Run command succeeded, result = ActionSuccess\n"},
        {6, 8, L"CHost::Run command succeeded, result = ActionLoadedAssemblyOk\n"},
        {7, 8, L"CHost::Run command succeeded, result = ActionAssemblyExists\n"},
        {8, 8, L"CHost::Run command succeeded, result = ActionCreatedType\n"},
        {9, 8, L"CHost::Run command succeeded, result = ActionTypeExists\n"},
        {10, 8, L"CHost::Run command succeeded, result = ActionInvokedOk\n"},
        {11, 8, L"CHost::Run command succeeded, result = ActionAssemblyNotFound\n"},
        {12, 8, L"CHost::Run command succeeded, result = ActionTypeNotFound\n"},
        {13, 8, L"CHost::Run command succeeded, result = Exception\n"},
        {14, 8, L"CHost::Run command succeeded, result = unknown result 14\n"},
        {0x7FFFFFFF, 8, L"CHost::Run command succeeded, result = unknown result 2147483647\n"},
        {0xFFFFFFFF, 9, L"CHost::Run command failed, result = unknown result -1\n"},
        {0x80000000, 9, L"CHost::Run command failed, result = unknown result -2147483648\n"},
    };
    CHost host(m_id, c_assembly, c_type);
    for (const Case& one : cases)
    {
        m_method = [&one](const ManagedCall&, DWORD* returnValue) {
            *returnValue = one.managed;
            return S_OK;
        };
        NextWait(1);
        m_trace.Clear();
        EXPECT_EQ(1, host.Run());
        EXPECT_THAT(m_trace.Lines(), Contains(one.line));
        EXPECT_EQ(one.response == 8, TakeSignal(8)) << one.managed;
        EXPECT_EQ(one.response == 9, TakeSignal(9)) << one.managed;
    }
}

TEST_F(CHostRun, PassesNothingToResetWhateverTheTextIs)
{
    Client().WriteText(L"left over");
    NextWait(5);
    Serve();
    ASSERT_EQ(1U, m_calls.size());
    EXPECT_EQ(L"", m_calls[0].argument);
    EXPECT_THAT(m_trace.Lines(), Contains(L"CHost::Run Command is Reset: left over\n"));
}

TEST_F(CHostRun, TakesTheTextAsItIs)
{
    const std::wstring texts[] = {
        L"", L" ", L"%s%s%s%n %d 100% %%", L"a\tb\r\nc", L"\"quoted\" \\ back", L"\x20AC\x4E2D\xD83D\xDE00 \xD800",
    };
    for (const std::wstring& text : texts)
    {
        m_calls.clear();
        Client().WriteText(text);
        NextWait(1);
        Serve();
        ASSERT_EQ(1U, m_calls.size());
        EXPECT_EQ(text, m_calls[0].argument);
        EXPECT_THAT(m_trace.Lines(), Contains(L"CHost::Run Command is Load: " + text + L"\n"));
    }
}

TEST_F(CHostRun, ReadsAnUnterminatedTextUpToTheEndOfTheControlBlock)
{
    std::fill_n(Client().TextField(), c_textUnits, L'a');
    std::fill_n(Client().TextField() + c_textUnits, 1000, L'b');
    NextWait(1);
    Serve();
    ASSERT_EQ(1U, m_calls.size());
    EXPECT_EQ(std::wstring(c_textUnits, L'a'), m_calls[0].argument);

    m_calls.clear();
    Client().TextField()[c_textUnits - 1] = L'\0';
    NextWait(1);
    Serve();
    EXPECT_EQ(std::wstring(c_textUnits - 1, L'a'), m_calls.at(0).argument);
}

TEST_F(CHostRun, CutsTheLineOfALongTextButNotTheArgument)
{
    const std::wstring text(2000, L'x');
    Client().WriteText(text);
    NextWait(1);
    Serve();
    EXPECT_EQ(text, m_calls.at(0).argument);
    std::vector<size_t> cut;
    for (const std::wstring& line : m_trace.Raw())
    {
        if (line.find(L"CHost::Run Command is Load: xxx") != std::wstring::npos)
            cut.push_back(line.size());
    }
    EXPECT_THAT(cut, ElementsAre(1024));
}

TEST_F(CHostRun, ReadsTheTextOfEachCommandAnew)
{
    Client().WriteText(L"first");
    NextWait(1);
    NextWait(4, [this] { Client().WriteText(L"2nd"); });
    Serve();
    ASSERT_EQ(2U, m_calls.size());
    EXPECT_EQ(L"first", m_calls[0].argument);
    EXPECT_EQ(L"2nd", m_calls[1].argument);
}

TEST_F(CHostRun, KeepsTheArgumentWhenTheClientChangesTheTextDuringTheCall)
{
    Client().WriteText(L"before");
    std::wstring seen;
    m_method = [&](const ManagedCall& call, DWORD* returnValue) {
        Client().WriteText(L"afterwards");
        seen = call.argument;
        *returnValue = 5;
        return S_OK;
    };
    NextWait(1);
    Serve();
    EXPECT_EQ(L"before", seen);
    EXPECT_THAT(m_trace.Lines(), Contains(L"CHost::Run Command is Load: before\n"));
}

TEST_F(CHostRun, StaysWithinTheTextWhileTheClientWritesIt)
{
    constexpr int commands = 60;
    std::fill_n(Client().TextField(), c_textUnits, L'a');
    std::fill_n(Client().TextField() + c_textUnits, 1000, L'z');
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        volatile wchar_t* const text = Client().TextField();
        while (!stop)
        {
            // The terminating NUL comes and goes at several places.
            for (const size_t end : {size_t{10}, c_textUnits / 2, c_textUnits - 1})
            {
                text[end] = L'\0';
                for (size_t i = 0; i < 100; ++i)
                    text[i] = text[i] == L'a' ? L'b' : L'a';
                text[end] = L'a';
            }
        }
    });
    for (int i = 0; i < commands; ++i)
        NextWait(1);
    Serve();
    stop = true;
    writer.join();
    ASSERT_EQ(static_cast<size_t>(commands), m_calls.size());
    for (const ManagedCall& call : m_calls)
    {
        EXPECT_LE(call.argument.size(), c_textUnits);
        EXPECT_EQ(std::wstring::npos, call.argument.find_first_not_of(L"ab"));
    }
}

TEST_F(CHostRun, WaitsOnAfterATimeOut)
{
    NextWait(c_timeout);
    NextWait(c_timeout);
    EXPECT_EQ(1, Serve());
    const Lines heartbeat{L"CHost::Run Sleeping\n\n", L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Wait Timeout\n\n",
                          L"CHost::Run Timeout\n\n"};
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(ServedLines(Join({heartbeat, heartbeat}))));
}

TEST_F(CHostRun, EndsWhenTheWaitFails)
{
    NextWait(c_failed);
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_EQ(1, host.Run());
    EXPECT_THAT(
        m_trace.Lines(),
        ElementsAreArray(Join({ReadyLines(),
                               {L"CHost::Run Sleeping\n\n", L"CWBEvent::Wait Waiting\n\n",
                                L"CWBEvent::Wait Error\n\n", L"CHost::Run error in event management so  exiting\n\n",
                                L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"}})));
    EXPECT_TRUE(TakeSignal(9));
    EXPECT_FALSE(TakeSignal(8));
}

TEST_F(CHostRun, EndsWhenACommandEventIsMissing)
{
    // The fourth event is the invoke command's.
    static int created;
    created = 0;
    const Redirect<decltype(CreateEventW)> create(
        "CreateEventW", [](LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR name) -> HANDLE {
            return ++created == 4 ? nullptr
                                  : CreateEventExW(nullptr, name, CREATE_EVENT_MANUAL_RESET, MAXIMUM_ALLOWED);
        });
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_EQ(1, host.Run());
    EXPECT_THAT(m_trace.Lines(), Contains(L"CHost::Run error in event management so  exiting\n\n"));
    EXPECT_TRUE(TakeSignal(9));
}

TEST_F(CHostRun, EndsWhenAnEventIsAbandoned)
{
    for (const DWORD slot : {0UL, 3UL, 7UL})
    {
        NextWait(c_abandoned + slot);
        CHost host(m_id, c_assembly, c_type);
        m_trace.Clear();
        EXPECT_EQ(1, host.Run());
        EXPECT_THAT(m_trace.Lines(),
                    ElementsAreArray(Join(
                        {ReadyLines(),
                         {L"CHost::Run Sleeping\n\n", L"CWBEvent::Wait Waiting\n\n", L"CWBEvent::Wait Abandoned\n\n",
                          L"CHost::Run An abandoned event means OrvP has gone, so therefore exiting\n\n",
                          L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"}})));
        EXPECT_TRUE(TakeSignal(9));
        EXPECT_FALSE(TakeSignal(8));
    }
    EXPECT_THAT(m_calls, IsEmpty());
}

TEST_F(CHostRun, EndsWithoutAResponseWhenACallThrows)
{
    const Method throwers[] = {
        [](const ManagedCall&, DWORD*) -> HRESULT { throw std::runtime_error("on purpose"); },
        [](const ManagedCall&, DWORD*) -> HRESULT { throw 42; },
    };
    for (const Method& thrower : throwers)
    {
        m_method = thrower;
        Client().WriteText(L"x");
        NextWait(1);
        CHost host(m_id, c_assembly, c_type);
        m_trace.Clear();
        EXPECT_EQ(1, host.Run());
        EXPECT_THAT(
            m_trace.Lines(),
            ElementsAreArray(Join({ReadyLines(),
                                   WaitLines(L"EV_LOAD"),
                                   {L"CHost::Run Command is Load: x\n", L"runtime LoadAssembly \"x\"\n",
                                    L"CHost::Run WorkBench Exception in main loop\n\n",
                                    L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"}})));
        EXPECT_FALSE(TakeSignal(8));
        EXPECT_FALSE(TakeSignal(9));
    }
    EXPECT_EQ(2, m_releases);
}

TEST_F(CHostRun, EndsWhenTheBreakpointThrows)
{
    m_method = [](const ManagedCall& call, DWORD* returnValue) -> HRESULT {
        if (call.method == L"OrvBreakPoint")
            throw std::runtime_error("on purpose");
        *returnValue = 10;
        return S_OK;
    };
    NextWait(3);
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_EQ(1, host.Run());
    const Lines lines = m_trace.Lines();
    ASSERT_LE(5U, lines.size());
    EXPECT_THAT(Lines(lines.end() - 5, lines.end()),
                ElementsAre(L"CHost::Breakpoint entering IDLE breakpoint\n\n", L"runtime OrvBreakPoint \"\"\n",
                            L"CHost::Run WorkBench Exception in main loop\n\n", L"CHost::Run WorkBench Exiting\n\n",
                            L"window sent 12345678 83eb 0 0\n"));
    EXPECT_TRUE(TakeSignal(8)) << "the breakpoint step's, before the exception";
    EXPECT_FALSE(TakeSignal(9));
}

TEST_F(CHostRun, EndsWhenTheTextCannotBeRead)
{
    std::optional<UnreadablePage> page;
    NextWait(1, [&] { page.emplace(g_pShare->GetControl()->commandText); });
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_EQ(1, host.Run());
    page.reset();
    EXPECT_THAT(m_trace.Lines(),
                ElementsAreArray(Join({ReadyLines(),
                                       WaitLines(L"EV_LOAD"),
                                       {L"CHost::Run WorkBench Exception in main loop\n\n",
                                        L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"}})));
    EXPECT_FALSE(TakeSignal(8));
    EXPECT_FALSE(TakeSignal(9));
}

TEST_F(CHostRun, CarriesOnWhenAResponseCannotBeSignalled)
{
    NextWait(1);
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    const FailingCall<decltype(SetEvent)> setEvent("SetEvent", ERROR_INVALID_HANDLE);
    EXPECT_EQ(1, host.Run());
    EXPECT_THAT(m_trace.Lines(),
                ElementsAreArray(Join({ReadyLines(),
                                       CommandLines(contract::c_commands[0], L"",
                                                    L"CHost::Run command succeeded, result = ActionSuccess\n"),
                                       {L"CWBEvent::Set Failed to set event EV_BREAKPOINT\n"},
                                       StopLines()})));
}

TEST_F(CHostRun, ServesWithoutARuntime)
{
    m_bindStatus = E_FAIL;
    m_bindGivesHost = false;
    Client().WriteText(L"x");
    for (const Command& command : contract::c_commands)
        NextWait(command.slot);
    EXPECT_EQ(1, Serve());
    EXPECT_THAT(m_calls, IsEmpty());
    Lines expected = ReadyLines();
    for (const Command& command : contract::c_commands)
    {
        Lines lines = CommandLines(command, L"x", L"CHost::Run command failed, result = ActionFail\n");
        // The call is refused before it reaches a runtime, and so is the breakpoint's.
        lines[4] = L"CHost::Execute ExecuteInDefaultAppDomain failed\n";
        if (command.breaks)
        {
            lines.erase(lines.end() - 3);
            lines[lines.size() - 2] = L"CHost::Breakpoint breakpointed workbench failed\n\n";
        }
        expected.insert(expected.end(), lines.begin(), lines.end());
    }
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(Join({expected, StopLines()})));
}

TEST_F(CHostRun, LosesNoHandleOverManyCommands)
{
    CHost host(m_id, c_assembly, c_type);
    EXPECT_EQ(1, host.Run());
    const unsigned before = OpenHandleCount();
    for (int i = 0; i < 50; ++i)
    {
        NextWait(1);
        NextWait(3);
        NextWait(c_timeout);
    }
    EXPECT_EQ(1, host.Run());
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_TRUE(HeapIsConsistent());
}
