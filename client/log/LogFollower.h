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
// They come from the log file where it can be read meanwhile. On Windows it cannot, as the workbench shares it with
// nobody, and of two workbenches only the first has a file; there the same lines come from the debugger output, where
// characters outside the system's code page are lost.
class LogFollower
{
public:
    // Gets each line, without its end. Called on any thread, one call at a time.
    using Receiver = std::function<void(const std::wstring& line)>;
    enum class From
    {
        Start,
        Now,
    };

    // Whether the log file can be read while a workbench writes it. Opens files to find out: call it before the
    // workbench is started.
    static bool CanReadFile();

    // readsFile: the lines come from the log file; otherwise from OnDebugText.
    LogFollower(Receiver receiver, bool readsFile);
    ~LogFollower();
    LogFollower(const LogFollower&) = delete;
    LogFollower& operator=(const LogFollower&) = delete;

    // Takes what a process has printed to the debugger. What comes before Begin is kept. Any thread.
    void OnDebugText(uint32_t processId, const std::string& text);

    // Follows the log of that process, a workbench of that client, from its start or from now on. To be called once
    // the process has opened its log file: a reader that came first could keep it from opening the file. False: there
    // is no log of its own that can be read.
    bool Begin(uint32_t processId, uint32_t clientId, From from);
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
    bool OpenFile(uint32_t clientId);
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
    // What was printed before Begin.
    std::vector<DebugText> m_earlyTexts;
};
