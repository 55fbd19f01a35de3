#pragma once

#include "client/process/LineCutter.h"
#include "client/process/OutputPipe.h"
#include "client/process/WorkbenchProcess.h"
#include "client/session/Command.h"
#include "client/session/NotifyWindow.h"
#include "OrvProfiler/foundation/PerfTimer.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/objects/WBEvent.h"
#include "OrvProfiler/protocol/WorkbenchEvents.h"
#include "OrvProfiler/share/ProxyShare.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

// In milliseconds; c_noLimit waits for ever.
struct TimeLimits
{
    static constexpr uint32_t c_noLimit = 0xFFFFFFFF;

    // From the start of the workbench to its ready message.
    uint32_t readyMs = 30000;
    // From posting a command to its final response.
    uint32_t commandMs = 60000;
    // From asking the workbench to stop to its end.
    uint32_t stopMs = 10000;
};

// Something that came from the workbench.
struct Happening
{
    enum class Kind
    {
        Output,
        Response,
        Message,
    };

    Kind kind;
    // A line of output, without its end, or the name of the response or message.
    std::wstring text;
};

// How a command ended.
enum class Outcome
{
    Succeeded,
    Failed,
    TimedOut,
    // The workbench's process ended without a final response.
    Lost,
    Interrupted,
};

struct CommandResult
{
    Outcome outcome = Outcome::Lost;
    // From setting the command's event to the final response (for stop: to the end of the process).
    double elapsedMs = 0;
    // How the workbench departed from the protocol; empty when it did not.
    std::wstring deviation;
};

// Is told what comes from the workbench, at once and in the order in which it came.
class SessionObserver
{
public:
    virtual void OnHappening(const Happening& happening) = 0;

protected:
    ~SessionObserver() = default;
};

// The client's side of one workbench: share, events, notification window and process. One per process; everything
// runs on the thread that constructs it, if nothing else is said.
//
// The workbench answers some commands twice, with success at the breakpoint and then with the command's own outcome,
// and both can be the same event. It sends the idle message between the two and waits for the answer. Messages are
// answered here only after all responses before them have been taken and reset: so the second one is set on an event
// that is clear, and is seen as the second.
//
// A workbench that somebody else started sends its messages to that somebody's window. There the second response can
// come before the first was reset, and the two are one. Its trace tells then that the command has ended, and how.
class Session
{
public:
    // clientId keys the session: the id of this process to start a workbench, of another to attach to its. interrupt
    // is an event that, once set, ends every wait. It and the observer must outlive the session. Throws SessionError.
    Session(uint32_t clientId, const TimeLimits& limits, SessionObserver& observer, HANDLE interrupt);
    // Ends a workbench that was started here and still runs, at once.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Starts a workbench, when none is running. Throws SessionError.
    void Start(const std::wstring& program);
    // Waits until the workbench that was started is ready; returns the time since its start in milliseconds. Throws
    // SessionError when it did not become ready in time (it is ended then), ended before, or the interrupt was set.
    double AwaitReady();
    // Takes a workbench that somebody else started, whose client id is this session's. Throws SessionError.
    void Attach(uint32_t workbenchId);

    // Posts a command and waits for its final response. Throws SessionError when no workbench is running. After a
    // time-out the session has ended, and with it a workbench that was started here.
    CommandResult Execute(const Command& command);
    // Asks a workbench that was started here to stop and waits until it has ended. When that takes too long the
    // outcome is TimedOut, and the workbench is ended. Leaves any other alone.
    CommandResult Stop();

    // Waits for the given object, and meanwhile takes what comes from the workbench. Returns false when a running
    // workbench ended or the interrupt was set first.
    bool WaitWhileIdle(HANDLE object);

    // A line that the workbench has traced. Any thread.
    void OnTrace(uint32_t processId, std::string_view line);

    uint32_t ClientId() const noexcept { return m_clientId; }
    // 0 before a workbench was started or attached.
    uint32_t WorkbenchId() const noexcept { return m_process.Id(); }
    bool IsRunning() const noexcept { return m_isRunning; }
    HANDLE WorkbenchHandle() const noexcept { return m_process.Handle(); }
    // Once a workbench has ended: its exit code.
    std::optional<uint32_t> WorkbenchExitCode() const noexcept;

private:
    enum class Traced
    {
        Nothing,
        Command,
        Success,
        Failure,
    };
    struct Pending
    {
        const CommandWord* word = nullptr;
        bool firstResponse = false;
        bool idle = false;
        bool exiting = false;
        std::optional<bool> succeeded;
        CPerfTimer timer;
        std::wstring deviation;
    };
    class Deadline;

    void PrepareShare();
    void OpenResponses();
    CommandResult Carry(const CommandWord& word);
    void Post(const std::wstring& text);
    Outcome AwaitFinal();
    Outcome AwaitEnd();
    bool WaitForEnd();
    void ConcludeFromTrace();
    void WaitForNews(uint32_t timeoutMs, std::initializer_list<HANDLE> others);
    void TakeNews();
    void TakeOutput();
    void TakeOutputRest();
    void TakeLastOutput();
    bool IsResponseSet() const noexcept;
    void ResetResponses();
    void TakeResponses();
    void OnResponse(uint32_t slot);
    void OnMessage(uint32_t message);
    void Complete(bool succeeded);
    void Deviate(const wchar_t* text);
    void GiveUp();

    const uint32_t m_clientId;
    const TimeLimits m_limits;
    SessionObserver& m_observer;
    const HANDLE m_interrupt;
    CProxyShare m_share;
    CWBEvent m_events;
    UniqueHandle m_responses[c_workbenchResponseCount];
    NotifyWindow m_window;
    std::unique_ptr<OutputPipe> m_output;
    LineCutter m_lines;
    WorkbenchProcess m_process;
    CPerfTimer m_startTimer;
    // This session started the workbench: its window is this one, and its end is ours to see to.
    bool m_isOwn = false;
    bool m_isReady = false;
    bool m_isRunning = false;
    // The command whose final response is awaited.
    Pending* m_pending = nullptr;
    // Guards what the trace tells: how far the workbench is with the command, and an event that is set when it has
    // set all responses.
    std::mutex m_traceLock;
    Traced m_traced = Traced::Nothing;
    UniqueHandle m_tracedEnd;
};
