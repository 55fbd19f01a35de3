#pragma once

#include <cstdint>
#include <optional>

// A workbench that somebody started: its process, and the client process id of its command line, which keys its share
// and its events.
struct RunningWorkbench
{
    uint32_t processId;
    uint32_t clientId;
};

// Finds out the client id of a running workbench from its command line, unless it is given. Throws SessionError when
// there is no such process, or it is no workbench.
RunningWorkbench FindWorkbench(uint32_t processId, std::optional<uint32_t> clientId);
