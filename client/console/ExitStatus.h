#pragma once

// The exit status of the client, also in its help. Of several failures the first one counts.
enum class ExitStatus : int
{
    Success = 0,
    // Also when a type or an assembly was not found, whatever the protocol says.
    CommandFailed = 1,
    Usage = 2,
    WorkbenchLost = 3,
    TimedOut = 4,
    Interrupted = 5,
    Deviation = 6,
    ExceptionRaised = 7,
    OutputClosed = 8,
};
