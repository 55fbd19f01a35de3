#pragma once

#include "OrvProfiler/UniqueHandle.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Shows the lines of a workbench's trace log as they are written, without the empty ones.
//
// The log file is read where that is possible. Windows lets nobody read it while the workbench has it open, and a
// second workbench has no file at all; the same lines then come from the debugger output, where characters outside
// the system's code page are lost. The file is not touched before Begin, since that could keep the workbench from
// opening it.
class LogFollower
{
public:
    // Gets each line, without its end, on any thread.
    using Receiver = std::function<void(const std::wstring& line)>;
    enum class From
    {
        Start,
        Now,
    };

    explicit LogFollower(Receiver receiver);
    ~LogFollower();
    LogFollower(const LogFollower&) = delete;
    LogFollower& operator=(const LogFollower&) = delete;

    // What a process prints to the debugger, from the first moment on. Any thread.
    void OnDebugText(uint32_t processId, const std::string& text);

    // Follows the log of that process, which has opened its log file, or given up on that. hearsDebugger: OnDebugText
    // is called.
    void Begin(uint32_t processId, From from, bool hearsDebugger);
    // Shows what has been written so far. Nothing before Begin.
    void CatchUp();
    // Whether OnDebugText is of no more use. Once begun.
    bool IsReadingFile();
    // Shows what has been written so far, and ends.
    void Finish();

private:
    enum class Source
    {
        Undecided,
        File,
        DebugOutput,
    };

    struct DebugText
    {
        uint32_t processId;
        std::string text;
    };

    void Serve();
    void Poll();
    bool OpenFile();
    void ReadFile();
    void ShowBytes();
    void UseDebugOutput();
    void ShowLine(std::wstring line);

    const Receiver m_receiver;
    UniqueHandle m_stop;
    std::thread m_thread;
    // Guards all that follows.
    std::mutex m_lock;
    bool m_hasBegun = false;
    uint32_t m_processId = 0;
    From m_from = From::Start;
    bool m_hearsDebugger = false;
    Source m_source = Source::Undecided;
    UniqueHandle m_file;
    uint64_t m_position = 0;
    std::string m_bytes;
    // Kept until the source is decided.
    std::vector<DebugText> m_debugTexts;
};
