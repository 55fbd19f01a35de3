#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/faults/FaultScenario.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/LogFile.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/NamedObjects.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <initializer_list>
#include <iterator>

// The program from its start to its end, and a session of commands, with each system call failing in turn.

// The program's own entry, under another name here.
extern "C" int WorkbenchMain(int argc, wchar_t** argv);

namespace
{
// Where the program's log goes in a test.
std::wstring g_logPath;
decltype(&_wfopen_s) g_realOpen = nullptr;

errno_t OpenLog(FILE** file, const wchar_t*, const wchar_t* mode)
{
    return g_realOpen(file, g_logPath.c_str(), mode);
}

// Parts of the transcript that rows use.
const FaultLines c_mutexes =
    contract::ShareMutexLines(L"{ns}{share}") + FaultLines{L"CHost::Init Opened share for pid = {id}\n"};
const FaultLines c_ready = {L"CHost::Run Zeph window is 0000000012345678\n", L"window posted 12345678 83f0 0 0\n"};
const FaultLines c_wait = {L"CHost::Run Sleeping\n\n", L"CWBEvent::Wait Waiting\n\n"};
const FaultLines c_load = {L"CWBEvent::Wait Event is EV_LOAD\n", L"CHost::Run Command is Load: {text}\n",
                           L"runtime LoadAssembly \"{text}\"\n",
                           L"CHost::Run command succeeded, result = ActionSuccess\n"};
const FaultLines c_success = {L"= response 8"};
const FaultLines c_failure = {L"= response 9"};
const FaultLines c_invoke = {L"CWBEvent::Wait Event is EV_INVOKE\n",
                             L"CHost::Run Command is Invoke: {text}\n",
                             L"runtime Invoke \"{text}\"\n",
                             L"CHost::Breakpoint Workbench breakpoint\n\n",
                             L"CHost::Breakpoint setting response ok\n\n",
                             L"CHost::Breakpoint Sending IDLE state to HWND 0000000012345678\n",
                             L"window sent 12345678 8407 0 0\n",
                             L"CHost::Breakpoint entering IDLE breakpoint\n\n",
                             L"runtime OrvBreakPoint \"\"\n",
                             L"= response 8",
                             L"CHost::Breakpoint breakpointed workbench ok\n\n",
                             L"CHost::Run command succeeded, result = ActionSuccess\n"};
const FaultLines c_stop = {L"CWBEvent::Wait Event is EV_STOP\n", L"CHost::Run Stopping\n\n"};
const FaultLines c_exit = {L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"};
const FaultLines c_waitError = {L"CWBEvent::Wait Error\n\n", L"CHost::Run error in event management so  exiting\n\n"};
const FaultLines c_noWindow = {L"CHost::Run Zeph window is 0000000000000000\n",
                               L"CHost::Run Zeph Window handle for notifications is NULL cant go on\n\n"};

// The changes when there is no memory for a command's text: the command runs without one.
const FaultLines c_nullLoad = {L"-CHost::Run Command is Load: {text}\n", L"-runtime LoadAssembly \"{text}\"\n",
                               L"+CHost::Run Command is Load: (null)\n", L"+runtime LoadAssembly \"(null)\"\n"};
const FaultLines c_nullInvoke = {L"-CHost::Run Command is Invoke: {text}\n", L"-runtime Invoke \"{text}\"\n",
                                 L"+CHost::Run Command is Invoke: (null)\n", L"+runtime Invoke \"(null)\"\n"};

FaultLines EventLines()
{
    return contract::EventLines(L"{ns}", L"{id}");
}

// The ways in which a run changes when one memory allocation fails. inLoop is what it does after the first wait.
// Mostly nothing changes, because strings ask a second time; otherwise one mutex is missing, or all events, or (the
// last way) the share.
std::vector<FaultLines> WaysWithoutMemory(const FaultLines& inLoop)
{
    std::vector<FaultLines> ways = {{}};
    for (unsigned i = 0; i < 7; ++i)
        ways.push_back({L"-" + c_mutexes[i]});
    ways.push_back(Without({EventLines(), {c_wait.back()}, inLoop}) +
                   FaultLines{L"+CHost::Run error in event management so  exiting\n\n"});
    const FaultLines open = {contract::c_shareSizeLine, contract::OpenMapLine(L"{share}")};
    ways.push_back(Without({open, c_mutexes, c_ready, c_wait, inLoop, c_exit}));
    return ways;
}

// The rows of the host's start and of the share, up to the first command. served: the lines that are missing when no
// window of the client is found. missingEvent: the changes when there is no event for a command.
FaultTable StartRows(const FaultLines& served, const FaultLines& missingEvent)
{
    FaultTable table = {
        {"CreateMutexW", 1, 7, {L"+CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 1450>\n"}},
        {"InitializeSecurityDescriptor",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n"}},
        {"SetSecurityDescriptorDacl",
         1,
         c_lastCall,
         {L"+CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n"}},
        // The session is queried twice: for the mapping's name and for the mutexes' names.
        {"OpenProcess", 1, 2, {L"+CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 5>\n"}},
        {"OpenProcessToken", 1, 2, {L"+CProxySecManager::GetSessionForProcess OpenProcessToken Failed\n<error 5>\n"}},
        {"GetTokenInformation",
         1,
         2,
         {L"+CProxySecManager::GetSessionForProcess GetTokenInformation Failed\n<error 5>\n"}},
        // A share that cannot be opened is created instead, and zeroed.
        // The create then opens the client's share, which stays as it is.
        {"OpenFileMappingW", 1, 1,
         With({{L"CProxySecManager::OrvPOpenFileMapping Failed with <error 5>\n",
                L"CProxyMap::OpenMap Open returned: <error 5>\n",
                L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: {ns}{share}\n",
                L"CProxyMap::Create created share {share} successfully \n"}})},
        {"MapViewOfFile", 1, 1,
         Without({c_mutexes, c_ready, served}) + With({{L"CHost::Init Failed to open share\n\n"}, c_noWindow})},
        {"VirtualQuery", 1, 1,
         Without({c_mutexes, c_ready, served}) +
             With({{L"CProxyShare::OnMapped share {share} is smaller than 116197744 bytes\n",
                    L"CHost::Init Failed to open share\n\n"},
                   c_noWindow})},
        {"UnmapViewOfFile", 1, 1, {}},
        {"CloseHandle", 1, c_lastCall, {}},
        {"PostMessageW", 1, 1, {L"-window posted 12345678 83f0 0 0\n"}},
        // Only a stack overflow would find less room.
        {"SetThreadStackGuarantee", 1, c_lastCall, {}},
        {"_resetstkoflw", 1, c_lastCall, {}},
    };
    // Without a command event no wait succeeds. The tenth and the eleventh event are not needed here.
    for (unsigned n = 1; n <= contract::c_eventCount; ++n)
    {
        const std::wstring line = L"CProxySecManager::OrvPCreateEvent CreateEvent {ns}" +
                                  std::wstring(contract::c_eventNames[n - 1]) + L"{id} ";
        const FaultLines changes = {L"-" + line + L"succeeded \n", L"+" + line + L"Failed\n<error 1450>\n"};
        if (n != contract::c_success + 1)
            table.push_back({"CreateEventW", n, n, n <= 8 ? changes + missingEvent : changes});
    }
    return table;
}

class FaultyHost : public CHostWithStandIns
{
protected:
    FaultyHost()
    {
        ClientIsThere();
        m_method = [this](const ManagedCall& call, DWORD* returnValue) {
            if (call.method == L"OrvBreakPoint")
                NoteResponses();
            *returnValue = ActionSuccess;
            return S_OK;
        };
    }

    // Notes the responses that are signalled, and resets them as a client would.
    void NoteResponses() const
    {
        const TestsOwn own;
        for (const unsigned slot : {contract::c_success, contract::c_failed})
        {
            if (EventExists(EventKernelName(slot)) && TakeSignal(slot))
                Note(L"response", slot);
        }
    }
    void NoteStrangeAssemblies() const
    {
        for (const ManagedCall& call : m_calls)
        {
            if (call.assembly != c_assembly || call.type != c_type)
                Note(L"call of", (call.assembly + L" " + call.type).c_str());
        }
    }
    void ClientIsReady()
    {
        const TestsOwn own;
        ForgetWaits();
        m_calls.clear();
        // A run that creates the share anew zeroes the client's data with it.
        Client().StoreWindow(c_window);
        Client().WriteText(m_text);
    }
    // One load, one invoke, then the stop.
    void ScriptCommands()
    {
        const TestsOwn own;
        NextWait(1);
        NextWait(3, [this] { NoteResponses(); });
        NextWait(0, [this] { NoteResponses(); });
    }
    // The share object would live as long as the process; each run ends its own.
    void EndShare()
    {
        NoteStrangeAssemblies();
        NoteHeldShareMutexes(m_shareName);
        delete g_pShare;
    }

    // How many of the lines that were traced while the log was open are not in it.
    void NoteMissingLogLines() const
    {
        const TestsOwn own;
        const std::wstring log = PathExists(g_logPath) ? ReadLog() : L"";
        size_t at = 0;
        int missing = 0;
        for (const std::wstring& line : m_trace.Lines())
        {
            if (line == L"runtime release\n")
                break;
            if (line.rfind(L"= ", 0) == 0)
                continue;
            if (log.compare(at, line.size(), line) == 0)
                at += line.size();
            else
                ++missing;
        }
        Note(L"lines missing in the log", missing);
        Note(L"strange units in the log", static_cast<int64_t>(log.size() - at));
        DeleteFileW(g_logPath.c_str());
    }
    static std::wstring ReadLog()
    {
        std::wstring text;
        for (const std::wstring& line : LogLines(FileBytes(g_logPath)))
            text += line + L"\n";
        return text;
    }

    // Longer than the room that a new string has.
    const std::wstring m_text = std::wstring(600, L'x');

    std::vector<std::pair<std::wstring, std::wstring>> Texts() const
    {
        std::vector<std::pair<std::wstring, std::wstring>> texts = {{contract::KernelName(L""), L"{ns}"},
                                                                    {m_shareName, L"{share}"},
                                                                    {m_text, L"{text}"},
                                                                    {contract::PaddedHex(m_id), L"{id}"},
                                                                    {L"pid = " + m_hexId, L"pid = {id}"}};
        for (const wchar_t* name : contract::c_eventNames)
            texts.emplace_back(name + m_hexId, name + std::wstring(L"{id}"));
        return texts;
    }
};
} // namespace

FaultTable SessionFaults()
{
    const FaultLines inLoad = c_load + c_wait + c_success;
    const FaultLines inInvoke = c_invoke + c_wait + c_success;
    const FaultLines served = c_wait + inLoad + inInvoke + c_stop + c_exit + FaultLines{L"= Run 1"};
    const std::wstring create = L"CProxySecManager::OrvPCreateEvent CreateEvent {ns}EV_BREAKPOINT{id} ";
    const std::wstring noSuccess = L"+CWBEvent::Set Failed to set event EV_BREAKPOINT\n";
    FaultTable table = StartRows(served, Without({inLoad, inInvoke, c_stop}) + With({c_waitError}));
    for (FaultRow& row : table)
    {
        if (row.function == "CreateEventW" && row.first <= 8)
            row.changes.push_back(L"+= response 9");
        if (!row.changes.empty() && row.changes.back() == L"+" + c_noWindow.back())
            row.changes = row.changes + With({{L"= Run 0"}, c_failure});
    }
    const FaultTable commands = {
        // Without this event no success can be signalled: not the load's, not the breakpoint's, not the invoke's.
        {"CreateEventW",
         9,
         9,
         {L"-" + create + L"succeeded \n", L"+" + create + L"Failed\n<error 1450>\n", noSuccess, L"-= response 8",
          noSuccess, L"-= response 8", noSuccess, L"-= response 8"}},
        {"SetEvent", 1, 3, {noSuccess, L"-= response 8"}},
        {"ResetEvent", 1, 1, {L"+CWBEvent::Reset Failed to reset event EV_LOAD\n"}},
        {"ResetEvent", 2, 2, {L"+CWBEvent::Reset Failed to reset event EV_INVOKE\n"}},
        {"ResetEvent", 3, 3, {L"+CWBEvent::Reset Failed to reset event EV_STOP\n"}},
        {"WaitForMultipleObjects", 1, 1, Without({inLoad, inInvoke, c_stop}) + With({c_waitError, c_failure})},
        {"WaitForMultipleObjects", 2, 2,
         Without({c_success, inInvoke, c_stop}) + With({c_waitError, c_success, c_failure})},
        {"WaitForMultipleObjects", 3, 3, Without({c_success, c_stop}) + With({c_waitError, c_success, c_failure})},
        {"CorBindToRuntimeEx",
         1,
         1,
         {L"-runtime bind v2.0.50727 svr 2 90f1a06e-7712-4762-86b57a5eba6bdb02 "
          L"90f1a06c-7712-4762-86b57a5eba6bdb02\n",
          L"-runtime start\n", L"-CHost::CHost Loaded Runtime\n", L"+CHost::CHost Failed to Loaded Runtime\n",
          L"+CHost::CHost #s\n",
          // the load
          L"-runtime LoadAssembly \"{text}\"\n", L"-CHost::Run command succeeded, result = ActionSuccess\n",
          L"+CHost::Execute ExecuteInDefaultAppDomain failed\n", L"+CHost::Run command failed, result = ActionFail\n",
          L"-= response 8", L"+= response 9",
          // the invoke, whose breakpoint still tells success first
          L"-runtime Invoke \"{text}\"\n", L"+CHost::Execute ExecuteInDefaultAppDomain failed\n",
          L"-runtime OrvBreakPoint \"\"\n", L"-= response 8", L"-CHost::Breakpoint breakpointed workbench ok\n\n",
          L"-CHost::Run command succeeded, result = ActionSuccess\n",
          L"+CHost::Breakpoint breakpointed workbench failed\n\n",
          L"+CHost::Run command failed, result = ActionFail\n", L"+= response 9", L"-runtime release\n"}},
        {"SendMessageW",
         1,
         1,
         {L"-window sent 12345678 8407 0 0\n", L"+CHost::Breakpoint Error is PostMessage:\n\n",
          L"+CHost::Breakpoint <error 1400>\n"}},
        {"SendMessageW", 2, 2, {L"-window sent 12345678 83eb 0 0\n"}},
    };
    table.insert(table.end(), commands.begin(), commands.end());
    return table;
}

class SystemFaultsInASession : public FaultyHost
{
protected:
    void Serve()
    {
        ClientIsReady();
        ScriptCommands();
        {
            CHost host(m_id, c_assembly, c_type);
            Note(L"Run", host.Run());
            NoteResponses();
        }
        EndShare();
    }

    FaultScenario m_scenario{m_trace, [this] { Serve(); }, Texts()};
};

TEST_F(SystemFaultsInASession, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(SessionFaults());
}

TEST_F(SystemFaultsInASession, AnyRequestForMemoryMayFail)
{
    const FaultLines inLoop = c_load + c_wait + c_success + c_invoke + c_wait + c_success + c_stop;
    std::vector<FaultLines> ways = WaysWithoutMemory(inLoop);
    ways.back() = ways.back() + FaultLines{L"-= Run 1", L"+= Run 0"};
    for (const FaultLines& way : {c_nullLoad, c_nullInvoke})
        ways.push_back(way);
    m_scenario.ExpectForEachRequest(ways);
}

// As memory ends later and later, this is missing: events and share, the share, its name, its mutexes from some
// index on, the command texts.
TEST_F(SystemFaultsInASession, MemoryMayEnd)
{
    const FaultLines size = {contract::c_shareSizeLine};
    const FaultLines name = {contract::OpenMapLine(L"{share}")};
    const FaultLines served = c_ready + c_wait + c_load + c_wait + c_success + c_invoke + c_wait + c_success +
                              c_stop + c_exit + FaultLines{L"= Run 1"};
    std::vector<FaultLines> ways;
    ways.push_back(Without({EventLines(), size, name, c_mutexes, served}) + With({{L"= Run 0"}}));
    ways.push_back(Without({size, name, c_mutexes, served}) + With({{L"= Run 0"}}));
    for (const wchar_t* none : {L"(null)", L"(null){id}"})
        ways.push_back(Without({name, c_mutexes, served}) +
                       With({{L"CProxyMap::OpenMap Open Map Name: " + std::wstring(none) + L"\n",
                              L"CProxyMap::OpenMap Open returned: <error 8>\n",
                              L"CProxyMap::Create create share " + std::wstring(none) + L" failed\n<error 8>\n",
                              L"CHost::Init Failed to open share\n\n"},
                             c_noWindow,
                             {L"= Run 0"},
                             c_failure}));
    for (ptrdiff_t i = 0; i <= 7; ++i)
        ways.push_back(Without({{c_mutexes.begin() + i, c_mutexes.begin() + 7}}) + c_nullLoad + c_nullInvoke);
    ways.push_back(c_nullInvoke);
    m_scenario.ExpectFromEachRequest(ways);
}

FaultTable WorkbenchFaults()
{
    const FaultLines served = c_wait + c_stop + c_exit;
    FaultTable table = StartRows(served, Without({c_stop}) + With({c_waitError}));
    const std::wstring ninth = L"CProxySecManager::OrvPCreateEvent CreateEvent {ns}EV_BREAKPOINT{id} ";
    const FaultTable program = {
        {"CreateEventW", 9, 9, {L"-" + ninth + L"succeeded \n", L"+" + ninth + L"Failed\n<error 1450>\n"}},
        {"WaitForMultipleObjects", 1, 1, Without({c_stop}) + With({c_waitError})},
        {"ResetEvent", 1, 1, {L"+CWBEvent::Reset Failed to reset event EV_STOP\n"}},
        {"SendMessageW", 1, 1, {L"-window sent 12345678 83eb 0 0\n"}},
        {"CorBindToRuntimeEx",
         1,
         1,
         {L"-runtime bind v2.0.50727 svr 2 90f1a06e-7712-4762-86b57a5eba6bdb02 "
          L"90f1a06c-7712-4762-86b57a5eba6bdb02\n",
          L"-runtime start\n", L"-CHost::CHost Loaded Runtime\n", L"+CHost::CHost Failed to Loaded Runtime\n",
          L"+CHost::CHost #s\n", L"-runtime release\n"}},
        {"_wfopen_s", 1, 1, {L"-= lines missing in the log 0", L"+= lines missing in the log 37"}},
        {"fwrite", 1, c_lastCall, {L"-= lines missing in the log 0", L"+= lines missing in the log 1"}},
        {"fflush", 1, c_lastCall, {}},
        {"fclose", 1, 1, {}},
    };
    table.insert(table.end(), program.begin(), program.end());
    return table;
}

class SystemFaultsInTheProgram : public FaultyHost
{
protected:
    SystemFaultsInTheProgram()
    {
        g_logPath = m_folder.PathOf(L"OrvWorkBench.log");
        g_realOpen = m_open.Real();
    }

    void RunProgram()
    {
        ClientIsReady();
        wchar_t* arguments[] = {m_arguments[0].data(), m_arguments[1].data(), m_arguments[2].data(),
                                m_arguments[3].data(), nullptr};
        Note(L"exit code", WorkbenchMain(4, arguments));
        NoteMissingLogLines();
        EndShare();
    }

    const TemporaryFolder m_folder;
    Redirect<decltype(_wfopen_s)> m_open{"_wfopen_s", OpenLog};
    std::wstring m_arguments[4] = {L"c:\\folder\\OrvWorkBench64.exe", L"workbench", m_hexId, L"further"};
    FaultScenario m_scenario{m_trace, [this] { RunProgram(); }, Texts()};
};

TEST_F(SystemFaultsInTheProgram, AnyCallMayFail)
{
    m_scenario.ExpectForEachCall(WorkbenchFaults());
}

TEST_F(SystemFaultsInTheProgram, AnyRequestForMemoryMayFail)
{
    m_scenario.ExpectForEachRequest(WaysWithoutMemory(c_stop));
}
