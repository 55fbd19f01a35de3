#pragma once

#include "client/picture/Picture.h"
#include "client/picture/PictureFile.h"
#include "client/reports/Report.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// Keeps what happens in a session, shows nothing, and writes it as a page: at the end of each workbench, and when
// Write is called. Any thread.
class PictureRecorder final : public Report
{
public:
    PictureRecorder(PictureFile file, bool protocolView);
    // A process that is ended at once writes its page before, as long as this object lives.
    ~PictureRecorder() override;
    PictureRecorder(const PictureRecorder&) = delete;
    PictureRecorder& operator=(const PictureRecorder&) = delete;

    // Whether a workbench was started or taken, or at least tried.
    bool HasBegun() const;
    // Writes the page unless it stands there as it would be written. Throws ClientError (usage).
    void Write();
    const std::wstring& Path() const noexcept { return m_file.Path(); }

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
    void WriteNow();
    double Touch(double tickMs);
    Step& StepNow(double tickMs);
    void CloseStep();
    void CloseLife();
    void JoinLog();

    const PictureFile m_file;
    const bool m_protocolView;
    mutable std::mutex m_lock;
    Picture m_picture;
    std::optional<Step> m_step;
    bool m_isInCommand = false;
    // A message whose sender waits for the answer.
    bool m_isAwaitingAnswer = false;
    std::optional<WorkbenchLife> m_life;
    // As a file time.
    uint64_t m_lifeBegan = 0;
    // What the log tells of an earlier time is in the picture already, or not of this session.
    double m_freeFromMs = 0;
    // Lines that were followed while the log file could not be read.
    Ends<std::wstring> m_followed;
    bool m_hasChanged = false;
    bool m_hasBegun = false;
};
