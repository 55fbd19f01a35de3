#pragma once

#include <cstdint>
#include <optional>

// A workbench that another client started: its process id, and that client's id, which keys its share and its events.
struct RunningWorkbench
{
    uint32_t processId;
    uint32_t clientId;
};

// Takes the client id that is given, or else reads it from the process's command line. Throws SessionError when there
// is then no such process, or its command line names no client id.
RunningWorkbench FindWorkbench(uint32_t processId, std::optional<uint32_t> clientId);
