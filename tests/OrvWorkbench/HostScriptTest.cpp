#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/OrvWorkbench/Host.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/faults/CallScript.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

// The program's entry, which the build has given this name.
extern "C" int WorkbenchMain(int argc, wchar_t** argv);

using contract::Join;

// What the host does, in its order: calls, lines, and the states that others see.

namespace
{
// The events are made, and closed.
Script MakeEvents()
{
    Script script;
    for (const wchar_t* const name : contract::c_eventNames)
    {
        script.push_back(L"CreateEventW default 1 0 " + std::wstring(name));
        script.push_back(L"trace CProxySecManager::OrvPCreateEvent CreateEvent " + std::wstring(name) +
                         L" succeeded \n");
    }
    return script;
}

Script CloseEvents()
{
    Script script;
    for (const wchar_t* const name : contract::c_eventNames)
        script.push_back(L"CloseHandle " + std::wstring(name));
    return script;
}

const Script c_bind = {
    L"trace CHost::CHost Executing CorBindToRuntimeEx\n",
    L"CorBindToRuntimeEx v2.0.50727 svr 2",
};
const Script c_askSession = {L"OpenProcess 400 0 own", L"OpenProcessToken process 20008",
                             L"GetTokenInformation token 12 something", L"CloseHandle token", L"CloseHandle process"};
const Script c_openShare = {L"trace CProxyMap::OpenMap Open Map Name: {share}\n",
                            L"OpenFileMappingW 6 0 Local\\{share}"};
// One wait for a command.
const Script c_wait = {L"trace CHost::Run Sleeping\n\n", L"trace CWBEvent::Wait Waiting\n\n",
                       L"WaitForMultipleObjects 8 "
                       L"EV_STOP,EV_LOAD,EV_CREATE,EV_INVOKE,EV_DELETE,EV_RESET,EV_SUCCESS,EV_FAILED 0 10000"};
// A guarded frame is entered: from here on any exception is taken.
const Script c_guard = {L"SetThreadStackGuarantee", L"_resetstkoflw"};
const Script c_exitMessage = {L"trace CHost::Run WorkBench Exiting\n\n", L"SendMessageW {window} 83eb 0 0"};
const Script c_exit = Join({c_guard, c_exitMessage});
const Script c_releaseRuntime = Join({c_guard, {L"trace runtime release\n"}});

// The share of a client is opened.
Script OpenShare()
{
    return Join({{L"trace CProxyShare::Create Size of Share is 116197744 bytes\n"},
                 c_askSession,
                 c_openShare,
                 {L"MapViewOfFile Local\\{share} f001f 0 0 0"},
                 c_askSession,
                 MakeMutexes(),
                 {L"trace CHost::Init Opened share for pid = {id}\n"}});
}

class CHostScript : public CHostWithStandIns
{
protected:
    CHostScript()
    {
        m_script.Rename(L"pid = " + m_hexId, L"pid = {id}");
        m_script.Rename(m_shareName, L"{share}");
        m_script.Rename(L"Local\\EV_", L"EV_");
        for (const wchar_t* const name : contract::c_eventNames)
            m_script.Rename(name + m_hexId, name);
        m_script.NameHandle(reinterpret_cast<void*>(c_window), L"{window}");
        m_script.WatchState([this] { return State(); });
        m_script.Clear();
    }
    ~CHostScript() override { m_script.WatchState(nullptr); }

    // What others can see, and the status of the last call of the runtime.
    std::wstring State() const
    {
        std::wstring state = g_sharePid == m_id ? L"id" : L"no id";
        state += g_hZephWnd != nullptr ? L", window" : L", no window";
        if (m_host == nullptr)
            return state;
        return state + L", status " + contract::Hex(StatusOf(*m_host));
    }

    static uint32_t StatusOf(const CHost& host)
    {
        // Behind the table of virtual functions and the runtime.
        constexpr size_t statusOffset = 16;
        uint32_t status = 0;
        std::memcpy(&status, reinterpret_cast<const unsigned char*>(&host) + statusOffset, sizeof status);
        return status;
    }

    // A host whose construction is over.
    CHost& Host()
    {
        m_made = std::make_unique<CHost>(m_id, c_assembly, c_type);
        m_host = m_made.get();
        m_script.Clear();
        return *m_made;
    }

    // A host whose client has made the share.
    CHost& HostWithClient()
    {
        ClientIsThere();
        return Host();
    }

    // A host that has served until the waits given so far were over: what it did behind the first wait's begin.
    void Serve()
    {
        CHost& host = HostWithClient();
        EXPECT_EQ(1, host.Run());
    }

    // What comes before the first wait.
    static Script Begin()
    {
        return Join({OpenShare(),
                     {L"= id, window, status 0", L"trace CHost::Run Zeph window is 0000000012345678\n",
                      L"PostMessageW {window} 83f0 0 0"},
                     c_guard});
    }
    static Script Stop()
    {
        return Join(
            {c_wait,
             {L"ResetEvent EV_STOP", L"trace CWBEvent::Wait Event is EV_STOP\n", L"trace CHost::Run Stopping\n\n"},
             c_exit});
    }
    static Script Woken(const std::wstring& name)
    {
        return Join({c_wait, {L"ResetEvent " + name, L"trace CWBEvent::Wait Event is " + name + L"\n"}});
    }

    const CHost* m_host = nullptr;
    std::unique_ptr<CHost> m_made;
    CallScript m_script;
};
} // namespace

TEST_F(CHostScript, IsConstructed)
{
    m_startStatus = 1;
    const CHost host(m_id, c_assembly, c_type);
    EXPECT_TRUE(m_script.Is(Join({{L"= id, no window"},
                                  MakeEvents(),
                                  c_bind,
                                  {L"trace runtime start\n", L"trace CHost::CHost Loaded Runtime\n"}})));
    EXPECT_EQ(1U, StatusOf(host));
}

TEST_F(CHostScript, LooksUpTheTextWhenItCannotBind)
{
    m_bindStatus = static_cast<HRESULT>(0x80131700);
    m_bindGivesHost = false;
    const CHost host(m_id, c_assembly, c_type);
    EXPECT_TRUE(m_script.Is(
        Join({{L"= id, no window"},
              MakeEvents(),
              c_bind,
              {L"trace CHost::CHost Failed to Loaded Runtime\n", L"FormatMessageW 2", L"trace CHost::CHost #s\n"}})));
    EXPECT_EQ(0x80131700U, StatusOf(host));
}

TEST_F(CHostScript, LooksUpTheTextWhenItCannotStart)
{
    m_startStatus = E_FAIL;
    const CHost host(m_id, c_assembly, c_type);
    EXPECT_TRUE(m_script.Is(Join({{L"= id, no window"},
                                  MakeEvents(),
                                  c_bind,
                                  {L"trace runtime start\n", L"trace CHost::CHost Failed to Loaded Runtime\n",
                                   L"FormatMessageW 2", L"trace CHost::CHost #s\n"}})));
    EXPECT_EQ(0x80004005U, StatusOf(host));
}

TEST_F(CHostScript, ClosesTheLogThenTheRuntimeThenTheEvents)
{
    const TemporaryFile file("");
    Host();
    TraceOpen(file.Path());
    m_script.Clear();
    m_host = nullptr;
    m_made.reset();
    EXPECT_TRUE(m_script.Is(Join({{L"= id, no window"}, c_guard, {L"fclose"}, c_releaseRuntime, CloseEvents()})));
}

TEST_F(CHostScript, Executes)
{
    CHost& host = Host();
    m_method = [](const ManagedCall&, DWORD* returnValue) {
        *returnValue = 7;
        return static_cast<HRESULT>(1);
    };
    EXPECT_EQ(7, host.Execute(L"Method", L"text"));
    EXPECT_TRUE(m_script.Is({L"trace runtime Method \"text\"\n", L"= id, no window, status 1"}));
}

TEST_F(CHostScript, LooksUpTheTextOfACallThatFailsBeforeItSaysSo)
{
    CHost& host = Host();
    m_method = [](const ManagedCall&, DWORD*) {
        SetLastError(1234);
        return E_FAIL;
    };
    EXPECT_EQ(4, host.Execute(L"Method", L"text"));
    EXPECT_TRUE(m_script.Is({L"trace runtime Method \"text\"\n", L"= id, no window, status 80004005",
                             L"FormatMessageW 1234", L"trace CHost::Execute ExecuteInDefaultAppDomain failed\n"}));
}

TEST_F(CHostScript, WithoutARuntimeACallFails)
{
    m_bindStatus = E_FAIL;
    m_bindGivesHost = false;
    CHost& host = Host();
    EXPECT_EQ(4, host.Execute(L"Method", L"text"));
    const Script steps = m_script.Steps();
    ASSERT_EQ(3U, steps.size());
    EXPECT_EQ(L"= id, no window, status 80004003", steps[0]);
    EXPECT_EQ(0U, steps[1].find(L"FormatMessageW "));
    EXPECT_EQ(L"trace CHost::Execute ExecuteInDefaultAppDomain failed\n", steps[2]);
}

TEST_F(CHostScript, PassesTheBreakpoint)
{
    CHost& host = Host();
    g_hZephWnd = reinterpret_cast<HWND>(c_window);
    m_method = [](const ManagedCall&, DWORD*) { return static_cast<HRESULT>(1); };
    m_script.Clear();
    EXPECT_EQ(5, host.Breakpoint());
    EXPECT_TRUE(m_script.Is(
        {L"trace CHost::Breakpoint Workbench breakpoint\n\n", L"trace CHost::Breakpoint setting response ok\n\n",
         L"SetEvent EV_BREAKPOINT", L"trace CHost::Breakpoint Sending IDLE state to HWND 0000000012345678\n",
         L"SendMessageW {window} 8407 0 0", L"trace CHost::Breakpoint entering IDLE breakpoint\n\n",
         L"trace runtime OrvBreakPoint \"\"\n", L"= id, window, status 1",
         L"trace CHost::Breakpoint breakpointed workbench ok\n\n"}));
}

TEST_F(CHostScript, SaysThatTheIdleMessageWasNotTaken)
{
    CHost& host = Host();
    m_sendAnswer = 0;
    m_sendError = 1400;
    m_method = [](const ManagedCall&, DWORD*) { return E_FAIL; };
    EXPECT_EQ(5, host.Breakpoint());
    EXPECT_TRUE(m_script.Is(
        {L"trace CHost::Breakpoint Workbench breakpoint\n\n", L"trace CHost::Breakpoint setting response ok\n\n",
         L"SetEvent EV_BREAKPOINT", L"trace CHost::Breakpoint Sending IDLE state to HWND 0000000000000000\n",
         L"SendMessageW null 8407 0 0", L"trace CHost::Breakpoint Error is PostMessage:\n\n", L"FormatMessageW 1400",
         L"trace CHost::Breakpoint <error 1400>\n", L"trace CHost::Breakpoint entering IDLE breakpoint\n\n",
         L"trace runtime OrvBreakPoint \"\"\n", L"= id, no window, status 80004005",
         L"trace CHost::Breakpoint breakpointed workbench failed\n\n"}));
}

TEST_F(CHostScript, OpensTheShareOfItsClient)
{
    CHost& host = HostWithClient();
    EXPECT_TRUE(host.Init());
    EXPECT_TRUE(m_script.Is(OpenShare()));
}

TEST_F(CHostScript, SaysThatItCannotOpenTheShare)
{
    CHost& host = Host();
    m_script.Fail("CreateFileMappingW");
    EXPECT_TRUE(host.Init());
    const Script steps = m_script.Steps();
    EXPECT_EQ(L"trace CHost::Init Failed to open share\n\n", steps.back());
}

TEST_F(CHostScript, RespondsBehindTheLineWhenThereIsNoWindow)
{
    CHost& host = HostWithClient();
    Client().StoreWindow(0);
    m_script.Clear();
    EXPECT_EQ(0, host.Run());
    EXPECT_TRUE(m_script.Is(Join({OpenShare(),
                                  {L"trace CHost::Run Zeph window is 0000000000000000\n",
                                   L"trace CHost::Run Zeph Window handle for notifications is NULL cant go on\n\n",
                                   L"SetEvent EV_PROPERTY_GET"}})));
}

TEST_F(CHostScript, StopsWithoutAResponse)
{
    Serve();
    EXPECT_TRUE(m_script.Is(Join({Begin(), Stop()})));
}

TEST_F(CHostScript, RespondsBeforeTheLineWhenAWaitFails)
{
    NextWait(WAIT_FAILED);
    Serve();
    EXPECT_TRUE(m_script.Is(Join({Begin(),
                                  c_wait,
                                  {L"trace CWBEvent::Wait Error\n\n", L"SetEvent EV_PROPERTY_GET",
                                   L"trace CHost::Run error in event management so  exiting\n\n"},
                                  c_exit})));
}

TEST_F(CHostScript, RespondsBeforeTheLineWhenAnEventIsAbandoned)
{
    NextWait(WAIT_ABANDONED_0 + 3);
    Serve();
    EXPECT_TRUE(
        m_script.Is(Join({Begin(),
                          c_wait,
                          {L"trace CWBEvent::Wait Abandoned\n\n", L"SetEvent EV_PROPERTY_GET",
                           L"trace CHost::Run An abandoned event means OrvP has gone, so therefore exiting\n\n"},
                          c_exit})));
}

TEST_F(CHostScript, WaitsAgainWhenTheTimeIsOver)
{
    NextWait(WAIT_TIMEOUT);
    Serve();
    EXPECT_TRUE(m_script.Is(
        Join({Begin(), c_wait, {L"trace CWBEvent::Wait Timeout\n\n", L"trace CHost::Run Timeout\n\n"}, Stop()})));
}

TEST_F(CHostScript, CarriesOutACommandWithoutABreakpoint)
{
    NextWait(1, [this] { Client().WriteText(L"file.dll"); });
    Serve();
    EXPECT_TRUE(m_script.Is(
        Join({Begin(),
              Woken(L"EV_LOAD"),
              {L"trace CHost::Run Command is Load: file.dll\n", L"trace runtime LoadAssembly \"file.dll\"\n",
               L"trace CHost::Run command succeeded, result = ActionSuccess\n", L"SetEvent EV_BREAKPOINT"},
              Stop()})));
}

TEST_F(CHostScript, PassesTheBreakpointBetweenTheCallAndItsResponse)
{
    NextWait(3, [this] { Client().WriteText(L"text"); });
    m_method = [](const ManagedCall& call, DWORD* returnValue) {
        *returnValue = call.method == L"Invoke" ? 1 : 5;
        return S_OK;
    };
    Serve();
    EXPECT_TRUE(m_script.Is(Join(
        {Begin(),
         Woken(L"EV_INVOKE"),
         {L"trace CHost::Run Command is Invoke: text\n", L"trace runtime Invoke \"text\"\n",
          L"trace CHost::Breakpoint Workbench breakpoint\n\n", L"trace CHost::Breakpoint setting response ok\n\n",
          L"SetEvent EV_BREAKPOINT", L"trace CHost::Breakpoint Sending IDLE state to HWND 0000000012345678\n",
          L"SendMessageW {window} 8407 0 0", L"trace CHost::Breakpoint entering IDLE breakpoint\n\n",
          L"trace runtime OrvBreakPoint \"\"\n", L"trace CHost::Breakpoint breakpointed workbench ok\n\n",
          L"trace CHost::Run command failed, result = ActionInvokeFail\n", L"SetEvent EV_PROPERTY_GET"},
         Stop()})));
}

TEST_F(CHostScript, ResetsWithoutTheText)
{
    NextWait(5, [this] { Client().WriteText(L"text"); });
    Serve();
    EXPECT_TRUE(m_script.Is(
        Join({Begin(),
              Woken(L"EV_RESET"),
              {L"trace CHost::Run Command is Reset: text\n", L"trace runtime Reset \"\"\n",
               L"trace CHost::Run command succeeded, result = ActionSuccess\n", L"SetEvent EV_BREAKPOINT"},
              Stop()})));
}

TEST_F(CHostScript, EndsWithoutAResponseAfterAnException)
{
    NextWait(1, [] {});
    m_method = [](const ManagedCall&, DWORD*) -> HRESULT { throw std::runtime_error("on purpose"); };
    Serve();
    EXPECT_TRUE(m_script.Is(Join({Begin(),
                                  Woken(L"EV_LOAD"),
                                  {L"trace CHost::Run Command is Load: \n", L"trace runtime LoadAssembly \"\"\n"},
                                  c_guard,
                                  {L"trace CHost::Run WorkBench Exception in main loop\n\n"},
                                  c_exitMessage})));
}

TEST(OrvWorkBench64Script, DoesNothingWithoutItsArguments)
{
    CallScript script;
    wchar_t program[] = L"OrvWorkBench64.exe";
    wchar_t* arguments[] = {program, program, nullptr};
    EXPECT_EQ(0, WorkbenchMain(2, arguments));
    EXPECT_TRUE(script.Is({}));
}

TEST_F(CHostScript, TheEntryOpensTheLogMakesTheHostListsItsArgumentsAndRuns)
{
    ClientIsThere();
    std::wstring program = L"C:\\any\\OrvWorkBench64.exe";
    std::wstring mode = L"workbench";
    std::wstring id = m_hexId;
    wchar_t* arguments[] = {program.data(), mode.data(), id.data(), nullptr};
    m_script.Rename(L"2 = " + m_hexId, L"2 = {id}");
    m_script.Fail("_wfopen_s");
    m_script.Clear();
    EXPECT_EQ(1, WorkbenchMain(3, arguments));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"_wfopen_s c:\\zeph\\logs\\OrvWorkBench.log w,ccs=UNICODE fails", L"= id, no window"},
         MakeEvents(),
         c_bind,
         {L"trace runtime start\n", L"trace CHost::CHost Loaded Runtime\n",
          L"trace wmain  arg 0 = C:\\any\\OrvWorkBench64.exe\n", L"trace wmain  arg 1 = workbench\n",
          L"trace wmain  arg 2 = {id}\n"},
         OpenShare(),
         {L"= id, window", L"trace CHost::Run Zeph window is 0000000012345678\n", L"PostMessageW {window} 83f0 0 0"},
         c_guard,
         Stop(),
         c_guard,
         c_releaseRuntime,
         CloseEvents()})));
}
