#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

// Keeps the user company while a command is under way, on a console: after a second it shows, as the status of the
// standard output, for how long it has run and what the log said last; and it asks what is to be done after Ctrl-C.
// Nothing where the standard output is no console.
class CommandWatch
{
public:
    struct Setup
    {
        // What is under way, for the status: "running".
        std::wstring activity;
        // The last line of the log; empty when there is none. Called on any thread.
        std::function<std::wstring()> lastLogLine;
        // Where a debugger holds it; empty while none does. Called by one thread, each second; none where nobody can
        // tell.
        std::function<std::wstring()> held;
        // Manual-reset events: Ctrl-C was pressed, which is reset here; the user wants an end, which is set here.
        // Null where nobody can be asked.
        HANDLE pressed = nullptr;
        HANDLE end = nullptr;
    };

    explicit CommandWatch(Setup setup);
    ~CommandWatch();
    CommandWatch(const CommandWatch&) = delete;
    CommandWatch& operator=(const CommandWatch&) = delete;

private:
    void Run() const;
    void ShowProgress(uint64_t seconds) const;
    bool Ask() const;

    const Setup m_setup;
    const UniqueHandle m_over;
    std::thread m_thread;
};
