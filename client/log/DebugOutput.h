#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

// Listens to the debugger output of all processes of this session, as a debug viewer does. The system has room for
// one listener; a process that prints waits until what was printed before has been taken. Text is in the system's
// code page.
class DebugOutput
{
public:
    // Gets each printed text with the id of the process that printed it. Called on a thread of this object's own.
    using Receiver = std::function<void(uint32_t processId, const std::string& text)>;

    // Listens from now on, unless another program already does.
    explicit DebugOutput(Receiver receiver);
    // All that was printed before has been received when it returns.
    ~DebugOutput();
    DebugOutput(const DebugOutput&) = delete;
    DebugOutput& operator=(const DebugOutput&) = delete;

    bool IsListening() const noexcept { return static_cast<bool>(m_view); }

private:
    struct Buffer;

    bool MakeObjects();
    void Listen();
    void ReleasePrinters();

    Receiver m_receiver;
    UniqueHandle m_mapping;
    UniqueHandle m_isFree;
    UniqueHandle m_isFilled;
    UniqueHandle m_stop;
    UniqueView m_view;
    std::thread m_thread;
};
