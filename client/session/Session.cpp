#include "client/session/Session.h"

#include "client/base/SessionError.h"
#include "client/base/SystemFailure.h"
#include "OrvProfiler/protocol/ActionResult.h"
#include "OrvProfiler/protocol/ClientId.h"
#include "OrvProfiler/protocol/TraceLines.h"
#include "OrvProfiler/protocol/WorkbenchMessages.h"
#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

namespace
{
// Output of a workbench that has ended is complete at once, unless a process that it started keeps the pipe open.
constexpr uint32_t c_lastOutputMs = 1000;
// After so long without more of it a line is shown without its end.
constexpr uint32_t c_partialLineMs = 250;
// A traced line is at most as late as a listener that has to be scheduled.
constexpr uint32_t c_traceMs = 500;
constexpr uint32_t c_traceLookMs = 10;

const wchar_t* ResponseName(uint32_t slot) noexcept
{
    switch (slot)
    {
    case c_responseSuccess:
        return L"success";
    case c_responseFailed:
        return L"failed";
    case c_responseBreakpoint:
        return L"breakpoint";
    default:
        return L"none";
    }
}

const wchar_t* MessageName(uint32_t message) noexcept
{
    switch (message)
    {
    case WM_WORKBENCH_READY:
        return L"ready";
    case WM_WORKBENCH_IDLE:
        return L"idle";
    case WM_WORKBENCH_EXITING:
        return L"exiting";
    default:
        return L"unknown";
    }
}

bool IsSet(HANDLE object) noexcept
{
    return WaitForSingleObject(object, 0) == WAIT_OBJECT_0;
}

double MillisecondsOf(const CPerfTimer& timer) noexcept
{
    return timer.Seconds() * 1000;
}

// The result's name stands at the line's end.
std::optional<int32_t> TracedResult(std::string_view line)
{
    line.remove_suffix(line.size() - 1 - std::min(line.find_last_not_of("\r\n"), line.size() - 1));
    const std::string_view name = line.substr(line.rfind(' ') + 1);
    for (int32_t result = 0; result < static_cast<int32_t>(std::size(c_actionResultNames)); ++result)
    {
        const std::wstring known = c_actionResultNames[result];
        if (std::equal(name.begin(), name.end(), known.begin(), known.end(),
                       [](char a, wchar_t b) { return static_cast<wchar_t>(static_cast<unsigned char>(a)) == b; }))
            return result;
    }
    return std::nullopt;
}

// The texts are ASCII, whatever the code page of the line.
bool TellsOf(std::string_view line, const wchar_t* text)
{
    const std::wstring mark = TraceMarkOf(text);
    return std::search(line.begin(), line.end(), mark.begin(), mark.end()) != line.end();
}
} // namespace

class Session::Deadline
{
public:
    explicit Deadline(uint32_t limitMs) : m_limitMs(limitMs), m_start(GetTickCount64()) {}

    uint32_t RemainingMs() const noexcept
    {
        if (m_limitMs == TimeLimits::c_noLimit)
            return INFINITE;
        const uint64_t elapsed = GetTickCount64() - m_start;
        return elapsed < m_limitMs ? static_cast<uint32_t>(m_limitMs - elapsed) : 0;
    }
    bool IsOver() const noexcept { return RemainingMs() == 0; }

private:
    uint32_t m_limitMs;
    uint64_t m_start;
};

Session::Session(uint32_t clientId, const TimeLimits& limits, SessionObserver& observer, HANDLE interrupt)
    : m_clientId(clientId), m_limits(limits), m_observer(observer), m_interrupt(interrupt), m_events(clientId),
      m_window([this](uint32_t message) { OnMessage(message); }),
      m_tracedEnd(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    OpenResponses();
}

Session::~Session()
{
    m_process.Kill();
}

// The event set waits for responses only; here they are waited for together with all else that can come.
void Session::OpenResponses()
{
    for (uint32_t slot = c_responseSuccess; slot < c_workbenchEventCount; ++slot)
    {
        UniqueHandle& response = m_responses[slot - c_responseSuccess];
        response.Reset(g_SecManager.OrvPOpenEvent(c_sessionNone, SYNCHRONIZE,
                                                  CWBEvent::EventName(static_cast<int32_t>(slot), m_clientId)));
        const DWORD error = GetLastError();
        if (!response)
            throw SessionError(SessionFailure::NoWorkbench,
                               SystemFailure(L"the workbench's events cannot be opened", error));
    }
}

void Session::PrepareShare()
{
    if (!m_share.Create(m_clientId))
        throw SessionError(SessionFailure::NoWorkbench, L"the share cannot be made; the debugger output tells why");
    if (!m_share.IsCreated())
    {
        m_share.Close();
        throw SessionError(SessionFailure::NoWorkbench,
                           L"another program uses the share of this client's process id; start the client again");
    }
    m_share.GetControl()->clientWindow = reinterpret_cast<uint64_t>(m_window.Handle());
}

void Session::Start(const std::wstring& program, std::vector<EnvironmentEntry> variables)
{
    if (m_isRunning)
        throw SessionError(SessionFailure::BadRequest, L"the workbench is running already");
    if (m_share.GetControl() == nullptr)
        PrepareShare();
    // An earlier workbench, or another process that had this id, may have left events set.
    m_events.ResetAll();
    m_isOwn = true;
    m_isReady = false;
    m_lines = LineCutter();
    m_output = std::make_unique<OutputPipe>();
    m_results = std::make_unique<ResultFile>();
    variables.emplace_back(c_resultFileVariable, m_results->Path());
    m_startTimer.Start();
    m_process = WorkbenchProcess::Start(program, m_clientId, m_output->WriteEnd(), variables);
    m_output->CloseWriteEnd();
    m_isRunning = true;
}

double Session::AwaitReady()
{
    const Deadline deadline(m_limits.readyMs);
    while (!m_isReady)
    {
        WaitForNews(deadline.RemainingMs(), {m_interrupt});
        TakeNews();
        if (m_isReady)
            break;
        if (!m_isRunning)
            throw SessionError(SessionFailure::NoWorkbench, L"the workbench ended before it was ready");
        if (IsSet(m_interrupt))
            throw SessionError(SessionFailure::Interrupted, L"interrupted before the workbench was ready");
        if (deadline.IsOver())
        {
            m_observer.OnLosing();
            GiveUp();
            throw SessionError(SessionFailure::TimedOut, L"the workbench did not become ready in time and was ended");
        }
    }
    m_startTimer.Stop();
    return MillisecondsOf(m_startTimer);
}

void Session::Attach(uint32_t workbenchId)
{
    if (!m_share.Open(m_clientId) || m_share.GetControl() == nullptr)
        throw SessionError(SessionFailure::NoWorkbench, L"there is no share for client " +
                                                            std::wstring(ClientIdText(m_clientId).Get()) +
                                                            L": process " + std::to_wstring(workbenchId) +
                                                            L" is no workbench, or not of this client id");
    m_process = WorkbenchProcess::Attach(workbenchId);
    if (std::optional<ResultFile> others = ResultFile::OfOther(m_clientId))
        m_results = std::make_unique<ResultFile>(*std::move(others));
    m_isRunning = true;
    TakeNews();
    if (!m_isRunning)
        throw SessionError(SessionFailure::NoWorkbench, L"the workbench has ended");
}

CommandResult Session::Execute(const Command& command)
{
    TakeNews();
    if (!m_isRunning)
        throw SessionError(SessionFailure::NoWorkbench, L"no workbench is running");
    Post(command.text);
    return Carry(*command.word);
}

CommandResult Session::Stop()
{
    TakeNews();
    CommandResult nothingToStop;
    nothingToStop.outcome = Outcome::Succeeded;
    return m_isRunning && m_isOwn ? Carry(StopWord()) : nothingToStop;
}

CommandResult Session::Carry(const CommandWord& word)
{
    Pending pending;
    pending.word = &word;
    m_pending = &pending;
    // A response that nobody here has asked for must not pass for this command's.
    if (m_isOwn && IsResponseSet())
        Deviate(L"a response came that nobody had asked for");
    ResetResponses();
    // What was told of commands that the other client gave.
    if (!m_isOwn && m_results != nullptr)
        m_results->SkipLines();
    CommandResult result;
    result.postedMs = TickMs();
    pending.timer.Start();
    m_events.Set(word.event);
    result.outcome = word.event == EV_STOP ? AwaitEnd() : AwaitFinal();
    if (!pending.succeeded)
        pending.timer.Stop();
    m_pending = nullptr;
    if (result.outcome == Outcome::TimedOut || result.outcome == Outcome::Interrupted)
        m_observer.OnLosing();
    result.elapsedMs = MillisecondsOf(pending.timer);
    result.deviation = pending.deviation;
    if (m_results != nullptr)
        result.record = m_results->TakeLine();
    if (!m_isOwn && pending.succeeded && result.record.empty())
        result.tracedResult = AwaitTracedResult();
    if (result.outcome == Outcome::TimedOut)
        GiveUp();
    return result;
}

void Session::Post(const std::wstring& text)
{
    ShareControl* const control = m_share.GetControl();
    const size_t length = std::min(text.size(), CommandTextLimit());
    std::memcpy(control->commandText, text.data(), length * sizeof(wchar_t));
    control->commandText[length] = L'\0';
    // The trace of the command before may still be under way: the one of this command begins with its own first line.
    const std::lock_guard<std::mutex> guard(m_traceLock);
    m_traced = Traced::Nothing;
    m_tracedResult.reset();
    ResetEvent(m_tracedEnd.Get());
}

Outcome Session::AwaitFinal()
{
    const Deadline deadline(m_limits.commandMs);
    for (;;)
    {
        WaitForNews(deadline.RemainingMs(), {m_interrupt, m_tracedEnd.Get()});
        TakeNews();
        if (!m_pending->succeeded && IsSet(m_tracedEnd.Get()))
            ConcludeFromTrace();
        if (m_pending->succeeded)
            return *m_pending->succeeded ? Outcome::Succeeded : Outcome::Failed;
        if (!m_isRunning)
            return Outcome::Lost;
        if (IsSet(m_interrupt))
            return Outcome::Interrupted;
        if (deadline.IsOver())
            return Outcome::TimedOut;
    }
}

// All responses have been set. When the final one does not show, it was set before the first one was reset.
void Session::ConcludeFromTrace()
{
    ResetEvent(m_tracedEnd.Get());
    TakeNews();
    if (m_pending->succeeded || !m_pending->firstResponse)
        return;
    const std::lock_guard<std::mutex> guard(m_traceLock);
    const bool succeeded = m_traced == Traced::Success;
    m_observer.OnHappening(
        {Happening::Kind::Response, ResponseName(succeeded ? c_responseSuccess : c_responseFailed)});
    Complete(succeeded);
}

// The response says no more than whether it failed. The line before it, if someone listens, may still be under way.
std::optional<int32_t> Session::AwaitTracedResult()
{
    const Deadline deadline(c_traceMs);
    for (;;)
    {
        {
            const std::lock_guard<std::mutex> guard(m_traceLock);
            if (!m_isTraced || m_traced == Traced::Success || m_traced == Traced::Failure)
                return m_tracedResult;
        }
        if (deadline.IsOver())
            return std::nullopt;
        WaitForNews(std::min(deadline.RemainingMs(), c_traceLookMs), {});
        TakeNews();
    }
}

// Stop is not answered: the exiting message and the end of the process stand for its response.
Outcome Session::AwaitEnd()
{
    if (!WaitForEnd())
        return Outcome::TimedOut;
    if (m_isOwn && !m_pending->exiting)
        Deviate(L"the workbench ended without the exiting message");
    return Outcome::Succeeded;
}

bool Session::WaitForEnd()
{
    const Deadline deadline(m_limits.stopMs);
    while (m_isRunning && !deadline.IsOver())
    {
        WaitForNews(deadline.RemainingMs(), {});
        TakeNews();
    }
    return !m_isRunning;
}

bool Session::WaitWhileIdle(std::initializer_list<HANDLE> objects)
{
    const bool wasRunning = m_isRunning;
    std::vector<HANDLE> awaited(objects);
    awaited.push_back(m_interrupt);
    for (;;)
    {
        WaitForNews(INFINITE, awaited);
        TakeNews();
        if (IsSet(m_interrupt) || m_isRunning != wasRunning)
            return false;
        if (std::any_of(objects.begin(), objects.end(), IsSet))
            return true;
    }
}

void Session::OnTrace(uint32_t processId, std::string_view line)
{
    if (processId != m_process.Id())
        return;
    const std::lock_guard<std::mutex> guard(m_traceLock);
    m_isTraced = true;
    if (TellsOf(line, c_traceOfCommand))
        m_traced = Traced::Command;
    else if (const bool succeeded = TellsOf(line, c_traceOfSuccess);
             m_traced == Traced::Command && (succeeded || TellsOf(line, c_traceOfFailure)))
    {
        m_traced = succeeded ? Traced::Success : Traced::Failure;
        m_tracedResult = TracedResult(line);
    }
    else if ((m_traced == Traced::Success || m_traced == Traced::Failure) && TellsOf(line, c_traceOfWait))
        SetEvent(m_tracedEnd.Get());
}

std::optional<uint32_t> Session::WorkbenchExitCode() const noexcept
{
    if (m_process.Id() == 0 || !m_process.HasEnded())
        return std::nullopt;
    return m_process.ExitCode();
}

// Returns when anything has come, when one of the other objects is signalled, or after the time.
void Session::WaitForNews(uint32_t timeoutMs, std::vector<HANDLE> others)
{
    std::vector<HANDLE> handles(std::move(others));
    if (m_pending != nullptr)
        for (const UniqueHandle& response : m_responses)
            handles.push_back(response.Get());
    if (m_output != nullptr && m_output->IsOpen())
        handles.push_back(m_output->Arrival());
    if (m_isRunning)
        handles.push_back(m_process.Handle());
    if (m_lines.HasRest())
        timeoutMs = std::min(timeoutMs, c_partialLineMs);
    MsgWaitForMultipleObjectsEx(static_cast<DWORD>(handles.size()), handles.data(), timeoutMs, QS_ALLINPUT,
                                MWMO_INPUTAVAILABLE);
}

void Session::TakeNews()
{
    // Asked first: what is taken below is then all that an ended workbench has left.
    const bool hasEnded = m_isRunning && m_process.HasEnded();
    TakeOutput();
    TakeResponses();
    m_window.Pump();
    ShowWaitingOutput();
    if (!hasEnded)
        return;
    TakeLastOutput();
    m_isRunning = false;
}

void Session::TakeOutput()
{
    if (m_output == nullptr)
        return;
    const std::string bytes = m_output->Take();
    if (!bytes.empty())
        m_outputTime = GetTickCount64();
    for (std::wstring& line : m_lines.Feed(bytes))
        m_observer.OnHappening({Happening::Kind::Output, std::move(line)});
}

// A question or a row of dots shall not wait for the end of its line for ever.
void Session::ShowWaitingOutput()
{
    if (!m_lines.HasRest() || GetTickCount64() - m_outputTime < c_partialLineMs)
        return;
    std::wstring text = m_lines.TakePartial();
    if (!text.empty())
        m_observer.OnHappening({Happening::Kind::Output, std::move(text), true});
}

// Also shows a line that has no end yet, because something other than output comes next.
void Session::TakeOutputRest()
{
    TakeOutput();
    std::wstring rest = m_lines.TakeRest();
    if (!rest.empty())
        m_observer.OnHappening({Happening::Kind::Output, std::move(rest)});
}

void Session::TakeLastOutput()
{
    const Deadline deadline(c_lastOutputMs);
    TakeOutput();
    while (m_output != nullptr && m_output->IsOpen() && !deadline.IsOver())
    {
        WaitForSingleObject(m_output->Arrival(), deadline.RemainingMs());
        TakeOutput();
    }
    TakeOutputRest();
}

bool Session::IsResponseSet() const noexcept
{
    return std::any_of(std::begin(m_responses), std::end(m_responses),
                       [](const UniqueHandle& response) { return IsSet(response.Get()); });
}

void Session::ResetResponses()
{
    for (uint32_t slot = c_responseSuccess; slot < c_workbenchEventCount; ++slot)
        m_events.Reset(slot);
}

void Session::TakeResponses()
{
    while (m_pending != nullptr && !m_pending->succeeded && IsResponseSet())
        OnResponse(m_events.GetResponse(0));
}

void Session::OnResponse(uint32_t slot)
{
    if (slot < c_responseSuccess || slot > c_responseBreakpoint)
        return; // another client took it in between
    // What was printed before the response.
    TakeOutputRest();
    m_observer.OnHappening({Happening::Kind::Response, ResponseName(slot)});
    if (m_pending->word->event == EV_STOP)
        return Deviate(L"the workbench answered the stop command, which it never does");
    if (slot == c_responseBreakpoint)
        return Deviate(L"the workbench set the breakpoint response, which it never does");

    const bool isBeforeBreakpoint = m_pending->word->PassesBreakpoint() && !m_pending->firstResponse;
    const bool isBeforeIdle = m_pending->word->PassesBreakpoint() && m_isOwn && !m_pending->idle;
    if (slot == c_responseSuccess && isBeforeBreakpoint)
    {
        m_pending->firstResponse = true;
        return;
    }
    Complete(slot == c_responseSuccess);
    if (isBeforeBreakpoint || isBeforeIdle)
        Deviate(L"the final response came before the breakpoint step was over");
}

void Session::OnMessage(uint32_t message)
{
    // The workbench may wait for the answer to a message: what came before it is complete now, and is taken first.
    TakeOutputRest();
    TakeResponses();
    m_observer.OnHappening({Happening::Kind::Message, MessageName(message)});
    if (message == WM_WORKBENCH_READY)
        m_isReady = true;
    if (message == WM_WORKBENCH_EXITING && (m_pending == nullptr || m_pending->word->event != EV_STOP))
        m_observer.OnLosing();
    if (m_pending != nullptr)
        OnMessageInCommand(message);
    m_observer.OnAnswered(TickMs());
}

void Session::OnMessageInCommand(uint32_t message)
{
    if (message == WM_WORKBENCH_EXITING)
        m_pending->exiting = true;
    if (message != WM_WORKBENCH_IDLE)
        return;
    if (!m_pending->firstResponse || m_pending->idle)
        Deviate(L"the idle message came without the breakpoint's response");
    m_pending->idle = true;
}

void Session::Complete(bool succeeded)
{
    m_pending->timer.Stop();
    m_pending->succeeded = succeeded;
}

void Session::Deviate(const wchar_t* text)
{
    if (m_pending->deviation.empty())
        m_pending->deviation = text;
}

void Session::GiveUp()
{
    m_process.Kill();
    TakeNews();
    m_isRunning = false;
}
