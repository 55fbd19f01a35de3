#include "client/console/InterruptEvent.h"

#include "client/console/ExitStatus.h"

#include <windows.h>

namespace
{
// How long the system lets a process go on after its console was closed, and a little less.
constexpr DWORD c_endGraceMs = 4500;

HANDLE g_interrupt = nullptr;
HANDLE g_interruptDone = nullptr;

BOOL WINAPI OnConsoleControl(DWORD control)
{
    const bool isKey = control == CTRL_C_EVENT || control == CTRL_BREAK_EVENT;
    if (isKey && WaitForSingleObject(g_interrupt, 0) == WAIT_OBJECT_0)
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitStatus::Interrupted));
    SetEvent(g_interrupt);
    // When the console goes, the process ends as soon as this function returns: leave it the time to stop in order.
    if (!isKey)
        WaitForSingleObject(g_interruptDone, c_endGraceMs);
    return TRUE;
}
} // namespace

InterruptEvent::InterruptEvent()
    : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_done(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    g_interrupt = m_event.Get();
    g_interruptDone = m_done.Get();
    SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

InterruptEvent::~InterruptEvent()
{
    SetConsoleCtrlHandler(OnConsoleControl, FALSE);
    SetEvent(m_done.Get());
}
