#pragma once

#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/processes/InProcessClient.h"
#include "tests/support/processes/WorkbenchRun.h"

#include <gmock/gmock.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

// The workbench as a program: its process, and its client in this one. The whole log is compared, line by line,
// without the times.
class OrvWorkBench64 : public testing::Test
{
protected:
    using Lines = contract::Lines;
    using Record = std::vector<std::string>;

    // In an expected line, stands for any text of the system: for last errors that some earlier call has left.
    static constexpr const wchar_t* c_anyText = L"<any text>";

    // Makes the client's share and window, then starts the workbench and waits until it is ready.
    void StartServing(WorkbenchRuntime runtime);
    // Makes the program's folder only.
    void Prepare(WorkbenchRuntime runtime) { m_process.emplace(runtime); }
    // Starts it as a client does: with "workbench" and the client's id.
    void Start(const InProcessClient& client) { m_process->Start(L"workbench " + client.HexId()); }
    void Start() { Start(m_client); }
    // Stops it and waits for its end.
    void Stop();
    WorkbenchRun& Process() { return *m_process; }

    // The transcript of a start for a client, or for this test's own: events, runtime, arguments, share and window.
    Lines StartLines(const InProcessClient& client) const;
    Lines StartLines() const { return StartLines(m_client); }
    // Its parts.
    static Lines EventLines(const std::wstring& hexId);
    static Lines LoadedLines();
    Lines ArgumentLines(const InProcessClient& client) const;
    Lines ArgumentLines() const { return ArgumentLines(m_client); }
    static Lines OpenedShareLines(const std::wstring& shareName, const std::wstring& hexId);
    static Lines MutexLines(const std::wstring& shareName);
    static std::wstring WindowLine(uint64_t window);

    static Lines WaitLines(const std::wstring& eventName);
    static Lines BreakpointLines(uint64_t window);
    Lines BreakpointLines() const { return BreakpointLines(m_client.Window()); }
    // A command with its wait; outcome is the line's end, as "succeeded, result = ActionSuccess".
    static Lines CommandLines(unsigned slot, const std::wstring& text, const std::wstring& outcome, uint64_t window);
    Lines CommandLines(unsigned slot, const std::wstring& text, const std::wstring& outcome) const
    {
        return CommandLines(slot, text, outcome, m_client.Window());
    }
    // An invoke whose idle message no longer finds the client's window.
    static Lines InvokeWithoutWindow(const InProcessClient& client, const std::wstring& text,
                                     const std::wstring& outcome);
    static Lines StopLines();
    static Lines ExitLines();
    // A system error's text as it stands in the log.
    static Lines SystemText(unsigned error);

    // Whether the log is this transcript; the message shows where it begins to differ.
    static testing::AssertionResult LogIs(const Lines& expected);
    // What the scripted runtime has recorded of a normal start and end around these calls.
    static Record RecordOf(std::initializer_list<Record> calls);
    // One call, and that of the breakpoint step.
    static Record Call(const std::string& method, const std::string& argument);
    static Record CallWithBreakpoint(const std::string& method, const std::string& argument);

    InProcessClient m_client;

private:
    std::optional<WorkbenchRun> m_process;
};

// For failures.
void PrintTo(const WindowMessage& message, std::ostream* stream);
