#include "client/picture/ReportPair.h"

void ReportPair::OnHappening(const Happening& happening)
{
    Tell(&Report::OnHappening, happening);
}

void ReportPair::OnAnswered(double tickMs)
{
    Tell(&Report::OnAnswered, tickMs);
}

void ReportPair::OnStarted(uint32_t workbenchId, uint32_t clientId, bool isAttached)
{
    Tell(&Report::OnStarted, workbenchId, clientId, isAttached);
}

void ReportPair::OnReady(double elapsedMs)
{
    Tell(&Report::OnReady, elapsedMs);
}

void ReportPair::OnDebuggerMayAttach(uint32_t workbenchId, std::optional<uint16_t> port, bool waits)
{
    Tell(&Report::OnDebuggerMayAttach, workbenchId, port, waits);
}

void ReportPair::OnCommand(const Command& command, const std::wstring& where)
{
    Tell(&Report::OnCommand, command, where);
}

void ReportPair::OnResult(const CommandResult& result, const CommandRecord& record, Verdict verdict,
                          const std::wstring& hint)
{
    Tell(&Report::OnResult, result, record, verdict, hint);
}

void ReportPair::OnTimes(const Durations& durations)
{
    Tell(&Report::OnTimes, durations);
}

void ReportPair::OnEnd(std::optional<uint32_t> workbenchExitCode)
{
    Tell(&Report::OnEnd, workbenchExitCode);
}

void ReportPair::OnError(const ClientError& error, const std::vector<std::wstring>& hints)
{
    Tell(&Report::OnError, error, hints);
}

void ReportPair::OnEvidence(const std::wstring& folder, const std::wstring& failure)
{
    Tell(&Report::OnEvidence, folder, failure);
}

void ReportPair::OnLogLine(const std::wstring& line)
{
    Tell(&Report::OnLogLine, line);
}

void ReportPair::OnHistory(const std::vector<std::wstring>& commands)
{
    Tell(&Report::OnHistory, commands);
}

void ReportPair::OnShown(const std::vector<std::wstring>& lines, const std::vector<ListEntry>& values)
{
    Tell(&Report::OnShown, lines, values);
}

void ReportPair::OnHelp(const std::wstring& text)
{
    Tell(&Report::OnHelp, text);
}

void ReportPair::OnPicture(const std::wstring& path)
{
    Tell(&Report::OnPicture, path);
}
