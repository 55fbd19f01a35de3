#pragma once

#include "client/reports/Report.h"

// Tells two reports all that it is told, the first one first. Both must outlive it.
class ReportPair final : public Report
{
public:
    ReportPair(Report& first, Report& second) noexcept : m_first(first), m_second(second) {}

    void OnHappening(const Happening& happening) override;
    void OnAnswered(double tickMs) override;
    void OnStarted(uint32_t workbenchId, uint32_t clientId, bool isAttached) override;
    void OnReady(double elapsedMs) override;
    void OnDebuggerMayAttach(uint32_t workbenchId, std::optional<uint16_t> port, bool waits) override;
    void OnCommand(const Command& command, const std::wstring& where) override;
    void OnResult(const CommandResult& result, const CommandRecord& record, Verdict verdict,
                  const std::wstring& hint) override;
    void OnTimes(const Durations& durations) override;
    void OnEnd(std::optional<uint32_t> workbenchExitCode) override;
    void OnError(const ClientError& error, const std::vector<std::wstring>& hints) override;
    void OnEvidence(const std::wstring& folder, const std::wstring& failure) override;
    void OnLogLine(const std::wstring& line) override;
    void OnHistory(const std::vector<std::wstring>& commands) override;
    void OnShown(const std::vector<std::wstring>& lines, const std::vector<ListEntry>& values) override;
    void OnHelp(const std::wstring& text) override;
    void OnPicture(const std::wstring& path) override;

private:
    template <class Event, class... Arguments>
    void Tell(Event event, const Arguments&... arguments)
    {
        (m_first.*event)(arguments...);
        (m_second.*event)(arguments...);
    }

    Report& m_first;
    Report& m_second;
};
