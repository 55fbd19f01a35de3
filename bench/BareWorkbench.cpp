#include "OrvProfiler/OrvWorkbench/RuntimeHost.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

// The baseline of the session benchmarks: the workbench's side of the protocol as bare system calls. It does the
// event operations and sends the messages of a workbench and writes as many lines of the same length, and nothing
// else: no formatting, no classes, no checks.
//     OrvBareWorkbench session|start <client process id, hexadecimal> <log file>
// "start" leaves out every line: an empty program that imports the same libraries, plus the bare calls of a start.

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

namespace
{
constexpr DWORD c_shareBytes = 116197744;
constexpr size_t c_windowOffset = 0x1CB30;
constexpr size_t c_textOffset = 0x1CF4C;
constexpr UINT c_ready = 0x83F0;
constexpr UINT c_idle = 0x8407;
constexpr DWORD c_success = 8;
constexpr DWORD c_invoke = 3;

constexpr const wchar_t* c_eventNames[] = {L"EV_STOP",       L"EV_LOAD",         L"EV_CREATE",      L"EV_INVOKE",
                                           L"EV_DELETE",     L"EV_RESET",        L"EV_SUCCESS",     L"EV_FAILED",
                                           L"EV_BREAKPOINT", L"EV_PROPERTY_GET", L"EV_PROPERTY_SET"};

constexpr const wchar_t* c_waitLines[] = {L"1234567 CHost::Run Sleeping\n\n", L"1234567 CWBEvent::Wait Waiting\n\n"};
constexpr const wchar_t* c_loadLines[] = {L"1234567 CWBEvent::Wait Event is EV_LOAD\n",
                                          L"1234567 CHost::Run Command is Load: result=5\n",
                                          L"1234567 CHost::Run command succeeded, result = ActionSuccess\n"};
constexpr const wchar_t* c_invokeLines[] = {
    L"1234567 CWBEvent::Wait Event is EV_INVOKE\n", L"1234567 CHost::Run Command is Invoke: result=5\n",
    L"1234567 CHost::Breakpoint Workbench breakpoint\n\n", L"1234567 CHost::Breakpoint setting response ok\n\n"};
constexpr const wchar_t* c_idleLine = L"1234567 CHost::Breakpoint Sending IDLE state to HWND 0000000000010052\n";
constexpr const wchar_t* c_afterIdleLines[] = {L"1234567 CHost::Breakpoint entering IDLE breakpoint\n\n",
                                               L"1234567 CHost::Breakpoint breakpointed workbench ok\n\n",
                                               L"1234567 CHost::Run command succeeded, result = ActionSuccess\n"};

std::FILE* g_log = nullptr;

void Write(const wchar_t* line)
{
    if (g_log == nullptr)
        return;
    OutputDebugStringW(line);
    std::fputws(line, g_log);
    std::fflush(g_log);
}

template <size_t Count>
void Write(const wchar_t* const (&lines)[Count])
{
    for (const wchar_t* line : lines)
        Write(line);
}

ICLRRuntimeHost* BindRuntime()
{
    constexpr CLSID hostClass = {0x90F1A06E, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
    constexpr IID hostInterface = {0x90F1A06C, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
    void* host = nullptr;
    CorBindToRuntimeEx(L"v2.0.50727", L"svr", 2, hostClass, hostInterface, &host);
    auto* const runtime = static_cast<ICLRRuntimeHost*>(host);
    if (runtime != nullptr)
        runtime->Start();
    return runtime;
}

void Call(ICLRRuntimeHost* runtime, const wchar_t* method, const wchar_t* argument)
{
    DWORD result = 0;
    if (runtime != nullptr)
        runtime->ExecuteInDefaultAppDomain(L"OrvWorkBench64.dll", L"OrvWorkBench.CInvoke", method, argument, &result);
}

[[noreturn]] void Serve(HANDLE* events, HWND window, const wchar_t* text, ICLRRuntimeHost* runtime)
{
    for (;;)
    {
        Write(c_waitLines);
        const DWORD index = WaitForMultipleObjects(8, events, FALSE, 10000);
        if (index == 0)
            ExitProcess(1);
        ResetEvent(events[index]);
        if (index != c_invoke)
        {
            Write(c_loadLines[0]);
            Write(c_loadLines[1]);
            Call(runtime, L"LoadAssembly", text);
            Write(c_loadLines[2]);
        }
        else
        {
            Write(c_invokeLines[0]);
            Write(c_invokeLines[1]);
            Call(runtime, L"Invoke", text);
            Write(c_invokeLines[2]);
            Write(c_invokeLines[3]);
            SetEvent(events[c_success]);
            Write(c_idleLine);
            SendMessageW(window, c_idle, 0, 0);
            Write(c_afterIdleLines[0]);
            Call(runtime, L"OrvBreakPoint", L"");
            Write(c_afterIdleLines[1]);
            Write(c_afterIdleLines[2]);
        }
        SetEvent(events[c_success]);
    }
}
} // namespace

extern "C" int wmain(int argc, wchar_t** argv)
{
    if (argc < 4)
        return 2;
    const unsigned long id = std::wcstoul(argv[2], nullptr, 16);
    if (std::wcscmp(argv[1], L"session") == 0 && _wfopen_s(&g_log, argv[3], L"w,ccs=UNICODE") != 0)
        return 3;
    HANDLE events[11];
    wchar_t name[64];
    for (size_t i = 0; i < 11; ++i)
    {
        _snwprintf_s(name, 64, 63, L"Local\\%s%lx", c_eventNames[i], id);
        events[i] = CreateEventW(nullptr, TRUE, FALSE, name);
    }
    ICLRRuntimeHost* const runtime = BindRuntime();
    _snwprintf_s(name, 64, 63, L"Local\\OrvProfiler%8.8lx", id);
    const std::wstring share = name;
    HANDLE const map = OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, name);
    const auto* const view = static_cast<const char*>(MapViewOfFile(map, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (view == nullptr)
        return 4;
    static_assert(c_shareBytes > c_textOffset, "the text lies in the share");
    for (int i = 0; i < 7; ++i)
        CreateMutexW(nullptr, FALSE, (share + L"_" + std::to_wstring(i)).c_str());
    HWND window = nullptr;
    std::memcpy(&window, view + c_windowOffset, sizeof window);
    PostMessageW(window, c_ready, 0, 0);
    Serve(events, window, reinterpret_cast<const wchar_t*>(view + c_textOffset), runtime);
}
