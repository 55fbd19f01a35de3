#pragma once

#include "client/process/LineCutter.h"
#include "client/process/OutputPipe.h"
#include "client/process/WorkbenchProcess.h"
#include "client/session/Command.h"
#include "client/session/NotifyWindow.h"
#include "client/session/ResultFile.h"
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
#include <vector>

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
    // A line of output that had no end for a while; the rest of it comes as a line of its own.
    bool isPartial = false;
    // When it came, in milliseconds (TickMs).
    double tickMs = TickMs();
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
    // When that event was set, in milliseconds (TickMs).
    double postedMs = 0;
    // How the workbench departed from the protocol; empty when it did not.
    std::wstring deviation;
    // What the dispatcher told about the command, a JSON object in UTF-8: members result (an ActionResult), made,
    // value (type, text, string), references, assembly, error (message, column), exception (type, message, frames,
    // causes), each where there is one. Empty when it tells nothing: the workbench was started by another kind of
    // client, or has another dispatcher.
    std::string record;
    // The ActionResult by the trace, when someone else's workbench is traced (OnTrace).
    std::optional<int32_t> tracedResult;
};

// Is told what comes from the workbench, at once and in the order in which it came. Called on the session's thread,
// within the session's own functions.
class SessionObserver
{
public:
    virtual void OnHappening(const Happening& happening) = 0;
    // The session is about to lose the workbench, whose process is there until this returns: nobody waits for a
    // command, a start or a stop any more, or it says, unasked, that it ends.
    virtual void OnLosing() {}
    // The message that came last is answered now, at that time in milliseconds (TickMs).
    virtual void OnAnswered(double /*tickMs*/) {}

protected:
    ~SessionObserver() = default;
};

// The client's side of one workbench: share, events, notification window and process. One per process. Belongs to
// the thread that constructs it, which also has to call it: the workbench's messages are answered only within the
// functions that wait.
//
// The workbench answers some commands twice: with success at the breakpoint step, then with the command's own
// outcome, which can be the same event. Between the two it sends the idle message and waits for the answer. A message
// is answered here only after all responses before it have been taken and reset, so the second response is set on an
// event that is clear, and is seen as a second one.
//
// A workbench that another client started sends its messages to that client's window and does not wait for this
// session. Its second response can then come before the first was reset, and the two look like one. OnTrace tells
// that such a command has ended, and how.
class Session
{
public:
    // clientId: the id of this process to start a workbench; that of the client that started it to attach to one.
    // interrupt is a manual-reset event that, once set, ends every wait. It and the observer must outlive the
    // session. Throws SessionError.
    Session(uint32_t clientId, const TimeLimits& limits, SessionObserver& observer, HANDLE interrupt);
    // Ends a workbench that was started here and still runs, at once and without asking it to stop.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Starts that program, a full path, as the workbench, with these variables in its environment. Throws
    // SessionError; also when a workbench is running.
    void Start(const std::wstring& program, std::vector<EnvironmentEntry> variables = {});
    // Waits until the workbench that was started is ready; returns the time since its start in milliseconds. Throws
    // SessionError when it did not become ready in time (it is ended then), ended before, or the interrupt was set.
    double AwaitReady();
    // Takes a workbench that another client started, by its process id. Throws SessionError.
    void Attach(uint32_t workbenchId);

    // Posts a command and waits for its final response. Throws SessionError when no workbench is running. After a
    // time-out the session has ended, and with it a workbench that was started here.
    CommandResult Execute(const Command& command);
    // Asks a workbench that was started here to stop and waits until it has ended. When that takes too long the
    // outcome is TimedOut, and the workbench is ended. Leaves any other alone.
    CommandResult Stop();

    // Waits for one of the given objects, and meanwhile takes what comes from the workbench. Returns false when a
    // running workbench ended or the interrupt was set first.
    bool WaitWhileIdle(std::initializer_list<HANDLE> objects);

    // Ends the session after a command whose final response nobody waits for any more: it would be taken for that of
    // the next one. A workbench that was started here is ended at once.
    void GiveUp();

    // Takes a line that a process has printed to the debugger. Only an attached session needs it; lines of other
    // processes are ignored. Any thread.
    void OnTrace(uint32_t processId, std::string_view line);

    uint32_t ClientId() const noexcept { return m_clientId; }
    // 0 before a workbench was started or attached.
    uint32_t WorkbenchId() const noexcept { return m_process.Id(); }
    bool IsRunning() const noexcept { return m_isRunning; }
    // The dispatcher may tell about commands: the workbench was started here, or by such a client.
    bool IsTold() const noexcept { return m_results != nullptr; }
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
    std::optional<int32_t> AwaitTracedResult();
    void WaitForNews(uint32_t timeoutMs, std::vector<HANDLE> others);
    void TakeNews();
    void TakeOutput();
    void TakeOutputRest();
    void ShowWaitingOutput();
    void TakeLastOutput();
    bool IsResponseSet() const noexcept;
    void ResetResponses();
    void TakeResponses();
    void OnResponse(uint32_t slot);
    void OnMessage(uint32_t message);
    void OnMessageInCommand(uint32_t message);
    void Complete(bool succeeded);
    void Deviate(const wchar_t* text);

    const uint32_t m_clientId;
    const TimeLimits m_limits;
    SessionObserver& m_observer;
    const HANDLE m_interrupt;
    CProxyShare m_share;
    CWBEvent m_events;
    UniqueHandle m_responses[c_workbenchResponseCount];
    NotifyWindow m_window;
    std::unique_ptr<OutputPipe> m_output;
    std::unique_ptr<ResultFile> m_results;
    LineCutter m_lines;
    // When the last output came, by GetTickCount64.
    uint64_t m_outputTime = 0;
    WorkbenchProcess m_process;
    CPerfTimer m_startTimer;
    // This session started the workbench, which therefore sends its messages here and is ended here.
    bool m_isOwn = false;
    bool m_isReady = false;
    bool m_isRunning = false;
    // The command whose final response is awaited.
    Pending* m_pending = nullptr;
    // Guards how far the traced lines say that the workbench is with the command. The event is set when they say that
    // it has set all responses.
    std::mutex m_traceLock;
    Traced m_traced = Traced::Nothing;
    std::optional<int32_t> m_tracedResult;
    bool m_isTraced = false;
    UniqueHandle m_tracedEnd;
};
