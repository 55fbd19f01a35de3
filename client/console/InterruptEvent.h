#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"

// An event that Ctrl-C and Ctrl-Break set; the closing of the console, logging off and shutting down as well. A
// second Ctrl-C ends the process at once. One per process.
class InterruptEvent
{
public:
    InterruptEvent();
    ~InterruptEvent();
    InterruptEvent(const InterruptEvent&) = delete;
    InterruptEvent& operator=(const InterruptEvent&) = delete;

    HANDLE Handle() const noexcept { return m_event.Get(); }

private:
    UniqueHandle m_event;
    UniqueHandle m_done;
};
