#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <functional>

// The message-only window to which the workbench sends its messages. It belongs to the thread that constructs it:
// messages are handled while that thread calls Pump, and a workbench that sends one waits until then.
class NotifyWindow
{
public:
    using Handler = std::function<void(uint32_t message)>;

    // Each of the workbench's messages goes to the handler and is then answered with 1. Throws SessionError.
    explicit NotifyWindow(Handler handler);
    NotifyWindow(const NotifyWindow&) = delete;
    NotifyWindow& operator=(const NotifyWindow&) = delete;

    HWND Handle() const noexcept { return m_window.Get(); }

    // Handles the messages that have arrived, also those for other windows of the thread. Does not wait.
    void Pump();

private:
    struct WindowTraits
    {
        using Handle = HWND;
        static constexpr Handle None() noexcept { return nullptr; }
        static void Close(Handle window) noexcept;
    };

    // The window knows its address.
    Handler m_handler;
    BasicUniqueHandle<WindowTraits> m_window;
};
