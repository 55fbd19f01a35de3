#pragma once

#include "client/evidence/EvidenceFolder.h"
#include "client/evidence/EvidenceReport.h"
#include "client/process/WorkbenchProcess.h"
#include "client/session/WitnessFile.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// What is left of a run of a workbench whose last call was lost: gathers it while the run goes on, looks at the
// process as long as it is there, and leaves it all in a folder (docs/debugging.md). One per run, on one thread.
class Evidence
{
public:
    // Of what was printed the last is kept, in UTF-16 units.
    static constexpr size_t c_keptOutput = 1 << 20;

    // place: where the folder is to be, with a separator at its end. program: empty when somebody else started it,
    // and then witness is the file of the client that did.
    Evidence(std::wstring place, std::wstring program, uint32_t clientId, WitnessFile witness = WitnessFile());

    // What the workbench's environment says, for its dispatcher to leave what it knows.
    EnvironmentEntry Variable() const;

    void OnCommand(std::wstring command, std::wstring where);
    void OnCommandEnd() noexcept { m_command.clear(); }
    void OnOutput(const std::wstring& line);

    // The process is there, and may not be for long: asks for the managed stacks, for at most so long, and writes a
    // dump. Only the first time. process: a handle that may wait for it.
    void LookAt(HANDLE process, uint32_t processId, uint32_t stacksLimitMs);

    // What the user was told; the exit code when the process has ended by itself; and when it started (a file time).
    struct End
    {
        std::wstring message;
        uint32_t processId = 0;
        std::optional<uint32_t> exitCode;
        uint64_t startTime = 0;
        // What the process has printed to the debugger, where nothing else has its log.
        std::wstring debugOutput;
    };
    // Leaves what there is; returns the folder, or, when it could not be made, why. Once.
    struct Left
    {
        std::wstring folder;
        std::wstring failure;
    };
    Left Leave(const End& end);

private:
    EvidenceFolder& Folder(uint32_t processId);
    void WriteDump(HANDLE process, uint32_t processId);
    void LeaveLog(LostCall& lost, const End& end);
    void LeaveOutput(LostCall& lost);
    double CommandSeconds() const noexcept;

    const std::wstring m_place;
    const std::wstring m_program;
    const uint32_t m_clientId;
    WitnessFile m_witness;
    std::unique_ptr<EvidenceFolder> m_folder;
    std::wstring m_command;
    std::wstring m_where;
    uint64_t m_commandStart = 0;
    std::optional<double> m_lookedAfter;
    std::wstring m_noDump = L"the process was gone before it could be looked at";
    // The output in two halves, of which the older one goes as a whole.
    std::wstring m_olderOutput;
    std::wstring m_output;
};
