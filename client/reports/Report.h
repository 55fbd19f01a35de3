#pragma once

#include "client/console/ClientError.h"
#include "client/results/CommandRecord.h"
#include "client/results/Durations.h"
#include "client/results/ListEntries.h"
#include "client/results/Verdict.h"
#include "client/session/Session.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Shows what happens to the user or to another program. Called by one thread, except OnLogLine.
class Report : public SessionObserver
{
public:
    virtual ~Report() = default;

    virtual void OnStarted(uint32_t workbenchId, uint32_t clientId, bool isAttached) = 0;
    virtual void OnReady(double elapsedMs) = 0;
    // A debugger can attach to the workbench: by that port of this machine, or, without one, as to any process.
    // waits: the first command is not given before.
    virtual void OnDebuggerMayAttach(uint32_t workbenchId, std::optional<uint16_t> port, bool waits) = 0;
    // where: the place in a script, as "demo.txt:3"; empty without one.
    virtual void OnCommand(const Command& command, const std::wstring& where) = 0;
    virtual void OnResult(const CommandResult& result, const CommandRecord& record, Verdict verdict,
                          const std::wstring& hint) = 0;
    // Instead of OnResult, after a command was carried out several times: how long each took, in any order.
    virtual void OnTimes(const Durations& durations) = 0;
    // The workbench has ended with this exit code, or, without one, is left running.
    virtual void OnEnd(std::optional<uint32_t> workbenchExitCode) = 0;
    // hints are further lines that say what to look at.
    virtual void OnError(const ClientError& error, const std::vector<std::wstring>& hints) = 0;
    // What is left of the call that was lost, for whoever looks into it: the folder; or why it could not be kept.
    virtual void OnEvidence(const std::wstring& folder, const std::wstring& failure) = 0;
    // A line of the trace log, without its end. Any thread.
    virtual void OnLogLine(const std::wstring& line) = 0;
    // The commands of this session and of earlier ones.
    virtual void OnHistory(const std::vector<std::wstring>& commands) = 0;
    // The values that the user wants to see after each command: what the dispatcher printed of them, one line each,
    // and told of them.
    virtual void OnShown(const std::vector<std::wstring>& lines, const std::vector<ListEntry>& values) = 0;
    virtual void OnHelp(const std::wstring& text) = 0;
    // A page that shows the session has been written to that file.
    virtual void OnPicture(const std::wstring& path) = 0;
};

// For people: indented lines on the standard output, errors on the standard error stream. Without an echo the
// commands themselves are not shown: the user has just typed them.
std::unique_ptr<Report> MakeTextReport(bool echoesCommands);
// For programs: one JSON object per line on the standard output (docs/client.md describes them). With streaming what
// happens during a command is also told as it comes.
std::unique_ptr<Report> MakeJsonReport(bool streams);
// For a quick look: nothing but what get and invoke give, each value on a line of its own, unless it becomes an
// instance. Errors go to the standard error stream; what the workbench prints is not shown.
std::unique_ptr<Report> MakeValueReport();
