#include "client/Session.h"

#include "client/ClientError.h"
#include "OrvProfiler/OrvWorkbench/Host.h"
#include "OrvProfiler/ProxySecurity.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
// Output of a workbench that has ended is complete at once, unless a process that it started keeps the pipe open.
constexpr uint32_t c_lastOutputMs = 1000;

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

double MillisecondsOf(const CPerfTimer& timer) noexcept
{
    return timer.Seconds() * 1000;
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

Session::Session(const TimeLimits& limits, SessionObserver& observer, HANDLE interrupt)
    : m_limits(limits), m_observer(observer), m_interrupt(interrupt), m_clientId(GetCurrentProcessId()),
      m_events(m_clientId), m_window([this](uint32_t message) { OnMessage(message); })
{
    PrepareShare();
    OpenResponses();
}

Session::~Session()
{
    m_process.Kill();
}

void Session::PrepareShare()
{
    if (!m_share.Create(m_clientId))
        throw ClientError(ExitStatus::WorkbenchLost, L"the share cannot be made; the debugger output tells why");
    m_share.GetControl()->clientWindow = reinterpret_cast<uint64_t>(m_window.Handle());
}

// The event set waits for responses only; here they are waited for together with all else that can come.
void Session::OpenResponses()
{
    // Something of an earlier process with this id may still be set.
    if (!m_events.ResetAll())
        throw ClientError(ExitStatus::WorkbenchLost,
                          L"the workbench's events cannot be made; the debugger output tells why");
    for (uint32_t slot = c_responseSuccess; slot < c_workbenchEventCount; ++slot)
    {
        UniqueHandle& response = m_responses[slot - c_responseSuccess];
        response.Reset(g_SecManager.OrvPOpenEvent(c_sessionNone, SYNCHRONIZE,
                                                  CWBEvent::EventName(static_cast<int32_t>(slot), m_clientId)));
        if (!response)
            throw ClientError(ExitStatus::WorkbenchLost,
                              SystemFailure(L"a response event cannot be opened", GetLastError()));
    }
}

double Session::Start(const std::wstring& program)
{
    CPerfTimer timer;
    timer.Start();
    m_process = WorkbenchProcess::Start(program, m_clientId, m_output.WriteEnd());
    m_output.CloseWriteEnd();
    m_isRunning = true;
    AwaitReady();
    timer.Stop();
    return MillisecondsOf(timer);
}

void Session::AwaitReady()
{
    const Deadline deadline(m_limits.readyMs);
    while (!m_isReady)
    {
        WaitForNews(deadline.RemainingMs(), {m_interrupt});
        TakeNews();
        if (m_isReady)
            return;
        if (!m_isRunning)
            throw ClientError(ExitStatus::WorkbenchLost, L"the workbench ended before it was ready");
        if (WaitForSingleObject(m_interrupt, 0) == WAIT_OBJECT_0)
            throw ClientError(ExitStatus::Interrupted, L"interrupted before the workbench was ready");
        if (deadline.IsOver())
            throw ClientError(ExitStatus::TimedOut, L"the workbench did not become ready in time");
    }
}

CommandResult Session::Execute(const Command& command)
{
    TakeNews();
    if (!m_isRunning)
        throw ClientError(ExitStatus::WorkbenchLost, L"no workbench is running");
    Pending pending;
    pending.word = command.word;
    m_pending = &pending;
    CommandResult result;
    CPerfTimer timer;
    // A response that nobody asked for must not pass for this command's.
    if (IsResponseSet())
        Deviate(L"a response came that nobody had asked for");
    for (uint32_t slot = c_responseSuccess; slot < c_workbenchEventCount; ++slot)
        m_events.Reset(slot);
    Post(command);
    timer.Start();
    m_events.Set(command.word->event);
    result.outcome = command.word->event == EV_STOP ? AwaitEnd() : AwaitFinal();
    timer.Stop();
    m_pending = nullptr;
    result.elapsedMs = MillisecondsOf(timer);
    result.deviation = pending.deviation;
    if (result.outcome == Outcome::TimedOut)
        EndRun();
    return result;
}

void Session::Post(const Command& command)
{
    ShareControl* const control = m_share.GetControl();
    const size_t length = std::min(command.text.size(), CommandTextLimit());
    std::memcpy(control->commandText, command.text.data(), length * sizeof(wchar_t));
    control->commandText[length] = L'\0';
}

Outcome Session::AwaitFinal()
{
    const Deadline deadline(m_limits.commandMs);
    for (;;)
    {
        WaitForNews(deadline.RemainingMs(), {m_interrupt});
        TakeNews();
        if (m_pending->succeeded)
            return *m_pending->succeeded ? Outcome::Succeeded : Outcome::Failed;
        if (!m_isRunning)
            return Outcome::Lost;
        if (WaitForSingleObject(m_interrupt, 0) == WAIT_OBJECT_0)
            return Outcome::Interrupted;
        if (deadline.IsOver())
            return Outcome::TimedOut;
    }
}

// Stop is not answered: the exiting message and the end of the process stand for its response.
Outcome Session::AwaitEnd()
{
    if (!WaitForEnd())
        return Outcome::TimedOut;
    if (!m_pending->exiting)
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

bool Session::Stop()
{
    TakeNews();
    if (!m_isRunning)
        return true;
    m_events.Set(EV_STOP);
    if (WaitForEnd())
        return true;
    EndRun();
    return false;
}

bool Session::WaitWhileIdle(HANDLE object)
{
    for (;;)
    {
        WaitForNews(INFINITE, {m_interrupt, object});
        TakeNews();
        if (WaitForSingleObject(object, 0) == WAIT_OBJECT_0)
            return true;
        if (!m_isRunning || WaitForSingleObject(m_interrupt, 0) == WAIT_OBJECT_0)
            return false;
    }
}

// Returns when anything has come, when one of the other objects is signalled, or after the time.
void Session::WaitForNews(uint32_t timeoutMs, std::initializer_list<HANDLE> others)
{
    std::vector<HANDLE> handles(others);
    if (m_pending != nullptr)
        for (const UniqueHandle& response : m_responses)
            handles.push_back(response.Get());
    if (m_output.Arrival() != nullptr)
        handles.push_back(m_output.Arrival());
    if (m_isRunning)
        handles.push_back(m_process.Handle());
    MsgWaitForMultipleObjectsEx(static_cast<DWORD>(handles.size()), handles.data(), timeoutMs, QS_ALLINPUT,
                                MWMO_INPUTAVAILABLE);
}

void Session::TakeNews()
{
    // Asked first: what the workbench left behind is then complete.
    const bool hasEnded = m_isRunning && m_process.HasEnded();
    TakeOutput();
    TakeResponses();
    m_window.Pump();
    if (!hasEnded)
        return;
    TakeRestOfOutput();
    m_isRunning = false;
}

void Session::TakeOutput()
{
    for (std::wstring& line : m_lines.Feed(m_output.Take()))
        m_observer.OnHappening({Happening::Kind::Output, std::move(line)});
}

void Session::TakeRestOfOutput()
{
    const Deadline deadline(c_lastOutputMs);
    TakeOutput();
    while (m_output.IsOpen() && !deadline.IsOver())
    {
        WaitForSingleObject(m_output.Arrival(), deadline.RemainingMs());
        TakeOutput();
    }
    std::wstring rest = m_lines.TakeRest();
    if (!rest.empty())
        m_observer.OnHappening({Happening::Kind::Output, std::move(rest)});
}

bool Session::IsResponseSet() const noexcept
{
    return std::any_of(std::begin(m_responses), std::end(m_responses), [](const UniqueHandle& response) {
        return WaitForSingleObject(response.Get(), 0) == WAIT_OBJECT_0;
    });
}

void Session::TakeResponses()
{
    while (m_pending != nullptr && !m_pending->succeeded && IsResponseSet())
        OnResponse(m_events.GetResponse(0));
}

void Session::OnResponse(uint32_t slot)
{
    // What was printed before the response.
    TakeOutput();
    std::wstring rest = m_lines.TakeRest();
    if (!rest.empty())
        m_observer.OnHappening({Happening::Kind::Output, std::move(rest)});
    m_observer.OnHappening({Happening::Kind::Response, ResponseName(slot)});

    const bool isAtBreakpoint = m_pending->word->passesBreakpoint && !m_pending->idle;
    if (m_pending->word->event == EV_STOP)
        Deviate(L"the workbench answered the stop command, which it never does");
    else if (slot == c_responseBreakpoint)
        Deviate(L"the workbench set the breakpoint response, which it never does");
    else if (slot == c_responseSuccess && isAtBreakpoint && !m_pending->firstResponse)
        m_pending->firstResponse = true;
    else if (slot == c_responseSuccess || slot == c_responseFailed)
        m_pending->succeeded = slot == c_responseSuccess;
    if (m_pending->succeeded && isAtBreakpoint)
        Deviate(L"the final response came without the breakpoint's");
}

void Session::OnMessage(uint32_t message)
{
    // The workbench may wait for the answer to a message: what came before it is complete now, and is taken first.
    TakeOutput();
    TakeResponses();
    m_observer.OnHappening({Happening::Kind::Message, MessageName(message)});
    if (message == WM_WORKBENCH_READY)
        m_isReady = true;
    if (m_pending == nullptr)
        return;
    if (message == WM_WORKBENCH_EXITING)
        m_pending->exiting = true;
    if (message != WM_WORKBENCH_IDLE)
        return;
    if (!m_pending->firstResponse || m_pending->idle)
        Deviate(L"the idle message came without the breakpoint's response");
    m_pending->idle = true;
}

void Session::Deviate(const wchar_t* text)
{
    if (m_pending->deviation.empty())
        m_pending->deviation = text;
}

void Session::EndRun()
{
    m_process.Kill();
    TakeNews();
}
