#pragma once

#include "client/process/WorkbenchProcess.h"

#include <cstdint>
#include <optional>

// Mono's agent, by which a debugger comes into the workbench's runtime: it listens on a port of this machine. Under
// Wine, where Mono is the runtime. Windows' own runtime has debuggers attach to the process, and leaves the variable
// unread.
class DebuggerAgent
{
public:
    // On that port; with 0 on one that nobody listens on now. Throws SessionError when there is none, and, where the
    // agent is read, for a port on which somebody listens: the agent would get none, without a word.
    explicit DebuggerAgent(uint16_t port);
    // The port of the agent that somebody else's workbench was started with; nothing without one.
    static std::optional<uint16_t> PortOf(uint32_t workbenchId);

    uint16_t Port() const noexcept { return m_port; }
    // What the workbench's environment says then, after what this process's own says.
    EnvironmentEntry Variable() const;
    // Whether the workbench's runtime is one that has the agent.
    static bool IsRead() noexcept;

private:
    uint16_t m_port;
};
