#include "OrvProfiler/OrvWorkbench/Host.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/OrvWorkbench/GuardedCall.h"
#include "OrvProfiler/OrvWorkbench/RuntimeHost.h"
#include "OrvProfiler/protocol/TraceLines.h"
#include "OrvProfiler/share/ProxyShare.h"

#include <cstddef>
#include <iterator>
#include <new>

uint32_t g_sharePid = 0;
HWND g_hZephWnd = nullptr;

namespace
{
// The command text as the client left it; without a NUL it ends with the control block.
TString ReadCommandText()
{
    wchar_t text[c_commandTextCapacity + 1];
    text[0] = L'\0';
    if (const ShareControl* const control = g_pShare->GetControl())
        ReadField(text, control->commandText);
    return TString(text);
}
} // namespace

const wchar_t* ActionResultName(int32_t result) noexcept
{
    if (result < 0 || result >= static_cast<int32_t>(std::size(c_actionResultNames)))
        return FormatSlot(L"unknown result %d", result);
    return c_actionResultNames[result];
}

CHost::CHost(uint32_t processId, const wchar_t* assemblyPath, const wchar_t* typeName)
    : m_assemblyPath(assemblyPath), m_typeName(typeName)
{
    static_assert(sizeof(CHost) == 64 && offsetof(CHost, m_pRuntimeHost) == 8 && offsetof(CHost, m_hr) == 16 &&
                      offsetof(CHost, m_assemblyPath) == 24 && offsetof(CHost, m_typeName) == 40 &&
                      offsetof(CHost, m_pEvents) == 56,
                  "the order of the fields is the family's");
    g_sharePid = processId;
    // cppcheck-suppress useInitializationList ; after the share's id, as whoever sees the events may ask for it
    m_pEvents.reset(new (std::nothrow) CWBEvent(processId));
    BindRuntime();
}

CHost::~CHost()
{
    const auto end = [this] {
        TraceClose();
        m_pRuntimeHost.Reset();
        m_pEvents.reset();
    };
    CallOrEndProcess(end, c_exitCode);
}

void CHost::RuntimeHostTraits::Close(Handle host) noexcept
{
    // Guarded here too: an exception of the language would not get past noexcept.
    CallOrEndProcess([host] { host->Release(); }, c_exitCode);
}

void CHost::BindRuntime()
{
    constexpr const wchar_t* function = L"CHost::CHost";
    TraceText(function, L"Executing CorBindToRuntimeEx");
    void* host = nullptr;
    m_hr = CorBindToRuntimeEx(c_runtimeVersion, c_runtimeFlavour, c_runtimeSingleDomain, c_runtimeHostClass,
                              c_runtimeHostInterface, &host);
    m_pRuntimeHost.Reset(static_cast<ICLRRuntimeHost*>(host));
    if (SUCCEEDED(m_hr) && m_pRuntimeHost)
        m_hr = m_pRuntimeHost.Get()->Start();
    if (SUCCEEDED(m_hr))
    {
        TraceText(function, L"Loaded Runtime");
        return;
    }
    const DWORD error = GetLastError();
    TraceText(function, L"Failed to Loaded Runtime");
    // "#s" where "%s" would print the text is deliberate: the line shows these two characters.
    TraceLine(L"%6.0f %s #s\n", function, ErrorText(error));
}

// A runtime that was never bound counts as one that cannot be called.
HRESULT CHost::CallManaged(const wchar_t* methodName, const wchar_t* argument, DWORD& returnValue)
{
    if (!m_pRuntimeHost)
        return E_POINTER;
    return m_pRuntimeHost.Get()->ExecuteInDefaultAppDomain(m_assemblyPath, m_typeName, methodName, argument,
                                                           &returnValue);
}

int32_t CHost::Execute(const wchar_t* methodName, const wchar_t* argument)
{
    DWORD returnValue = 0;
    m_hr = CallManaged(methodName, argument, returnValue);
    if (FAILED(m_hr))
    {
        // Deliberately looked up although the line does not print it.
        static_cast<void>(ErrorText(GetLastError()));
        TraceLine(L"%6.0f %s ExecuteInDefaultAppDomain failed\n", L"CHost::Execute");
        return ActionFail;
    }
    return static_cast<int32_t>(returnValue);
}

int32_t CHost::Breakpoint()
{
    constexpr const wchar_t* function = L"CHost::Breakpoint";
    TraceText(function, L"Workbench breakpoint\n");
    TraceText(function, L"setting response ok\n");
    Respond(c_responseSuccess);
    TraceLine(L"%6.0f %s Sending IDLE state to HWND %p\n", function, g_hZephWnd);
    if (SendMessageW(g_hZephWnd, WM_WORKBENCH_IDLE, 0, 0) == 0)
    {
        const DWORD error = GetLastError();
        TraceText(function, L"Error is PostMessage:\n"); // the text says so although the message is sent
        TraceText(function, ErrorText(error));
    }
    TraceText(function, L"entering IDLE breakpoint\n");
    DWORD returnValue = 0;
    m_hr = CallManaged(c_methodBreakpoint, L"", returnValue);
    TraceText(function, FAILED(m_hr) ? L"breakpointed workbench failed\n" : L"breakpointed workbench ok\n");
    return ActionSuccess;
}

bool CHost::Init()
{
    constexpr const wchar_t* function = L"CHost::Init";
    try
    {
        // Lives until the process ends.
        if (g_pShare == nullptr)
            g_pShare = new CProxyShare;
        if (g_pShare->Create(g_sharePid))
            TraceLine(L"%6.0f %s Opened share for pid = %x\n", function, g_sharePid);
        else
            TraceText(function, L"Failed to open share\n");
    }
    catch (...)
    {
        return false;
    }
    return true;
}

int CHost::Run()
{
    constexpr const wchar_t* function = c_traceMainLoop;
    if (!Init())
        return 0;
    g_hZephWnd = g_pShare->GetClientWindow();
    TraceLine(L"%6.0f %s Zeph window is %p\n", function, g_hZephWnd);
    if (g_hZephWnd == nullptr)
    {
        TraceText(function, L"Zeph Window handle for notifications is NULL cant go on\n");
        Respond(c_responseFailed);
        return 0;
    }
    PostMessageW(g_hZephWnd, WM_WORKBENCH_READY, 0, 0);
    const bool isComplete = CallGuarded([this] { ServeCommands(); });
    const auto end = [=] {
        if (!isComplete)
            TraceText(function, L"WorkBench Exception in main loop\n");
        TraceText(function, L"WorkBench Exiting\n");
        SendMessageW(g_hZephWnd, WM_WORKBENCH_EXITING, 0, 0);
    };
    CallOrEndProcess(end, c_exitCode);
    return 1;
}

void CHost::ServeCommands()
{
    while (ServeNext())
    {
    }
}

// Waits for one command and carries it out. False when the loop is to end.
bool CHost::ServeNext()
{
    constexpr const wchar_t* function = c_traceMainLoop;
    TraceLine(L"%6.0f %s %s\n\n", function, c_traceOfWait);
    uint32_t index = 0;
    switch (m_pEvents != nullptr ? m_pEvents->Wait(&index, c_workbenchCommandCount, c_traceHeartbeatMs)
                                 : CWBEvent::c_waitError)
    {
    case CWBEvent::c_waitError:
        Respond(c_responseFailed);
        TraceText(function, L"error in event management so  exiting\n");
        return false;
    case CWBEvent::c_waitAbandoned:
        Respond(c_responseFailed);
        TraceText(function, L"An abandoned event means OrvP has gone, so therefore exiting\n");
        return false;
    case CWBEvent::c_waitTimeout:
        TraceText(function, L"Timeout\n"); // a heartbeat for the log's reader
        return true;
    case CWBEvent::c_waitEvent:
        break;
    default:
        return true;
    }
    if (index == EV_STOP)
    {
        TraceText(function, L"Stopping\n"); // a stop is not answered
        return false;
    }
    CarryOut(index);
    return true;
}

void CHost::CarryOut(uint32_t index)
{
    const TString text = ReadCommandText();
    Report(Dispatch(index, text));
}

int32_t CHost::Dispatch(uint32_t index, const TString& text)
{
    constexpr const wchar_t* function = c_traceMainLoop;
    if (index >= c_workbenchCommandCount || c_workbenchCommands[index].method == nullptr)
    {
        TraceLine(L"%6.0f %s unknown event, command is: %s\n", function, text.GetBuffer());
        return ActionEventUnknown;
    }
    const WorkbenchCommand& command = c_workbenchCommands[index];
    TraceLine(L"%6.0f %s %s%s: %s\n", function, c_traceOfCommand, command.name, text.GetBuffer());
    const int32_t result = Execute(command.method, command.takesText ? text.GetBuffer() : L"");
    // Deliberately between the call and its response: the client sees the success of the breakpoint first.
    if (command.passesBreakpoint)
        Breakpoint();
    return result;
}

void CHost::Report(int32_t result)
{
    constexpr const wchar_t* function = c_traceMainLoop;
    const wchar_t* const name = ActionResultName(result);
    if (result < ActionSuccess)
    {
        TraceLine(L"%6.0f %s %sresult = %s\n", function, c_traceOfFailure, name);
        Respond(c_responseFailed);
    }
    else
    {
        TraceLine(L"%6.0f %s %sresult = %s\n", function, c_traceOfSuccess, name);
        Respond(c_responseSuccess);
    }
}

void CHost::Respond(uint32_t response)
{
    if (m_pEvents != nullptr)
        m_pEvents->Set(response);
}
