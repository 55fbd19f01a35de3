#include "client/WorkbenchRun.h"

#include "client/console/TextStream.h"
#include "client/evidence/Hints.h"
#include "client/input/LocalWords.h"
#include "client/input/LookWords.h"
#include "client/process/StartTime.h"
#include "client/results/CommandRecord.h"

#include <windows.h>

#include <exception>
#include <functional>
#include <utility>

namespace
{
// A question goes to the dispatcher in quotes, with some characters doubled.
constexpr size_t c_longestQuestion = 15000;

// For the dispatcher to tell what each thread does; and when the process is to end at once.
constexpr uint32_t c_stacksMs = 3000;
constexpr uint32_t c_lastStacksMs = 500;

bool IsSet(HANDLE event) noexcept
{
    return WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}
} // namespace

WorkbenchRun::WorkbenchRun(const Options& options, const std::optional<RunningWorkbench>& running, Report& report,
                           const PrintWatch::Beside& beside)
    : m_options(options), m_running(running), m_report(report), m_beside(beside),
      m_watch(report, beside, {[this](const Happening& happening) { Note(happening); }, [this] { LookAtTheLost(); }}),
      m_interrupt(options.isAtConsole),
      m_session(running ? running->clientId : GetCurrentProcessId(), options.limits, m_watch, m_interrupt.Handle()),
      m_log(LogSetup(beside))
{
}

WorkbenchLog::Setup WorkbenchRun::LogSetup(const PrintWatch::Beside& beside)
{
    WorkbenchLog::Setup setup;
    if (m_options.followsLog)
        setup.onLine = [this, beside](const std::wstring& line) { beside([&] { m_report.OnLogLine(line); }); };
    if (m_running)
        setup.onDebugText = [this](uint32_t id, std::string_view text) { m_session.OnTrace(id, text); };
    setup.keepsLastLine = ShowsProgress();
    setup.keepsText = !m_options.evidencePlace.empty();
    return setup;
}

void WorkbenchRun::Begin()
{
    m_running ? Attach() : Start();
}

void WorkbenchRun::Attach()
{
    m_session.Attach(m_running->processId);
    PrepareEvidence();
    m_isInRun = true;
    m_report.OnStarted(m_session.WorkbenchId(), m_session.ClientId(), true);
    ListenToLog();
    FollowLog(LogFollower::From::Now);
    if (m_options.debuggerPort)
        TellOfRunningAgent();
}

// Its client has chosen whether it has an agent, and which port.
void WorkbenchRun::TellOfRunningAgent()
{
    const std::optional<uint16_t> port =
        DebuggerAgent::IsRead() ? DebuggerAgent::PortOf(m_session.WorkbenchId()) : std::nullopt;
    if (DebuggerAgent::IsRead() && !port)
        throw ClientError(ExitStatus::Usage,
                          L"--debug: the workbench has no debugger's agent; whoever starts it gives --debug too");
    m_report.OnDebuggerMayAttach(m_session.WorkbenchId(), port, false);
}

void WorkbenchRun::Start()
{
    if (m_session.IsRunning())
        throw ClientError(ExitStatus::Usage, L"the workbench is running already");
    ListenToLog();
    const std::optional<DebuggerAgent> agent = Agent();
    PrepareEvidence();
    m_session.Start(m_options.program, Variables(agent));
    m_isInRun = true;
    m_report.OnStarted(m_session.WorkbenchId(), m_session.ClientId(), false);
    AwaitReady();
    if (agent)
        LetDebuggerIn(*agent);
}

// The log of one that did not get ready is shown too.
void WorkbenchRun::AwaitReady()
{
    std::exception_ptr failure;
    try
    {
        const std::unique_ptr<CommandWatch> watched = Watched(L"starting");
        m_report.OnReady(m_session.AwaitReady());
    }
    catch (const SessionError&)
    {
        failure = std::current_exception();
    }
    FollowLog(LogFollower::From::Start);
    if (failure)
        std::rethrow_exception(failure);
}

void WorkbenchRun::Note(const Happening& happening)
{
    if (happening.kind == Happening::Kind::Output && m_evidence != nullptr)
        m_evidence->OnOutput(happening.text);
    // The breakpoint step is next; an attached client sees its response alone.
    if (happening.kind != Happening::Kind::Output)
        m_isBehindCall = true;
}

void WorkbenchRun::PrepareEvidence()
{
    m_evidence.reset();
    if (m_options.evidencePlace.empty())
        return;
    const uint32_t clientId = m_session.ClientId();
    m_evidence = IsOwn() ? std::make_unique<Evidence>(m_options.evidencePlace, m_options.program, clientId)
                         : std::make_unique<Evidence>(m_options.evidencePlace, L"", clientId,
                                                      WitnessFile::OfOther(clientId).value_or(WitnessFile()));
}

std::vector<EnvironmentEntry> WorkbenchRun::Variables(const std::optional<DebuggerAgent>& agent) const
{
    std::vector<EnvironmentEntry> variables;
    if (agent)
        variables.push_back(agent->Variable());
    if (m_evidence != nullptr)
        variables.push_back(m_evidence->Variable());
    return variables;
}

std::optional<DebuggerAgent> WorkbenchRun::Agent() const
{
    return m_options.debuggerPort ? std::optional<DebuggerAgent>(*m_options.debuggerPort) : std::nullopt;
}

void WorkbenchRun::LetDebuggerIn(const DebuggerAgent& agent)
{
    const std::optional<uint16_t> port =
        DebuggerAgent::IsRead() ? std::optional<uint16_t>(agent.Port()) : std::nullopt;
    m_report.OnDebuggerMayAttach(m_session.WorkbenchId(), port, m_options.awaitsDebugger);
    if (m_options.awaitsDebugger)
        Ask(L"AwaitDebugger", L"");
}

void WorkbenchRun::ListenToLog()
{
    if (!m_log.Listen() && m_options.followsLog)
        m_report.OnLogLine(
            L"(cannot be shown: the file cannot be read, and another program takes the debugger output)");
}

void WorkbenchRun::FollowLog(LogFollower::From from)
{
    if (!m_log.Begin(m_session.WorkbenchId(), m_session.ClientId(), from) && m_options.followsLog)
        m_report.OnLogLine(L"(the workbench writes no trace log that can be read)");
}

void WorkbenchRun::Stop()
{
    const std::unique_ptr<CommandWatch> watched = Watched(L"stopping");
    const CommandResult result = m_session.Stop();
    if (result.outcome == Outcome::TimedOut)
        throw ClientError(ExitStatus::TimedOut, L"the workbench did not stop in time and was ended");
    // After an interrupt, late responses to the command are no fault of the workbench.
    if (!result.deviation.empty() && !IsInterrupted())
        throw ClientError(ExitStatus::Deviation, result.deviation);
}

void WorkbenchRun::End()
{
    m_log.End();
    if (std::exchange(m_isInRun, false))
        m_report.OnEnd(m_session.WorkbenchExitCode());
}

void WorkbenchRun::BeginStep() noexcept
{
    m_isInCommand = false;
    m_watch.Set(PrintWatch::Mode::Show);
}

CommandResult WorkbenchRun::Execute(const Command& command, const std::wstring& where)
{
    const std::unique_ptr<CommandWatch> watched = Watched(L"running");
    return Carry(command, where);
}

CommandResult WorkbenchRun::Carry(const Command& command, const std::wstring& where)
{
    m_watch.HasPrinted();
    m_isInCommand = true;
    m_isBehindCall = false;
    if (m_evidence != nullptr)
        m_evidence->OnCommand(command.ShownWord() + L" " + command.ShownText(), where);
    CommandResult result = m_session.Execute(command);
    const bool isOver = result.outcome == Outcome::Succeeded || result.outcome == Outcome::Failed;
    if (m_evidence != nullptr && isOver)
        m_evidence->OnCommandEnd();
    return result;
}

CommandResult WorkbenchRun::ExecuteHidden(const Command& command)
{
    m_watch.Set(PrintWatch::Mode::Hide);
    CommandResult result = Carry(command, L"");
    m_watch.Set(PrintWatch::Mode::Show);
    return result;
}

std::vector<ListEntry> WorkbenchRun::Ask(const wchar_t* question, const std::wstring& text)
{
    if (!IsRunning() || !CanAsk() || text.size() > c_longestQuestion)
        return {};
    m_watch.TakeLines();
    m_watch.Set(PrintWatch::Mode::Keep);
    const CommandResult result = Execute(LookCommand(question, text, question));
    m_watch.Set(PrintWatch::Mode::Show);
    RequireMore(result, L"");
    m_isInCommand = false;
    return EntriesOf(ReadRecord(result));
}

void WorkbenchRun::RequireMore(const CommandResult& result, const std::wstring& where)
{
    switch (result.outcome)
    {
    case Outcome::Succeeded:
    case Outcome::Failed:
        break;
    case Outcome::TimedOut:
        throw ClientError(ExitStatus::TimedOut,
                          At(where, IsOwn() ? L"no final response in time; the workbench was ended"
                                            : L"no final response in time; the workbench is left as it is"));
    case Outcome::Lost:
        throw ClientError(ExitStatus::WorkbenchLost, At(where, L"the workbench ended before its final response"));
    case Outcome::Interrupted:
        EndInterrupted(where);
    }
    if (!result.deviation.empty())
        throw ClientError(ExitStatus::Deviation, At(where, L"the workbench departed from its protocol"));
}

void WorkbenchRun::EndInterrupted(const std::wstring& where)
{
    if (!SurvivesInterrupt())
        throw ClientError(ExitStatus::Interrupted, At(where, L"interrupted"));
    ResetEvent(m_interrupt.Handle());
    m_session.GiveUp();
    throw ClientError(ExitStatus::Interrupted,
                      IsOwn() ? L"interrupted; the workbench was ended in the call, start begins a new one"
                              : L"interrupted; the call goes on in the workbench, which is left as it is");
}

// When everything has to end at once there is no time for a dispatcher that may not answer.
void WorkbenchRun::LookAtTheLost()
{
    if (m_evidence != nullptr)
        m_evidence->LookAt(m_session.WorkbenchHandle(), m_session.WorkbenchId(),
                           InterruptEvent::IsFinal() ? c_lastStacksMs : c_stacksMs);
}

void WorkbenchRun::LeaveEvidence(const ClientError& error)
{
    const ExitStatus status = error.Status();
    const bool isLoss = status == ExitStatus::WorkbenchLost || status == ExitStatus::TimedOut ||
                        (status == ExitStatus::Interrupted && m_isInCommand);
    if (!m_isInRun || !isLoss || m_evidence == nullptr)
        return;
    const std::unique_ptr<Evidence> evidence = std::move(m_evidence);
    Evidence::End end;
    end.message = error.Message();
    end.processId = m_session.WorkbenchId();
    if (status == ExitStatus::WorkbenchLost)
        end.exitCode = m_session.WorkbenchExitCode();
    end.startTime = StartTimeOf(m_session.WorkbenchHandle());
    // All of it, where nothing more can come.
    if (!m_session.IsRunning())
        m_log.End();
    end.debugOutput = m_log.Text();
    const Evidence::Left left = evidence->Leave(end);
    m_beside([&] { m_report.OnEvidence(left.folder, left.failure); });
}

bool WorkbenchRun::IsInterrupted() const noexcept
{
    return IsSet(m_interrupt.Handle());
}

bool WorkbenchRun::SurvivesInterrupt() const noexcept
{
    return m_options.isAtConsole && !InterruptEvent::IsFinal();
}

bool WorkbenchRun::ShowsProgress() const noexcept
{
    return !m_options.printsJson && !m_options.printsValues && TextStream::Out().IsConsole();
}

std::unique_ptr<CommandWatch> WorkbenchRun::Watched(const wchar_t* activity)
{
    if (!ShowsProgress())
        return nullptr;
    CommandWatch::Setup setup;
    setup.activity = activity;
    setup.lastLogLine = [this] { return m_log.LastLine(); };
    if (m_evidence != nullptr)
        setup.held = [this, check = std::make_shared<HoldCheck>(m_evidence->Variable().second)] {
            if (!check->Ask())
                return L"";
            return m_isBehindCall ? L"in OrvBreakPoint, behind the call," : L"in the call";
        };
    if (m_options.isAtConsole)
    {
        setup.pressed = m_interrupt.Pressed();
        setup.end = m_interrupt.Handle();
    }
    return std::make_unique<CommandWatch>(setup);
}

std::vector<std::wstring> WorkbenchRun::HintsFor(ExitStatus status) const
{
    if (!m_isInRun || (status != ExitStatus::WorkbenchLost && status != ExitStatus::TimedOut))
        return {};
    // The exit code of a workbench that this client has ended tells nothing.
    const bool endedItself = status == ExitStatus::WorkbenchLost;
    LostWorkbench lost;
    lost.program = IsOwn() ? m_options.program : std::wstring();
    lost.clientId = m_session.ClientId();
    lost.startTime = StartTimeOf(m_session.WorkbenchHandle());
    if (endedItself)
        lost.exitCode = m_session.WorkbenchExitCode();
    lost.wasInCommand = m_isInCommand;
    return HintsAfterLoss(lost);
}
