#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"

// What Ctrl-C, Ctrl-Break and the end of the console do to this process. One per process.
//
// The event is set by each of them, by logging off and shutting down too; a second Ctrl-C ends the process at once.
// With a user who can be asked, the first Ctrl-C only sets Pressed, and the second one, if nobody has taken the
// first, the event.
class InterruptEvent
{
public:
    explicit InterruptEvent(bool asks);
    ~InterruptEvent();
    InterruptEvent(const InterruptEvent&) = delete;
    InterruptEvent& operator=(const InterruptEvent&) = delete;

    // Manual-reset events. Whoever answers to Pressed resets it.
    HANDLE Handle() const noexcept { return m_event.Get(); }
    HANDLE Pressed() const noexcept { return m_pressed.Get(); }

    // The process is to end, whatever the user of a prompt would like: by another cause than Ctrl-C.
    static bool IsFinal() noexcept;

private:
    UniqueHandle m_event;
    UniqueHandle m_pressed;
    UniqueHandle m_done;
};
