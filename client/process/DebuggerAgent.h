#pragma once

#include "client/process/WorkbenchProcess.h"

#include <cstdint>

// Mono's agent, by which a debugger comes into the workbench's runtime: it listens on a port of this machine. Under
// Wine, where Mono is the runtime. Windows' own runtime has debuggers attach to the process, and leaves the variable
// unread.
class DebuggerAgent
{
public:
    // On that port; with 0 on one that nobody listens on now. Throws SessionError when there is none.
    explicit DebuggerAgent(uint16_t port);

    uint16_t Port() const noexcept { return m_port; }
    // What the workbench's environment says then, after what this process's own says.
    EnvironmentEntry Variable() const;
    // Whether the workbench's runtime is one that has the agent.
    static bool IsRead() noexcept;

private:
    uint16_t m_port;
};
