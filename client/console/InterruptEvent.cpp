#include "client/console/InterruptEvent.h"

#include "client/console/EndNow.h"

#include <windows.h>

#include <atomic>

namespace
{
// How long the system lets a process go on after its console was closed, and a little less.
constexpr DWORD c_endGraceMs = 4500;

HANDLE g_interrupt = nullptr;
HANDLE g_pressed = nullptr;
HANDLE g_interruptDone = nullptr;
bool g_asks = false;
std::atomic<bool> g_isFinal{false};

bool IsSet(HANDLE event) noexcept
{
    return WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

void OnCtrlC() noexcept
{
    if (IsSet(g_interrupt))
        EndNow(ExitStatus::Interrupted);
    SetEvent(g_asks && !IsSet(g_pressed) ? g_pressed : g_interrupt);
}

BOOL WINAPI OnConsoleControl(DWORD control)
{
    if (control == CTRL_C_EVENT)
    {
        OnCtrlC();
        return TRUE;
    }
    if (control == CTRL_BREAK_EVENT && IsSet(g_interrupt))
        EndNow(ExitStatus::Interrupted);
    g_isFinal = true;
    SetEvent(g_interrupt);
    // When the console goes, the process ends as soon as this function returns: leave it the time to stop in order.
    if (control != CTRL_BREAK_EVENT)
        WaitForSingleObject(g_interruptDone, c_endGraceMs);
    return TRUE;
}
} // namespace

InterruptEvent::InterruptEvent(bool asks)
    : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_pressed(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_done(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    g_interrupt = m_event.Get();
    g_pressed = m_pressed.Get();
    g_interruptDone = m_done.Get();
    g_asks = asks;
    g_isFinal = false;
    SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

InterruptEvent::~InterruptEvent()
{
    SetConsoleCtrlHandler(OnConsoleControl, FALSE);
    SetEvent(m_done.Get());
}

bool InterruptEvent::IsFinal() noexcept
{
    return g_isFinal;
}
