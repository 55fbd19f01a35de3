#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Name and value.
using EnvironmentEntry = std::pair<std::wstring, std::wstring>;

// The workbench's process, started by this client or by someone else. One that was started here ends with this
// object, and also when this process is killed.
class WorkbenchProcess
{
public:
    // Starts the program as the workbench of a client, in the program's own folder, with its standard
    // output and error going to the given inheritable handle and without standard input. The variables stand in
    // its environment instead of this process's own; one without a value is not there. Ctrl-C does not reach it.
    // Throws SessionError.
    static WorkbenchProcess Start(const std::wstring& program, uint32_t clientId, HANDLE output,
                                  const std::vector<EnvironmentEntry>& variables = {});

    // Takes a process that someone else started. Throws SessionError.
    static WorkbenchProcess Attach(uint32_t processId);

    // Owned here, and signalled when the process has ended. Null before there was one.
    HANDLE Handle() const noexcept { return m_process.Get(); }
    // 0 before there was a process.
    uint32_t Id() const noexcept { return m_id; }
    bool HasEnded() const noexcept;
    // Only of a process that has ended.
    uint32_t ExitCode() const noexcept;
    // Ends a process that was started here, with everything that it started, and waits until it is gone. Leaves any
    // other alone.
    void Kill() noexcept;

private:
    UniqueHandle m_job;
    UniqueHandle m_process;
    uint32_t m_id = 0;
};
