#include "OrvProfiler/OrvWorkbench/RuntimeHost.h"
#include "OrvProfiler/protocol/ActionResult.h"
#include "OrvProfiler/protocol/ClientId.h"
#include "OrvProfiler/protocol/ManagedMethods.h"
#include "OrvProfiler/protocol/TraceLines.h"
#include "OrvProfiler/protocol/WorkbenchCommandLine.h"
#include "OrvProfiler/protocol/WorkbenchEvents.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"
#include "OrvProfiler/protocol/WorkbenchMessages.h"
#include "OrvProfiler/share/ProxyShare.h"

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

// The baseline of the session benchmarks: the workbench's side of the protocol as bare system calls. It does the
// event operations and sends the messages of a workbench and writes as many lines of the same length, and nothing
// else: no formatting, nothing of the library's classes, no checks.
//     OrvBareWorkbench session|start <client process id, hexadecimal> <log file>
// "start" leaves out every line: an empty program that imports the same libraries, plus the bare calls of a start.

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

namespace
{
constexpr size_t c_controlOffset = offsetof(ProxyShareData, control);
constexpr size_t c_windowOffset = c_controlOffset + offsetof(ShareControl, clientWindow);
constexpr size_t c_textOffset = c_controlOffset + offsetof(ShareControl, commandText);

// The lines of a workbench, formed once.
std::wstring LineOf(const wchar_t* function, const std::wstring& text)
{
    return std::wstring(L"1234567 ") + function + L" " + text + L"\n";
}

std::wstring EventLine(uint32_t slot)
{
    return LineOf(L"CWBEvent::Wait", std::wstring(L"Event is ") + c_workbenchEventNames[slot]);
}

std::wstring CommandLine(uint32_t slot)
{
    return LineOf(c_traceMainLoop, std::wstring(c_traceOfCommand) + c_workbenchCommands[slot].name + L": result=5");
}

std::wstring SuccessLine()
{
    return LineOf(c_traceMainLoop,
                  std::wstring(c_traceOfSuccess) + L"result = " + c_actionResultNames[ActionSuccess]);
}

constexpr const wchar_t* c_breakpoint = L"CHost::Breakpoint";

struct Lines
{
    const std::wstring wait[2] = {LineOf(c_traceMainLoop, std::wstring(c_traceOfWait) + L"\n"),
                                  LineOf(L"CWBEvent::Wait", L"Waiting\n")};
    const std::wstring load[2] = {EventLine(EV_LOAD), CommandLine(EV_LOAD)};
    const std::wstring invoke[2] = {EventLine(EV_INVOKE), CommandLine(EV_INVOKE)};
    const std::wstring response[2] = {LineOf(c_breakpoint, L"Workbench breakpoint\n"),
                                      LineOf(c_breakpoint, L"setting response ok\n")};
    const std::wstring idle = LineOf(c_breakpoint, L"Sending IDLE state to HWND 0000000000010052");
    const std::wstring beforeBreakpoint = LineOf(c_breakpoint, L"entering IDLE breakpoint\n");
    const std::wstring afterBreakpoint = LineOf(c_breakpoint, L"breakpointed workbench ok\n");
    const std::wstring success = SuccessLine();
};

std::FILE* g_log = nullptr;

void Write(const std::wstring& line)
{
    if (g_log == nullptr)
        return;
    OutputDebugStringW(line.c_str());
    static_cast<void>(std::fputws(line.c_str(), g_log));
    static_cast<void>(std::fflush(g_log));
}

template <size_t Count>
void Write(const std::wstring (&lines)[Count])
{
    for (const std::wstring& line : lines)
        Write(line);
}

class Runtime
{
public:
    Runtime()
    {
        void* host = nullptr;
        CorBindToRuntimeEx(c_runtimeVersion, c_runtimeFlavour, c_runtimeSingleDomain, c_runtimeHostClass,
                           c_runtimeHostInterface, &host);
        m_host = static_cast<ICLRRuntimeHost*>(host);
        if (m_host != nullptr)
            m_host->Start();
    }

    void Call(const wchar_t* method, const wchar_t* argument) const
    {
        DWORD result = 0;
        if (m_host != nullptr)
            m_host->ExecuteInDefaultAppDomain(m_assembly.c_str(), c_dispatcherType, method, argument, &result);
    }

private:
    // Never released: the process ends without a clean-up.
    ICLRRuntimeHost* m_host = nullptr;
    const std::wstring m_assembly = std::wstring(ProgramBaseName(c_workbenchProgramFile)) + c_dispatcherExtension;
};

[[noreturn]] void Serve(const HANDLE* events, HWND window, const wchar_t* text, const Runtime& runtime)
{
    const Lines lines;
    for (;;)
    {
        Write(lines.wait);
        const DWORD index = WaitForMultipleObjects(c_workbenchCommandCount, events, FALSE, c_traceHeartbeatMs);
        if (index == EV_STOP)
            ExitProcess(c_exitCode);
        ResetEvent(events[index]);
        if (index != EV_INVOKE)
        {
            Write(lines.load);
            runtime.Call(c_methodLoadAssembly, text);
        }
        else
        {
            Write(lines.invoke);
            runtime.Call(c_methodInvoke, text);
            Write(lines.response);
            SetEvent(events[c_responseSuccess]);
            Write(lines.idle);
            SendMessageW(window, WM_WORKBENCH_IDLE, 0, 0);
            Write(lines.beforeBreakpoint);
            runtime.Call(c_methodBreakpoint, L"");
            Write(lines.afterBreakpoint);
        }
        Write(lines.success);
        SetEvent(events[c_responseSuccess]);
    }
}
} // namespace

extern "C" int wmain(int argc, wchar_t** argv)
{
    if (argc < 4)
        return 2;
    const uint32_t id = ClientIdOf(argv[c_clientIdArgument]);
    if (std::wcscmp(argv[1], L"session") == 0 && _wfopen_s(&g_log, argv[3], L"w,ccs=UNICODE") != 0)
        return 3;
    // The session's local namespace, in which Wine has the workbench's objects.
    const std::wstring session = L"Local\\";
    HANDLE events[c_workbenchEventCount];
    for (uint32_t i = 0; i < c_workbenchEventCount; ++i)
        events[i] =
            CreateEventW(nullptr, TRUE, FALSE, (session + c_workbenchEventNames[i] + ClientIdText(id).Get()).c_str());
    const Runtime runtime;
    wchar_t paddedId[9];
    _snwprintf_s(paddedId, std::size(paddedId), _TRUNCATE, L"%8.8x", id);
    const std::wstring share = session + c_shareBaseName + paddedId;
    HANDLE const map = OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, share.c_str());
    const auto* const view = static_cast<const char*>(MapViewOfFile(map, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (view == nullptr)
        return 4;
    for (uint32_t i = 0; i < c_shareMutexCount; ++i)
        // cppcheck-suppress leakReturnValNotUsed ; held to the end of the process
        CreateMutexW(nullptr, FALSE, (share + L"_" + std::to_wstring(i)).c_str());
    HWND window = nullptr;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): the handle itself
    std::memcpy(&window, view + c_windowOffset, sizeof window);
    PostMessageW(window, WM_WORKBENCH_READY, 0, 0);
    Serve(events, window, reinterpret_cast<const wchar_t*>(view + c_textOffset), runtime);
}
