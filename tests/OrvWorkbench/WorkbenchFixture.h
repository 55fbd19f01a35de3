#pragma once

#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/processes/InProcessClient.h"
#include "tests/support/processes/WorkbenchProcess.h"

#include <gmock/gmock.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

// A client in this process and the real workbench in another. What the workbench logs is compared line by line with
// the whole transcript, times aside.
class OrvWorkBench64 : public testing::Test
{
protected:
    using Lines = contract::Lines;
    using Record = std::vector<std::string>;

    // A line that ends with this stands for the same line with any text of the system's in its place: for last errors
    // that an earlier call has left.
    static constexpr const wchar_t* c_anyText = L"<any text>";

    // Makes the client's share and window, then starts the workbench and waits until it is ready.
    void StartServing(WorkbenchRuntime runtime);
    // Makes the program's folder only.
    void Prepare(WorkbenchRuntime runtime) { m_process.emplace(runtime); }
    // Starts it as a client does: with "workbench" and the client's id.
    void Start() { m_process->Start(L"workbench " + m_client.HexId()); }
    // Stops it and waits for its end.
    void Stop();
    WorkbenchProcess& Process() { return *m_process; }

    // The transcript of a start by the client of this test: events, runtime, arguments, share and window.
    Lines StartLines() const;
    // Its parts.
    static Lines EventLines(const std::wstring& hexId);
    static Lines LoadedLines();
    Lines ArgumentLines() const;
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
    std::optional<WorkbenchProcess> m_process;
};

// For failures.
void PrintTo(const WindowMessage& message, std::ostream* stream);
