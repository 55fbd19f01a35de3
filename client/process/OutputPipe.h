#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <memory>
#include <string>

// A pipe that catches what another process prints. Reading never waits. Used by one thread.
class OutputPipe
{
public:
    // Throws SessionError.
    OutputPipe();
    ~OutputPipe();
    OutputPipe(const OutputPipe&) = delete;
    OutputPipe& operator=(const OutputPipe&) = delete;

    // The inheritable end for the other process, owned here. Close it once that process has started, or the pipe
    // never ends.
    HANDLE WriteEnd() const noexcept { return m_writeEnd.Get(); }
    void CloseWriteEnd() noexcept { m_writeEnd.Reset(); }

    // An event of this object's, signalled when there is something to take or the pipe has ended. Null after the end.
    HANDLE Arrival() const noexcept;
    // Returns what has arrived since the last call. What the other process wrote before it set an event or sent a
    // message is there once this thread has seen that event or message.
    std::string Take();
    // False when no process has the write end any more and all has been taken.
    bool IsOpen() const noexcept { return static_cast<bool>(m_readEnd); }

private:
    struct Read;

    void StartRead();

    UniqueHandle m_readEnd;
    UniqueHandle m_writeEnd;
    std::unique_ptr<Read> m_read;
};
