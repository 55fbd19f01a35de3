#include "client/Runner.h"

#include "client/base/Folders.h"
#include "client/console/ConsoleCodePageGuard.h"
#include "client/evidence/Hints.h"
#include "client/input/CommandHelp.h"
#include "client/input/LineSource.h"
#include "client/input/LoadPath.h"
#include "client/input/LocalWords.h"
#include "client/process/RunningWorkbench.h"
#include "client/prompt/Completion.h"
#include "client/prompt/ConsolePrompt.h"
#include "client/prompt/History.h"
#include "client/results/CommandRecord.h"
#include "client/results/ListEntries.h"
#include "client/results/Verdict.h"
#include "client/WorkbenchRun.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <functional>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

namespace
{
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

bool Contains(std::wstring_view text, std::wstring_view part) noexcept
{
    const auto isSame = [](wchar_t one, wchar_t other) { return std::towlower(one) == std::towlower(other); };
    return std::search(text.begin(), text.end(), part.begin(), part.end(), isSame) != text.end();
}

size_t NumberOf(const std::wstring& text) noexcept
{
    return static_cast<size_t>(std::wcstoul(text.c_str(), nullptr, 10));
}

class Runner
{
public:
    Runner(const Options& options, const std::optional<RunningWorkbench>& running, Report& report)
        : m_options(options), m_report(report),
          m_run(options, running, report, [this](const std::function<void()>& write) { Beside(write); }),
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
        bool goesOn = Try([this] { m_run.Begin(); });
        while (goesOn)
            goesOn = Try([&] { m_isOver = !RunNext(); }) && !m_isOver;
        Try([this] { m_run.Stop(); });
        m_run.End();
        return m_status;
    }

private:
    // Runs a step and reports what it throws. Whether there is to be a next one.
    template <class Step>
    bool Try(const Step& step)
    {
        m_stepStatus = ExitStatus::Success;
        m_run.BeginStep();
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
        if (!m_run.IsRunning())
            m_run.End();
        return GoesOnAfter(m_stepStatus);
    }

    void TellError(const ClientError& error)
    {
        m_stepStatus = error.Status();
        const std::vector<std::wstring> hints = m_run.HintsFor(error.Status());
        Beside([&] { m_report.OnError(error, hints); });
        m_run.LeaveEvidence(error);
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
        if (status == ExitStatus::Interrupted && !m_run.SurvivesInterrupt())
            return false;
        // Without a workbench the rest of a script is of no use; at a prompt the user can start another one.
        return m_options.keepsGoing && (m_options.isInteractive || m_run.IsRunning());
    }

    // False at the end of the lines.
    bool RunNext()
    {
        m_lines->Begin();
        if (m_lines->Ready() != nullptr && !m_run.WaitWhileIdle({m_lines->Ready(), m_run.Pressed()}))
            ThrowWhyIdleEnded();
        if (WaitForSingleObject(m_run.Pressed(), 0) == WAIT_OBJECT_0)
        {
            ResetEvent(m_run.Pressed());
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
        if (m_run.IsInterrupted())
            throw ClientError(ExitStatus::Interrupted, L"interrupted");
        throw ClientError(ExitStatus::WorkbenchLost, L"the workbench ended unasked");
    }

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

    void Start()
    {
        if (!m_run.IsOwn())
            throw ClientError(ExitStatus::Usage, L"start is for a workbench of one's own, this session is attached");
        m_run.Begin();
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
        for (const ListEntry& example : m_run.Ask(L"Example", word))
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
        if (!m_run.CanAsk())
            throw ClientError(ExitStatus::Usage,
                              At(line.where, L"values are shown by a workbench that such a client has started"));
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
        if (m_shown.empty() || !m_run.IsRunning())
            return;
        std::vector<std::wstring> lines;
        std::vector<ListEntry> values;
        for (const std::wstring& expression : m_shown)
        {
            for (ListEntry& value : m_run.Ask(L"Value", expression))
                values.push_back(std::move(value));
            for (std::wstring& line : m_run.TakeAnswerLines())
                lines.push_back(std::move(line));
        }
        m_report.OnShown(lines, values);
    }

    std::vector<Proposal> Propose(const std::wstring& line)
    {
        std::vector<Proposal> proposals;
        // Its lines would be printed for the client that started the workbench.
        if (!m_run.IsOwn())
            return proposals;
        for (const ListEntry& entry : m_run.Ask(L"Complete", line))
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
        std::unique_ptr<CommandWatch> watched = m_run.Watched(L"running");
        std::vector<double> durations;
        while (durations.size() < timed.count)
        {
            const CommandResult result = m_run.ExecuteHidden(FromHere(timed.command));
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
        if (!m_run.IsRunning())
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
        Conclude(line, m_run.Execute(FromHere(command), line.where), isLook);
        return true;
    }

    void Conclude(const ScriptLine& line, const CommandResult& result, bool isLook)
    {
        m_run.CatchUpWithLog();
        const bool isSilentFailure = result.outcome == Outcome::Failed && m_run.IsOwn() && !m_run.HasPrinted();
        const CommandRecord record = ReadRecord(result);
        const Verdict verdict = VerdictOf(result.outcome, record, m_options.protocolView);
        m_report.OnResult(result, record, verdict, isSilentFailure ? HintForSilentFailure() : std::wstring());
        m_run.RequireMore(result, line.where);
        // Also after a command that failed, at which a script may stop.
        if (!isLook)
            ShowValues();
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

    const Options& m_options;
    Report& m_report;
    // Calls the lines from its threads until it has ended, and has before the lines go.
    WorkbenchRun m_run;
    History m_history;
    Completer m_completer;
    std::unique_ptr<LineSource> m_lines;
    // Values that are shown after each command.
    std::vector<std::wstring> m_shown;
    // What again repeats.
    ScriptLine m_last;
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
