#include "client/Runner.h"

#include "client/console/ConsoleCodePageGuard.h"
#include "client/console/InterruptEvent.h"
#include "client/input/CommandHelp.h"
#include "client/input/LineSource.h"
#include "client/input/LoadPath.h"
#include "client/input/LookWords.h"
#include "client/log/DebugOutput.h"
#include "client/log/LogFollower.h"
#include "client/process/RunningWorkbench.h"
#include "client/process/StartTime.h"
#include "client/reports/Hints.h"
#include "client/results/CommandRecord.h"
#include "client/results/Verdict.h"
#include "client/session/Session.h"

#include <windows.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>

namespace
{
// Words that the client itself obeys; all others are commands for the workbench.
enum class LocalWord
{
    None,
    Help,
    Start,
    Again,
    Time,
    Quit,
};

LocalWord LocalWordOf(std::wstring_view line)
{
    const std::wstring word = FirstWordOf(line);
    if (word == L"help")
        return LocalWord::Help;
    if (word == L"start")
        return LocalWord::Start;
    if (word == L"again")
        return LocalWord::Again;
    if (word == L"time")
        return LocalWord::Time;
    if (word == L"quit" || word == L"exit")
        return LocalWord::Quit;
    return LocalWord::None;
}

bool IsEmptyOrComment(std::wstring_view line)
{
    const size_t start = line.find_first_not_of(L" \t");
    return start == std::wstring_view::npos || line[start] == L'#';
}

std::wstring At(const std::wstring& where, const std::wstring& message)
{
    return where.empty() ? message : where + L": " + message;
}

// What is shown is what the user wrote.
Command FromHere(const Command& command)
{
    if (command.word->event != EV_LOAD)
        return command;
    const std::wstring text = LoadTextFromHere(command.text);
    return {command.word, text.size() <= CommandTextLimit() ? text : command.text, command.asked};
}

// "the command raised an exception: System.ArgumentException: why"
std::wstring FailureText(Verdict verdict, const CommandRecord& record)
{
    std::wstring text = verdict == Verdict::Raised     ? L"the command raised an exception"
                        : verdict == Verdict::NotFound ? L"the command did not find what it names"
                                                       : L"the command failed";
    if (!record.reason.empty())
        return text + L": " + record.reason;
    return record.resultName.empty() ? text : text + L" (" + record.resultName + L")";
}

Command ParseLine(const ScriptLine& line)
{
    try
    {
        const std::optional<Command> look = ParseLook(line.text);
        return look ? *look : ParseCommand(line.text);
    }
    catch (const SessionError& error)
    {
        throw SessionError(error.Failure(), At(line.where, error.Message()));
    }
}

struct TimedCommand
{
    size_t count = 0;
    Command command = {};
};

// "time 10 get t.X"
TimedCommand ParseTimed(const ScriptLine& line)
{
    constexpr const wchar_t* blanks = L" \t";
    constexpr size_t greatestDigits = 6;
    const size_t word = line.text.find_first_not_of(blanks);
    const size_t number = line.text.find_first_not_of(blanks, line.text.find_first_of(blanks, word));
    const size_t end = std::min(line.text.find_first_of(blanks, number), line.text.size());
    const std::wstring digits = number < end ? line.text.substr(number, end - number) : std::wstring();
    const bool isNumber = !digits.empty() && digits.size() <= greatestDigits &&
                          digits.find_first_not_of(L"0123456789") == std::wstring::npos && std::stoul(digits) != 0;
    if (!isNumber || line.text.find_first_not_of(blanks, end) == std::wstring::npos)
        throw ClientError(ExitStatus::Usage, At(line.where, L"expected time N COMMAND"));
    Command command = ParseLine({line.text.substr(end), line.where});
    command.asked = line.text.substr(word);
    return {std::stoul(digits), std::move(command)};
}

// Checks all lines before anything is started, so that a script with a bad line is not begun.
std::unique_ptr<LineSource> CheckedLines(std::vector<ScriptLine> lines)
{
    for (const ScriptLine& line : lines)
        if (LocalWordOf(line.text) == LocalWord::Time)
            ParseTimed(line);
        else if (!IsEmptyOrComment(line.text) && LocalWordOf(line.text) == LocalWord::None)
            ParseLine(line);
    return ListedLines(std::move(lines));
}

std::unique_ptr<LineSource> OpenLines(const Options& options)
{
    if (!options.script.empty() && options.script != L"-")
        return CheckedLines(ReadScript(options.script));
    if (options.commands.empty())
        return StandardInputLines();
    std::vector<ScriptLine> lines;
    for (const std::wstring& command : options.commands)
        lines.push_back({command, L""});
    return CheckedLines(std::move(lines));
}

// Passes on what it is told and remembers whether anything was printed.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): nobody deletes it as what it derives from
class PrintWatch final : public SessionObserver
{
public:
    explicit PrintWatch(SessionObserver& target) : m_target(target) {}

    void OnHappening(const Happening& happening) override
    {
        m_hasPrinted = m_hasPrinted || happening.kind == Happening::Kind::Output;
        if (!m_isHidden)
            m_target.OnHappening(happening);
    }

    void Hide(bool hides) noexcept { m_isHidden = hides; }

    // Since the last call.
    bool HasPrinted() noexcept { return std::exchange(m_hasPrinted, false); }

private:
    SessionObserver& m_target;
    bool m_hasPrinted = false;
    bool m_isHidden = false;
};

class Runner
{
public:
    Runner(const Options& options, const std::optional<RunningWorkbench>& running, Report& report)
        : m_options(options), m_running(running), m_report(report), m_watch(report),
          m_session(running ? running->clientId : GetCurrentProcessId(), options.limits, m_watch,
                    m_interrupt.Handle())
    {
    }

    ExitStatus Run(LineSource& lines)
    {
        bool goesOn = Try([this] { m_running ? Attach() : Start(); });
        while (goesOn)
            goesOn = Try([&] { m_isOver = !RunNext(lines); }) && !m_isOver;
        Try([this] { Stop(); });
        EndRun();
        return m_status;
    }

private:
    // Runs a step and reports what it throws. Whether there is to be a next one.
    template <class Step>
    bool Try(const Step& step)
    {
        m_stepStatus = ExitStatus::Success;
        m_isInCommand = false;
        m_watch.Hide(false);
        try
        {
            step();
        }
        catch (const SessionError& error)
        {
            TellError(ClientError(error));
        }
        catch (const ClientError& error)
        {
            TellError(error);
        }
        if (m_status == ExitStatus::Success)
            m_status = m_stepStatus;
        if (!m_session.IsRunning())
            EndRun();
        return GoesOnAfter(m_stepStatus);
    }

    void TellError(const ClientError& error)
    {
        m_stepStatus = error.Status();
        m_report.OnError(error, HintsFor(error.Status()));
    }

    bool GoesOnAfter(ExitStatus status) const noexcept
    {
        if (status == ExitStatus::Success)
            return true;
        // Without a workbench the rest of a script is of no use; at a prompt the user can start another one.
        return status != ExitStatus::Interrupted && m_options.keepsGoing &&
               (m_options.isInteractive || m_session.IsRunning());
    }

    std::vector<std::wstring> HintsFor(ExitStatus status) const
    {
        if (!m_isInRun || (status != ExitStatus::WorkbenchLost && status != ExitStatus::TimedOut))
            return {};
        // The exit code of a workbench that this client has ended tells nothing.
        const bool endedItself = status == ExitStatus::WorkbenchLost;
        LostWorkbench lost;
        lost.program = m_running ? std::wstring() : m_options.program;
        lost.clientId = m_session.ClientId();
        lost.startTime = StartTimeOf(m_session.WorkbenchHandle());
        if (endedItself)
            lost.exitCode = m_session.WorkbenchExitCode();
        lost.wasInCommand = m_isInCommand;
        return HintsAfterLoss(lost);
    }

    void Attach()
    {
        m_session.Attach(m_running->processId);
        m_isInRun = true;
        m_report.OnStarted(m_session.WorkbenchId(), m_session.ClientId(), true);
        ListenToTrace();
        if (m_follower != nullptr)
            m_follower->Begin(m_session.WorkbenchId(), LogFollower::From::Now);
    }

    void Start()
    {
        if (m_running)
            throw ClientError(ExitStatus::Usage, L"start is for a workbench of one's own, this session is attached");
        if (m_session.IsRunning())
            throw ClientError(ExitStatus::Usage, L"the workbench is running already");
        ListenToTrace();
        m_session.Start(m_options.program);
        m_isInRun = true;
        m_report.OnStarted(m_session.WorkbenchId(), m_session.ClientId(), false);
        std::exception_ptr failure;
        try
        {
            m_report.OnReady(m_session.AwaitReady());
        }
        catch (const SessionError&)
        {
            failure = std::current_exception();
        }
        if (m_follower != nullptr)
        {
            m_follower->Begin(m_session.WorkbenchId(), LogFollower::From::Start);
            m_follower->CatchUp();
        }
        if (failure)
            std::rethrow_exception(failure);
    }

    void ListenToTrace()
    {
        const bool readsFile = m_options.followsLog && LogFollower::CanReadFile();
        if (m_options.followsLog)
            m_follower = std::make_unique<LogFollower>([this](const std::wstring& line) { m_report.OnLogLine(line); },
                                                       readsFile);
        // A listener slows every process that prints to the debugger: only where it is needed.
        if (!m_running && (m_follower == nullptr || readsFile))
            return;
        m_debugOutput = std::make_unique<DebugOutput>([this](uint32_t processId, const std::string& text) {
            if (m_running)
                m_session.OnTrace(processId, text);
            if (m_follower != nullptr)
                m_follower->OnDebugText(processId, text);
        });
        if (m_follower != nullptr && !readsFile && !m_debugOutput->IsListening())
            m_report.OnLogLine(
                L"(cannot be shown: the file cannot be read, and another program takes the debugger output)");
    }

    // False at the end of the lines.
    bool RunNext(LineSource& lines)
    {
        if (m_options.isInteractive)
            m_report.OnPrompt();
        if (lines.Ready() != nullptr && !m_session.WaitWhileIdle(lines.Ready()))
            ThrowWhyIdleEnded();
        const std::optional<ScriptLine> line = lines.Next();
        if (!line)
            return false;
        return IsEmptyOrComment(line->text) || RunLine(*line);
    }

    [[noreturn]] void ThrowWhyIdleEnded() const
    {
        if (IsInterrupted())
            throw ClientError(ExitStatus::Interrupted, L"interrupted");
        throw ClientError(ExitStatus::WorkbenchLost, L"the workbench ended unasked");
    }

    bool IsInterrupted() const noexcept { return WaitForSingleObject(m_interrupt.Handle(), 0) == WAIT_OBJECT_0; }

    // again stands for the last command.
    ScriptLine Meant(const ScriptLine& line) const
    {
        if (LocalWordOf(line.text) != LocalWord::Again)
            return line;
        if (m_last.text.empty())
            throw ClientError(ExitStatus::Usage, At(line.where, L"there is no command to repeat yet"));
        return {m_last.text, line.where};
    }

    bool RunLine(const ScriptLine& written)
    {
        const ScriptLine line = Meant(written);
        switch (LocalWordOf(line.text))
        {
        case LocalWord::Help:
            m_report.OnHelp(CommandHelp());
            return true;
        case LocalWord::Start:
            Start();
            return true;
        case LocalWord::Time:
            RunTimes(line);
            return true;
        case LocalWord::Quit:
            return false;
        case LocalWord::Again:
        case LocalWord::None:
            break;
        }
        return RunCommand(line);
    }

    // The runs are not shown, but for one that does not succeed, which is the last.
    void RunTimes(const ScriptLine& line)
    {
        const TimedCommand timed = ParseTimed(line);
        RequireRunning(line);
        m_last = line;
        m_report.OnCommand(timed.command, line.where);
        std::vector<double> durations;
        while (durations.size() < timed.count)
        {
            m_isInCommand = true;
            m_watch.Hide(true);
            const CommandResult result = m_session.Execute(FromHere(timed.command));
            m_watch.Hide(false);
            if (VerdictOf(result.outcome, ReadRecord(result), m_options.protocolView) != Verdict::Succeeded ||
                !result.deviation.empty())
                return Conclude(line, result);
            durations.push_back(result.elapsedMs);
        }
        m_report.OnTimes(Durations(std::move(durations)));
    }

    void RequireRunning(const ScriptLine& line) const
    {
        if (!m_session.IsRunning())
            throw ClientError(ExitStatus::WorkbenchLost, At(line.where, L"no workbench is running"));
    }

    // True: there may be more.
    bool RunCommand(const ScriptLine& line)
    {
        const Command command = ParseLine(line);
        // A look is none.
        if (command.asked.empty())
            m_last = line;
        RequireRunning(line);
        m_report.OnCommand(command, line.where);
        m_watch.HasPrinted();
        m_isInCommand = true;
        Conclude(line, m_session.Execute(FromHere(command)));
        return true;
    }

    void Conclude(const ScriptLine& line, const CommandResult& result)
    {
        if (m_follower != nullptr)
            m_follower->CatchUp();
        const bool isSilentFailure = result.outcome == Outcome::Failed && !m_running && !m_watch.HasPrinted();
        const CommandRecord record = ReadRecord(result);
        const Verdict verdict = VerdictOf(result.outcome, record, m_options.protocolView);
        m_report.OnResult(result, record, verdict, isSilentFailure ? HintForSilentFailure() : std::wstring());
        switch (result.outcome)
        {
        case Outcome::Succeeded:
        case Outcome::Failed:
            break;
        case Outcome::TimedOut:
            throw ClientError(ExitStatus::TimedOut,
                              At(line.where, m_running ? L"no final response in time; the workbench is left as it is"
                                                       : L"no final response in time; the workbench was ended"));
        case Outcome::Lost:
            throw ClientError(ExitStatus::WorkbenchLost,
                              At(line.where, L"the workbench ended before its final response"));
        case Outcome::Interrupted:
            throw ClientError(ExitStatus::Interrupted, At(line.where, L"interrupted"));
        }
        if (!result.deviation.empty())
            throw ClientError(ExitStatus::Deviation, At(line.where, L"the workbench departed from its protocol"));
        EndStep(line, record, verdict);
    }

    // At a prompt, and for a command of the command line, what is shown already tells it, and JSON names the place.
    void EndStep(const ScriptLine& line, const CommandRecord& record, Verdict verdict)
    {
        const ExitStatus status = StatusOf(verdict);
        const bool isInScript = !line.where.empty() && !m_options.isInteractive && !m_options.printsJson;
        if (status != ExitStatus::Success && (isInScript || m_options.printsValues))
            throw ClientError(status, At(line.where, FailureText(verdict, record)));
        m_stepStatus = status;
    }

    void Stop()
    {
        const CommandResult result = m_session.Stop();
        if (result.outcome == Outcome::TimedOut)
            throw ClientError(ExitStatus::TimedOut, L"the workbench did not stop in time and was ended");
        // After an interrupt, late responses to the command are no fault of the workbench.
        if (!result.deviation.empty() && !IsInterrupted())
            throw ClientError(ExitStatus::Deviation, result.deviation);
    }

    // The workbench has ended, or is left.
    void EndRun()
    {
        m_debugOutput.reset();
        m_follower.reset();
        if (std::exchange(m_isInRun, false))
            m_report.OnEnd(m_session.WorkbenchExitCode());
    }

    const Options& m_options;
    const std::optional<RunningWorkbench> m_running;
    Report& m_report;
    PrintWatch m_watch;
    InterruptEvent m_interrupt;
    Session m_session;
    std::unique_ptr<LogFollower> m_follower;
    // Calls the session and the follower from its thread, so it is destroyed before them.
    std::unique_ptr<DebugOutput> m_debugOutput;
    // What again repeats.
    ScriptLine m_last;
    bool m_isInRun = false;
    // Also while it is told why a command was the last one.
    bool m_isInCommand = false;
    bool m_isOver = false;
    ExitStatus m_stepStatus = ExitStatus::Success;
    ExitStatus m_status = ExitStatus::Success;
};
} // namespace

ExitStatus Run(const Options& options, Report& report)
{
    const std::unique_ptr<LineSource> lines = OpenLines(options);
    std::optional<RunningWorkbench> running;
    if (options.attachTo)
        running = FindWorkbench(*options.attachTo, options.clientId);
    const ConsoleCodePageGuard codePage;
    return Runner(options, running, report).Run(*lines);
}
