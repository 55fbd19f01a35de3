#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <memory>
#include <string>

// A pipe that catches what another process prints, without ever blocking the reader. One thread uses it.
class OutputPipe
{
public:
    // Throws SessionError.
    OutputPipe();
    ~OutputPipe();
    OutputPipe(const OutputPipe&) = delete;
    OutputPipe& operator=(const OutputPipe&) = delete;

    // The inheritable end for the other process; close it here once that process has it.
    HANDLE WriteEnd() const noexcept { return m_writeEnd.Get(); }
    void CloseWriteEnd() noexcept { m_writeEnd.Reset(); }

    // Signalled when Take has something to give, or the pipe's end was reached. Null after the end.
    HANDLE Arrival() const noexcept;
    // What has arrived since the last call: everything that the other process wrote before whatever else of it this
    // thread has seen.
    std::string Take();
    // False when every writer is gone and all has been taken.
    bool IsOpen() const noexcept { return static_cast<bool>(m_readEnd); }

private:
    struct Read;

    void StartRead();

    UniqueHandle m_readEnd;
    UniqueHandle m_writeEnd;
    std::unique_ptr<Read> m_read;
};
