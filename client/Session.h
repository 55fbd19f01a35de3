#pragma once

#include "client/Command.h"
#include "client/NotifyWindow.h"
#include "client/OutputPipe.h"
#include "client/WorkbenchProcess.h"
#include "OrvProfiler/PerfTimer.h"
#include "OrvProfiler/ProxyShare.h"
#include "OrvProfiler/UniqueHandle.h"
#include "OrvProfiler/WBEvent.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

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

// The client's side of one workbench: the share and the events of this process's id, the notification window, and
// the workbench's process. One per process; everything runs on the thread that constructs it.
//
// The workbench answers some commands twice, with success at the breakpoint and then with the command's own outcome,
// and both can be the same event. It sends the idle message between the two and waits for the answer. Messages are
// answered here only after all responses before them have been taken, and reset: so the workbench sets the second one
// on an event that is clear, and it is seen as the second.
class Session
{
public:
    // interrupt is an event that, once set, ends every wait. Both references must outlive the session. Throws
    // ClientError.
    Session(const TimeLimits& limits, SessionObserver& observer, HANDLE interrupt);
    // Ends a workbench that was started here and still runs, at once.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Starts the workbench and waits until it is ready; returns the time that took in milliseconds. Throws
    // ClientError when that fails.
    double Start(const std::wstring& program);

    // Posts a command and waits for its final response. Throws ClientError when no workbench is running. After a
    // time-out the workbench is out of step: one that was started here is ended.
    CommandResult Execute(const Command& command);

    // Asks the workbench to stop and waits until it has ended. False when it did not in time; one that was started
    // here is ended then.
    bool Stop();

    // The process id that keys the share and the events.
    uint32_t ClientId() const noexcept { return m_clientId; }
    uint32_t WorkbenchId() const noexcept { return m_process.Id(); }
    bool IsRunning() const noexcept { return m_isRunning; }
    // Of a workbench that has ended.
    uint32_t WorkbenchExitCode() const noexcept { return m_process.ExitCode(); }

    // Waits for the given object, and meanwhile takes what comes from the workbench. Returns false when the workbench
    // ended or the interrupt was set first.
    bool WaitWhileIdle(HANDLE object);

private:
    struct Pending
    {
        const CommandWord* word = nullptr;
        bool firstResponse = false;
        bool idle = false;
        bool exiting = false;
        std::optional<bool> succeeded;
        std::wstring deviation;
    };
    class Deadline;

    void PrepareShare();
    void OpenResponses();
    void AwaitReady();
    void Post(const Command& command);
    Outcome AwaitFinal();
    Outcome AwaitEnd();
    bool WaitForEnd();
    void WaitForNews(uint32_t timeoutMs, std::initializer_list<HANDLE> others);
    void TakeNews();
    void TakeOutput();
    void TakeRestOfOutput();
    bool IsResponseSet() const noexcept;
    void TakeResponses();
    void OnResponse(uint32_t slot);
    void OnMessage(uint32_t message);
    void Deviate(const wchar_t* text);
    void EndRun();

    const TimeLimits m_limits;
    SessionObserver& m_observer;
    const HANDLE m_interrupt;
    const uint32_t m_clientId;
    CProxyShare m_share;
    CWBEvent m_events;
    UniqueHandle m_responses[c_workbenchEventCount - c_responseSuccess];
    NotifyWindow m_window;
    OutputPipe m_output;
    LineCutter m_lines;
    WorkbenchProcess m_process;
    bool m_isReady = false;
    bool m_isRunning = false;
    // The command whose final response is awaited.
    Pending* m_pending = nullptr;
};
