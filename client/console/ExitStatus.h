#pragma once

// The exit status of the client, also in its help. Of several failures the first one counts.
enum class ExitStatus : int
{
    Success = 0,
    CommandFailed = 1,
    Usage = 2,
    WorkbenchLost = 3,
    TimedOut = 4,
    Interrupted = 5,
    Deviation = 6,
};
