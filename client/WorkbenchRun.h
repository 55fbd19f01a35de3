#pragma once

#include "client/console/ClientError.h"
#include "client/console/ExitStatus.h"
#include "client/console/InterruptEvent.h"
#include "client/evidence/Evidence.h"
#include "client/input/CommandLine.h"
#include "client/log/WorkbenchLog.h"
#include "client/PrintWatch.h"
#include "client/process/DebuggerAgent.h"
#include "client/process/RunningWorkbench.h"
#include "client/prompt/CommandWatch.h"
#include "client/reports/Report.h"
#include "client/results/ListEntries.h"
#include "client/session/Session.h"

#include <atomic>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The workbench that commands go to, from its start to its end and, when the user starts another, to the next one's:
// with its log, the debugger that may come in, and what the user sees while something is under way. Belongs to one
// thread. Its functions throw SessionError and ClientError.
class WorkbenchRun
{
public:
    // running: somebody else's workbench, to attach to instead of starting one. What is told goes to the report,
    // through beside. Options and report must outlive it.
    WorkbenchRun(const Options& options, const std::optional<RunningWorkbench>& running, Report& report,
                 const PrintWatch::Beside& beside);

    // Starts a workbench, or attaches to the one that was given, and tells the report of it.
    void Begin();
    // Asks the workbench to stop and waits for it; leaves one that is not its own.
    void Stop();
    // Tells the report that the workbench has ended, or is left; once.
    void End();

    // Carries out a command in front of the user, and returns when it is over, however it ended.
    CommandResult Execute(const Command& command, const std::wstring& where = {});
    // Carries out a command; nothing of it is shown.
    CommandResult ExecuteHidden(const Command& command);
    // Asks the dispatcher, unseen. Nothing where it cannot tell: no workbench runs, or CanAsk is false.
    std::vector<ListEntry> Ask(const wchar_t* question, const std::wstring& text);
    // What was printed for the last question.
    std::vector<std::wstring> TakeAnswerLines() noexcept { return m_watch.TakeLines(); }
    // Throws when that command was the last one that this workbench takes, or departed from the protocol. where: its
    // place in a script.
    void RequireMore(const CommandResult& result, const std::wstring& where);
    // Whether the workbench printed anything during the last Execute.
    bool HasPrinted() noexcept { return m_watch.HasPrinted(); }
    // Shows what the log says up to now.
    void CatchUpWithLog() { m_log.CatchUp(); }

    // As long as what it returns lives, the user sees that something is under way, and can end it.
    std::unique_ptr<CommandWatch> Watched(const wchar_t* activity);
    // What can be told of a workbench that was lost, now that a step has ended so.
    std::vector<std::wstring> HintsFor(ExitStatus status) const;
    // After a step that ended so: leaves the evidence of a lost call, and tells the report of it.
    void LeaveEvidence(const ClientError& error);
    // A new step begins: what comes is shown, and no command is under way.
    void BeginStep() noexcept;

    // Waits for one of the objects; false when the workbench ended or the user wants an end.
    bool WaitWhileIdle(std::initializer_list<HANDLE> objects) { return m_session.WaitWhileIdle(objects); }
    bool IsRunning() const noexcept { return m_session.IsRunning(); }
    // Started here, or to be.
    bool IsOwn() const noexcept { return !m_running; }
    // The dispatcher's answers come here: the workbench was started by such a client.
    bool CanAsk() const noexcept { return IsOwn() || m_session.IsTold(); }
    // The user wants an end.
    bool IsInterrupted() const noexcept;
    // Ctrl-C was pressed at a prompt; reset by whoever answers to it.
    HANDLE Pressed() const noexcept { return m_interrupt.Pressed(); }
    // After an interrupt the user may go on.
    bool SurvivesInterrupt() const noexcept;

private:
    void Attach();
    void Start();
    void AwaitReady();
    std::optional<DebuggerAgent> Agent() const;
    void TellOfRunningAgent();
    void LetDebuggerIn(const DebuggerAgent& agent);
    void ListenToLog();
    void FollowLog(LogFollower::From from);
    CommandResult Carry(const Command& command, const std::wstring& where);
    void Note(const Happening& happening);
    void LookAtTheLost();
    void PrepareEvidence();
    std::vector<EnvironmentEntry> Variables(const std::optional<DebuggerAgent>& agent) const;
    WorkbenchLog::Setup LogSetup(const PrintWatch::Beside& beside);
    bool ShowsProgress() const noexcept;
    [[noreturn]] void EndInterrupted(const std::wstring& where);

    const Options& m_options;
    const std::optional<RunningWorkbench> m_running;
    Report& m_report;
    const PrintWatch::Beside m_beside;
    PrintWatch m_watch;
    InterruptEvent m_interrupt;
    Session m_session;
    // Calls the session from its threads, so it is destroyed before it.
    WorkbenchLog m_log;
    // Of this run; null where none is to be left, or it was.
    std::unique_ptr<Evidence> m_evidence;
    // The call has returned, and its breakpoint step is under way. Any thread.
    std::atomic<bool> m_isBehindCall{false};
    bool m_isInRun = false;
    // Also while it is told why a command was the last one.
    bool m_isInCommand = false;
};
