#include "client/Runner.h"

#include "client/console/ConsoleCodePageGuard.h"
#include "client/console/InterruptEvent.h"
#include "client/console/TextStream.h"
#include "client/input/CommandHelp.h"
#include "client/input/LineSource.h"
#include "client/input/LoadPath.h"
#include "client/input/LocalWords.h"
#include "client/input/LookWords.h"
#include "client/log/WorkbenchLog.h"
#include "client/process/DebuggerAgent.h"
#include "client/process/RunningWorkbench.h"
#include "client/process/StartTime.h"
#include "client/prompt/CommandWatch.h"
#include "client/prompt/Completion.h"
#include "client/prompt/ConsolePrompt.h"
#include "client/prompt/History.h"
#include "client/reports/Hints.h"
#include "client/results/CommandRecord.h"
#include "client/results/ListEntries.h"
#include "client/results/Verdict.h"
#include "client/session/Session.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

namespace
{
// A question goes to the dispatcher in quotes, with some characters doubled.
constexpr size_t c_longestQuestion = 15000;

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

// Checks all lines before anything is started, so that a script with a bad line is not begun.
std::unique_ptr<LineSource> CheckedLines(std::vector<ScriptLine> lines)
{
    for (const ScriptLine& line : lines)
        CheckLine(line);
    return ListedLines(std::move(lines));
}

// Null at a console, where a prompt needs the session.
std::unique_ptr<LineSource> OpenLines(const Options& options)
{
    if (options.isAtConsole)
        return nullptr;
    if (!options.script.empty() && options.script != L"-")
        return CheckedLines(ReadScript(options.script));
    if (options.commands.empty())
        return StandardInputLines(options.isInteractive && !options.printsJson && !options.printsValues);
    std::vector<ScriptLine> lines;
    for (const std::wstring& command : options.commands)
        lines.push_back({command, L""});
    return CheckedLines(std::move(lines));
}

// Passes on what it is told, beside a line that is being typed, and knows whether anything was printed; or keeps it.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): nobody deletes it as what it derives from
class PrintWatch final : public SessionObserver
{
public:
    using Beside = std::function<void(const std::function<void()>&)>;

    PrintWatch(SessionObserver& target, Beside beside) : m_target(target), m_beside(std::move(beside)) {}

    void OnHappening(const Happening& happening) override
    {
        const bool isOutput = happening.kind == Happening::Kind::Output;
        m_hasPrinted = m_hasPrinted || isOutput;
        if (m_mode == Mode::Show)
            m_beside([&] { m_target.OnHappening(happening); });
        else if (m_mode == Mode::Keep && isOutput)
            m_lines.push_back(happening.text);
    }

    enum class Mode
    {
        Show,
        Hide,
        Keep,
    };
    void Set(Mode mode) noexcept { m_mode = mode; }

    // Since the last call.
    bool HasPrinted() noexcept { return std::exchange(m_hasPrinted, false); }
    // What was kept since the last call.
    std::vector<std::wstring> TakeLines() noexcept { return std::exchange(m_lines, {}); }

private:
    SessionObserver& m_target;
    const Beside m_beside;
    std::vector<std::wstring> m_lines;
    Mode m_mode = Mode::Show;
    bool m_hasPrinted = false;
};

bool Contains(std::wstring_view text, std::wstring_view part) noexcept
{
    const auto isSame = [](wchar_t one, wchar_t other) { return std::towlower(one) == std::towlower(other); };
    return std::search(text.begin(), text.end(), part.begin(), part.end(), isSame) != text.end();
}

// With the separator.
std::wstring FolderOf(const std::wstring& path)
{
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

size_t NumberOf(const std::wstring& text) noexcept
{
    return static_cast<size_t>(std::wcstoul(text.c_str(), nullptr, 10));
}

class Runner
{
public:
    Runner(const Options& options, const std::optional<RunningWorkbench>& running, Report& report)
        : m_options(options), m_running(running), m_report(report),
          m_watch(report, [this](const std::function<void()>& write) { Beside(write); }),
          m_interrupt(options.isAtConsole), m_session(running ? running->clientId : GetCurrentProcessId(),
                                                      options.limits, m_watch, m_interrupt.Handle()),
          m_log({options.followsLog ? LogFollower::Receiver([this](const std::wstring& line) {
                     Beside([&] { m_report.OnLogLine(line); });
                 })
                                    : LogFollower::Receiver(),
                 running ? [this](uint32_t id, std::string_view text) { m_session.OnTrace(id, text); }
                         : std::function<void(uint32_t, std::string_view)>(),
                 ShowsProgress()}),
          m_history(options.isAtConsole ? HistoryPath() : std::wstring()),
          m_completer(running ? std::wstring() : FolderOf(options.program),
                      [this](const std::wstring& line) { return Propose(line); })
    {
    }

    // Without lines it asks for them at a prompt.
    ExitStatus Run(std::unique_ptr<LineSource> lines)
    {
        m_lines =
            lines != nullptr ? std::move(lines) : std::make_unique<ConsolePrompt>(m_completer, m_history.Lines());
        bool goesOn = Try([this] { m_running ? Attach() : Start(); });
        while (goesOn)
            goesOn = Try([&] { m_isOver = !RunNext(); }) && !m_isOver;
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
        m_watch.Set(PrintWatch::Mode::Show);
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
        const std::vector<std::wstring> hints = HintsFor(error.Status());
        Beside([&] { m_report.OnError(error, hints); });
    }

    void Beside(const std::function<void()>& write)
    {
        if (m_lines != nullptr)
            m_lines->WriteBeside(write);
        else
            write();
    }

    bool GoesOnAfter(ExitStatus status) const noexcept
    {
        if (status == ExitStatus::Success)
            return true;
        if (status == ExitStatus::Interrupted && !CanGoOnAfterInterrupt())
            return false;
        // Without a workbench the rest of a script is of no use; at a prompt the user can start another one.
        return m_options.keepsGoing && (m_options.isInteractive || m_session.IsRunning());
    }

    bool CanGoOnAfterInterrupt() const noexcept { return m_options.isAtConsole && !InterruptEvent::IsFinal(); }

    bool ShowsProgress() const noexcept
    {
        return !m_options.printsJson && !m_options.printsValues && TextStream::Out().IsConsole();
    }

    // While it lives the user sees that something is under way, and can end it.
    std::unique_ptr<CommandWatch> Watched(const wchar_t* activity)
    {
        if (!ShowsProgress())
            return nullptr;
        CommandWatch::Setup setup{activity, [this] { return m_log.LastLine(); }, nullptr, nullptr};
        if (m_options.isAtConsole)
        {
            setup.pressed = m_interrupt.Pressed();
            setup.end = m_interrupt.Handle();
        }
        return std::make_unique<CommandWatch>(setup);
    }

    CommandResult Carry(const Command& command)
    {
        const std::unique_ptr<CommandWatch> watched = Watched(L"running");
        return m_session.Execute(command);
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
        ListenToLog();
        FollowLog(LogFollower::From::Now);
    }

    void Start()
    {
        if (m_running)
            throw ClientError(ExitStatus::Usage, L"start is for a workbench of one's own, this session is attached");
        if (m_session.IsRunning())
            throw ClientError(ExitStatus::Usage, L"the workbench is running already");
        ListenToLog();
        const std::optional<DebuggerAgent> agent = Agent();
        m_session.Start(m_options.program,
                        agent ? std::vector<EnvironmentEntry>{agent->Variable()} : std::vector<EnvironmentEntry>());
        m_isInRun = true;
        m_report.OnStarted(m_session.WorkbenchId(), m_session.ClientId(), false);
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
        if (agent)
            LetDebuggerIn(*agent);
    }

    std::optional<DebuggerAgent> Agent() const
    {
        return m_options.debuggerPort ? std::optional<DebuggerAgent>(*m_options.debuggerPort) : std::nullopt;
    }

    void LetDebuggerIn(const DebuggerAgent& agent)
    {
        const std::optional<uint16_t> port =
            DebuggerAgent::IsRead() ? std::optional<uint16_t>(agent.Port()) : std::nullopt;
        m_report.OnDebuggerMayAttach(m_session.WorkbenchId(), port, m_options.awaitsDebugger);
        if (m_options.awaitsDebugger)
            AskQuietly(L"AwaitDebugger", L"");
    }

    void ListenToLog()
    {
        if (!m_log.Listen() && m_options.followsLog)
            m_report.OnLogLine(
                L"(cannot be shown: the file cannot be read, and another program takes the debugger output)");
    }

    void FollowLog(LogFollower::From from)
    {
        if (!m_log.Begin(m_session.WorkbenchId(), m_session.ClientId(), from) && m_options.followsLog)
            m_report.OnLogLine(L"(the workbench writes no trace log that can be read)");
    }

    // False at the end of the lines.
    bool RunNext()
    {
        m_lines->Begin();
        if (m_lines->Ready() != nullptr && !m_session.WaitWhileIdle({m_lines->Ready(), m_interrupt.Pressed()}))
            ThrowWhyIdleEnded();
        if (IsSet(m_interrupt.Pressed()))
        {
            ResetEvent(m_interrupt.Pressed());
            m_lines->Drop();
            return true;
        }
        ScriptLine line;
        const LineState state = m_lines->Next(line);
        if (state != LineState::Taken)
            return state == LineState::Pending;
        return IsEmptyOrComment(line.text) || RunLine(line);
    }

    [[noreturn]] void ThrowWhyIdleEnded() const
    {
        if (IsInterrupted())
            throw ClientError(ExitStatus::Interrupted, L"interrupted");
        throw ClientError(ExitStatus::WorkbenchLost, L"the workbench ended unasked");
    }

    static bool IsSet(HANDLE event) noexcept { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }
    bool IsInterrupted() const noexcept { return IsSet(m_interrupt.Handle()); }

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
            Help(line);
            return true;
        case LocalWord::Start:
            Start();
            return true;
        case LocalWord::Time:
            RunTimes(line);
            return true;
        case LocalWord::History:
            ShowHistory(TextOf(line.text));
            return true;
        case LocalWord::Show:
            Show(line);
            return true;
        case LocalWord::Hide:
            Hide(line);
            return true;
        case LocalWord::Quit:
            return false;
        case LocalWord::Again:
        case LocalWord::None:
            break;
        }
        return RunCommand(line);
    }

    void Help(const ScriptLine& line)
    {
        const std::wstring word = TextOf(line.text);
        if (word.empty())
            return m_report.OnHelp(CommandHelp());
        std::wstring help = WordHelp(word);
        if (help.empty())
            throw ClientError(ExitStatus::Usage,
                              At(line.where, L"there is no word \"" + word + L"\"; help lists them"));
        for (const ListEntry& example : AskQuietly(L"Example", word))
            help += ExampleLine(TextOf(example, "text"));
        m_report.OnHelp(help);
    }

    void ShowHistory(const std::wstring& part)
    {
        std::vector<std::wstring> commands;
        for (const std::wstring& command : m_history.Lines())
            if (Contains(command, part))
                commands.push_back(command);
        m_report.OnHistory(commands);
    }

    void Show(const ScriptLine& line)
    {
        if (m_running)
            throw ClientError(
                ExitStatus::Usage,
                At(line.where, L"values are shown by a workbench of one's own, this session is attached"));
        const std::wstring value = TextOf(line.text);
        if (!value.empty() && std::find(m_shown.begin(), m_shown.end(), value) == m_shown.end())
            m_shown.push_back(value);
        m_completer.SetShown(m_shown);
        ShowValues();
    }

    void Hide(const ScriptLine& line)
    {
        const std::wstring value = TextOf(line.text);
        const auto found = std::find(m_shown.begin(), m_shown.end(), value);
        if (!value.empty() && found == m_shown.end())
            throw ClientError(ExitStatus::Usage, At(line.where, L"\"" + value + L"\" is not shown"));
        m_shown.erase(value.empty() ? m_shown.begin() : found, value.empty() ? m_shown.end() : std::next(found));
        m_completer.SetShown(m_shown);
    }

    void ShowValues()
    {
        if (m_shown.empty() || !m_session.IsRunning())
            return;
        std::vector<std::wstring> lines;
        std::vector<ListEntry> values;
        for (const std::wstring& expression : m_shown)
        {
            for (ListEntry& value : AskQuietly(L"Value", expression))
                values.push_back(std::move(value));
            for (std::wstring& line : m_watch.TakeLines())
                lines.push_back(std::move(line));
        }
        m_report.OnShown(lines, values);
    }

    // Asks the dispatcher, unseen. Nothing where it cannot tell: no workbench runs, or it is someone else's.
    std::vector<ListEntry> AskQuietly(const wchar_t* question, const std::wstring& text)
    {
        if (!m_session.IsRunning() || m_running || text.size() > c_longestQuestion)
            return {};
        m_watch.TakeLines();
        m_watch.Set(PrintWatch::Mode::Keep);
        m_isInCommand = true;
        const CommandResult result = Carry(LookCommand(question, text, question));
        m_watch.Set(PrintWatch::Mode::Show);
        ThrowAtEnd({}, result);
        m_isInCommand = false;
        return EntriesOf(ReadRecord(result));
    }

    std::vector<Proposal> Propose(const std::wstring& line)
    {
        std::vector<Proposal> proposals;
        for (const ListEntry& entry : AskQuietly(L"Complete", line))
            proposals.push_back({NumberOf(TextOf(entry, "at")), TextOf(entry, "text"), TextOf(entry, "shown")});
        return proposals;
    }

    // The runs are not shown, but for one that does not succeed, which is the last.
    void RunTimes(const ScriptLine& line)
    {
        const TimedCommand timed = ParseTimed(line);
        RequireRunning(line);
        m_last = line;
        m_history.Add(line.text);
        m_report.OnCommand(timed.command, line.where);
        std::unique_ptr<CommandWatch> watched = Watched(L"running");
        std::vector<double> durations;
        while (durations.size() < timed.count)
        {
            m_isInCommand = true;
            m_watch.HasPrinted();
            m_watch.Set(PrintWatch::Mode::Hide);
            const CommandResult result = m_session.Execute(FromHere(timed.command));
            m_watch.Set(PrintWatch::Mode::Show);
            if (VerdictOf(result.outcome, ReadRecord(result), m_options.protocolView) != Verdict::Succeeded ||
                !result.deviation.empty())
            {
                watched.reset();
                return Conclude(line, result, false);
            }
            durations.push_back(result.elapsedMs);
        }
        watched.reset();
        m_report.OnTimes(Durations(std::move(durations)));
        ShowValues();
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
        const bool isLook = !command.asked.empty();
        if (!isLook)
        {
            m_last = line;
            m_history.Add(line.text);
        }
        RequireRunning(line);
        m_report.OnCommand(command, line.where);
        m_watch.HasPrinted();
        m_isInCommand = true;
        Conclude(line, Carry(FromHere(command)), isLook);
        return true;
    }

    void Conclude(const ScriptLine& line, const CommandResult& result, bool isLook)
    {
        m_log.CatchUp();
        const bool isSilentFailure = result.outcome == Outcome::Failed && !m_running && !m_watch.HasPrinted();
        const CommandRecord record = ReadRecord(result);
        const Verdict verdict = VerdictOf(result.outcome, record, m_options.protocolView);
        m_report.OnResult(result, record, verdict, isSilentFailure ? HintForSilentFailure() : std::wstring());
        ThrowAtEnd(line, result);
        // Also after a command that failed, at which a script may stop.
        if (!isLook)
            ShowValues();
        EndStep(line, record, verdict);
    }

    // Throws when the command was the session's last one.
    void ThrowAtEnd(const ScriptLine& line, const CommandResult& result)
    {
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
            EndInterrupted(line);
        }
        if (!result.deviation.empty())
            throw ClientError(ExitStatus::Deviation, At(line.where, L"the workbench departed from its protocol"));
    }

    [[noreturn]] void EndInterrupted(const ScriptLine& line)
    {
        if (!CanGoOnAfterInterrupt())
            throw ClientError(ExitStatus::Interrupted, At(line.where, L"interrupted"));
        ResetEvent(m_interrupt.Handle());
        m_session.GiveUp();
        throw ClientError(ExitStatus::Interrupted,
                          m_running ? L"interrupted; the call goes on in the workbench, which is left as it is"
                                    : L"interrupted; the workbench was ended in the call, start begins a new one");
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
        const std::unique_ptr<CommandWatch> watched = Watched(L"stopping");
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
        m_log.End();
        if (std::exchange(m_isInRun, false))
            m_report.OnEnd(m_session.WorkbenchExitCode());
    }

    const Options& m_options;
    const std::optional<RunningWorkbench> m_running;
    Report& m_report;
    PrintWatch m_watch;
    InterruptEvent m_interrupt;
    Session m_session;
    // Calls the session and the lines from its threads, so it is destroyed before the session; and ended before the
    // lines go.
    WorkbenchLog m_log;
    History m_history;
    Completer m_completer;
    std::unique_ptr<LineSource> m_lines;
    // Values that are shown after each command.
    std::vector<std::wstring> m_shown;
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
    std::unique_ptr<LineSource> lines = OpenLines(options);
    std::optional<RunningWorkbench> running;
    if (options.attachTo)
        running = FindWorkbench(*options.attachTo, options.clientId);
    const ConsoleCodePageGuard codePage;
    return Runner(options, running, report).Run(std::move(lines));
}
