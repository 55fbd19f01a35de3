#pragma once

#include "client/log/DebugOutput.h"
#include "client/log/LogFollower.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

// What a workbench tells about itself while it runs: the lines of its trace log, from the file or, where that cannot
// be read, from the debugger output; and what it prints there, for whoever needs that. Belongs to one thread, except
// LastLine.
class WorkbenchLog
{
public:
    struct Setup
    {
        // Gets each line of the log, on any thread; none without it.
        LogFollower::Receiver onLine;
        // Gets what processes print to the debugger, on any thread; none without it.
        std::function<void(uint32_t processId, std::string_view text)> onDebugText;
        // The last line of the log will be asked for.
        bool keepsLastLine = false;
        // All of the log will be asked for, where the run has no file of its own.
        bool keepsText = false;
    };

    explicit WorkbenchLog(Setup setup);

    // Before the workbench is started or taken. A listener slows every process that prints to the debugger, so there
    // is one only where it is needed. False: the lines of the log cannot be had, for the file cannot be read and
    // another program takes the debugger output.
    bool Listen();
    // Once it is there and has opened its log file: follows it from its start or from now on. False: it has no log of
    // its own that can be read.
    bool Begin(uint32_t processId, uint32_t clientId, LogFollower::From from);
    // Shows what has been written so far.
    void CatchUp();
    // The workbench has ended, or is left.
    void End();

    // Empty when there is none. Any thread.
    std::wstring LastLine();
    // The lines of a run that has no log file, for another workbench holds it: the last c_keptText units. Empty when
    // there is a file, or nothing was to be kept.
    static constexpr size_t c_keptText = 1 << 20;
    std::wstring Text();

private:
    void Keep(const std::wstring& line);

    const Setup m_setup;
    std::mutex m_lock;
    std::wstring m_lastLine;
    bool m_keepsText = false;
    std::wstring m_text;
    std::unique_ptr<LogFollower> m_follower;
    // Calls the follower from its thread, so it is destroyed before it.
    std::unique_ptr<DebugOutput> m_debugOutput;
};
