#include "client/Runner.h"

#include "client/Console.h"
#include "client/Session.h"

#include <windows.h>

#include <memory>
#include <string_view>

namespace
{
bool IsEmptyOrComment(std::wstring_view line)
{
    const size_t start = line.find_first_not_of(L" \t");
    return start == std::wstring_view::npos || line[start] == L'#';
}

std::unique_ptr<LineSource> OpenLines(const Options& options)
{
    if (!options.commands.empty())
        return ListedLines(options.commands);
    if (options.script.empty() || options.script == L"-")
        return StandardInputLines();
    return FileLines(options.script);
}

ExitStatus StatusOf(const CommandResult& result)
{
    switch (result.outcome)
    {
    case Outcome::Succeeded:
        return result.deviation.empty() ? ExitStatus::Success : ExitStatus::Deviation;
    case Outcome::Failed:
        return result.deviation.empty() ? ExitStatus::CommandFailed : ExitStatus::Deviation;
    case Outcome::TimedOut:
        return ExitStatus::TimedOut;
    case Outcome::Lost:
        return ExitStatus::WorkbenchLost;
    case Outcome::Interrupted:
        return ExitStatus::Interrupted;
    }
    return ExitStatus::Deviation;
}

class Runner
{
public:
    Runner(const Options& options, Report& report)
        : m_options(options), m_report(report), m_session(options.limits, report, m_interrupt.Handle())
    {
    }

    ExitStatus Run(LineSource& lines)
    {
        try
        {
            const double elapsedMs = m_session.Start(m_options.program);
            m_report.OnReady(m_session.WorkbenchId(), m_session.ClientId(), elapsedMs);
            while (GoesOn() && RunNext(lines))
            {
            }
        }
        catch (const ClientError& error)
        {
            Note(error);
        }
        End();
        return m_status;
    }

private:
    bool GoesOn() const noexcept { return m_status == ExitStatus::Success || m_options.keepGoing; }

    bool RunNext(LineSource& lines)
    {
        if (lines.Ready() != nullptr && !m_session.WaitWhileIdle(lines.Ready()) && m_session.IsRunning())
            throw ClientError(ExitStatus::Interrupted, L"interrupted");
        const std::optional<std::wstring> line = lines.Next();
        if (!line)
            return false;
        if (!IsEmptyOrComment(*line))
            RunLine(*line);
        return true;
    }

    void RunLine(const std::wstring& line)
    {
        const Command command = ParseCommand(line);
        m_report.OnCommand(command);
        const CommandResult result = m_session.Execute(command);
        m_report.OnResult(result);
        Note(StatusOf(result));
    }

    void End()
    {
        const bool wasRunning = m_session.IsRunning();
        if (wasRunning && !m_session.Stop())
            Note(ExitStatus::TimedOut);
        if (m_session.WorkbenchId() != 0)
            m_report.OnEnd(m_session.WorkbenchExitCode());
    }

    void Note(ExitStatus status) noexcept
    {
        if (m_status == ExitStatus::Success)
            m_status = status;
    }

    void Note(const ClientError& error)
    {
        m_report.OnError(error);
        Note(error.Status());
    }

    const Options& m_options;
    Report& m_report;
    InterruptEvent m_interrupt;
    Session m_session;
    ExitStatus m_status = ExitStatus::Success;
};
} // namespace

ExitStatus Run(const Options& options, Report& report)
{
    const std::unique_ptr<LineSource> lines = OpenLines(options);
    return Runner(options, report).Run(*lines);
}
