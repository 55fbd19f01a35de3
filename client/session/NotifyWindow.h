#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <functional>

// The message-only window to which the workbench reports. It belongs to the thread that constructs it: messages are
// handled while that thread calls Pump, and a workbench that sends one waits until then.
class NotifyWindow
{
public:
    using Handler = std::function<void(uint32_t message)>;

    // Every message of the workbench's goes to the handler and is then answered with 1. Throws SessionError.
    explicit NotifyWindow(Handler handler);
    ~NotifyWindow();
    NotifyWindow(const NotifyWindow&) = delete;
    NotifyWindow& operator=(const NotifyWindow&) = delete;

    HWND Handle() const noexcept { return m_window; }

    // Handles the messages that have arrived; does not wait.
    void Pump();

private:
    Handler m_handler;
    HWND m_window = nullptr;
};
