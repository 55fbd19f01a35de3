#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

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
// the system's code page are lost.
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

    // Whether the log file can be read while a workbench writes it. To be asked before the workbench is started.
    static bool CanReadFile();

    // readsFile: else the lines come through OnDebugText.
    LogFollower(Receiver receiver, bool readsFile);
    ~LogFollower();
    LogFollower(const LogFollower&) = delete;
    LogFollower& operator=(const LogFollower&) = delete;

    // What a process prints to the debugger, from before its start on. Any thread.
    void OnDebugText(uint32_t processId, const std::string& text);

    // Follows the log of that process, which has opened its log file by now: before, reading the file could keep it
    // from that.
    void Begin(uint32_t processId, From from);
    // Shows what has been written so far. Nothing before Begin.
    void CatchUp();
    // Shows what has been written so far, and ends.
    void Finish();

private:
    struct DebugText
    {
        uint32_t processId;
        std::string text;
    };

    void Serve();
    void OpenFile();
    void ReadFile();
    void ShowBytes();
    void ShowEarlyTexts();
    void ShowLine(std::wstring line);

    const Receiver m_receiver;
    const bool m_readsFile;
    UniqueHandle m_stop;
    std::thread m_thread;
    // Guards all that follows.
    std::mutex m_lock;
    uint32_t m_processId = 0;
    From m_from = From::Start;
    UniqueHandle m_file;
    uint64_t m_position = 0;
    std::string m_bytes;
    // What came before it was known which process is to be followed.
    std::vector<DebugText> m_earlyTexts;
};
