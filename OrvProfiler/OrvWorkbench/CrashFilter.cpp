#include "OrvProfiler/OrvWorkbench/CrashFilter.h"

#include <windows.h>

#include <utility>

namespace
{
// Static, because the system calls the filter without a context of ours.
void (*g_ending)() = nullptr;
uint32_t g_exitCode = 0;
DWORD g_threadId = 0;
LPTOP_LEVEL_EXCEPTION_FILTER g_previous = nullptr;

LONG WINAPI OnUnhandled(EXCEPTION_POINTERS* exception)
{
    if (GetCurrentThreadId() != g_threadId)
        return g_previous != nullptr ? g_previous(exception) : EXCEPTION_CONTINUE_SEARCH;
    if (void (*const ending)() = std::exchange(g_ending, nullptr))
        ending();
    // Nothing in the process can be relied on any more.
    TerminateProcess(GetCurrentProcess(), g_exitCode);
    return EXCEPTION_EXECUTE_HANDLER;
}
} // namespace

CCrashFilter::CCrashFilter(void (*ending)(), uint32_t exitCode) noexcept
{
    g_ending = ending;
    g_exitCode = exitCode;
    g_threadId = GetCurrentThreadId();
    g_previous = SetUnhandledExceptionFilter(OnUnhandled);
}

CCrashFilter::~CCrashFilter()
{
    SetUnhandledExceptionFilter(g_previous);
}
