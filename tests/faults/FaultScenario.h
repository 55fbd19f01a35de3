#pragma once

#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/SystemFaults.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Tables that say what the product does when a system call fails.
//
// A scenario is a piece of the product's work that a test can run again and again. Its transcript is what the product
// traces and what the steps answer (Note). It is run once for each system call in it, with that call failing; a row
// of the table says how the transcript then differs from that of a run in which nothing fails.

using FaultLines = contract::Lines;

// What changes in the transcript when one of the calls first to last of a function fails; the scenario's first call
// of it is number 1. A change is "-" and a line that is missing, or "+" and a line that is new, in the transcript's
// order. No change at all is an empty list.
struct FaultRow
{
    std::string function;
    unsigned first;
    unsigned last;
    FaultLines changes;
};
using FaultTable = std::vector<FaultRow>;

// For rows: lines that are missing, lines that are new, and one list behind another.
FaultLines Without(std::initializer_list<FaultLines> parts);
FaultLines With(std::initializer_list<FaultLines> parts);
FaultLines operator+(FaultLines first, const FaultLines& second);

// As the last call of a row: all that there are.
constexpr unsigned c_lastCall = 0xFFFFFFFF;

// While one of these lives, a scenario's calls and allocations are the test's own: they do not count and do not fail.
struct TestsOwn
{
    SystemFaults::Paused paused;
    AllocationProbe::Unwatched unwatched;
};

// Adds a line "= what value" to the transcript.
void Note(const wchar_t* what, int64_t value);
void Note(const wchar_t* what, const wchar_t* value);

// Adds a line "= held name" when a thread holds the mutex of that kernel name and does not let go of it.
void NoteIfHeld(const std::wstring& kernelName);
// The same for the mutexes of a share of that name.
void NoteHeldShareMutexes(const std::wstring& shareName);

class FaultScenario
{
public:
    // body runs the scenario once and releases everything that it takes. An exception that leaves it becomes the line
    // "= raised" and its text. texts are pairs: in the transcript each first text is replaced by the second, in the
    // pairs' order. Each run empties the capture.
    // A function that the product looks up with GetProcAddress can fail only if it is looked up after this: the
    // security manager does so when it is made, so make it anew where that matters.
    FaultScenario(TraceCapture& trace, std::function<void()> body,
                  std::vector<std::pair<std::wstring, std::wstring>> texts = {});

    // Runs the scenario once for each call of each function that it reaches, with that call failing. Expects that
    // the transcript changes as the table says, that each call has one row and each row a call, and that no run
    // leaves a handle, a view, a block or a damaged heap behind, or releases anything twice.
    void ExpectForEachCall(const FaultTable& table);

    // Runs the scenario with its first memory allocation failing, then with its second, and so on. Expects that each
    // run changes the transcript in one of the given ways, that each way occurs, and that nothing is lost. When an
    // exception ends a run early, the lines that are missing for that reason are left out: one line stands for them,
    // "= raised", the exception's text, "after:" and the last line before it.
    void ExpectForEachRequest(const std::vector<FaultLines>& ways);
    // The same with all allocations from the n-th on failing.
    void ExpectFromEachRequest(const std::vector<FaultLines>& ways);

private:
    size_t RunOnce(const std::function<void()>& start);
    void RunBody();
    FaultLines Lines() const;
    bool WarmUp();
    std::vector<std::pair<std::string, unsigned>> CountCalls();
    void ExpectRow(const FaultTable& table, const std::string& function, unsigned n, const std::string& what) const;
    void ExpectForMemory(const std::vector<FaultLines>& ways, bool once);
    void CheckPairs(const std::string& what) const;
    void CheckNothingIsLost(const std::string& what) const;

    TraceCapture& m_trace;
    SystemFaults m_faults;
    std::function<void()> m_body;
    std::vector<std::pair<std::wstring, std::wstring>> m_texts;
    FaultLines m_usual;
    unsigned m_handles = 0;
    unsigned m_views = 0;
};

// The tables of all scenarios.
FaultTable OldSystemStartFaults();
FaultTable NamespaceStartFaults();
FaultTable WorkbenchFaults();
FaultTable SessionFaults();
FaultTable ThreadTableFaults();
FaultTable PrivateDataFaults();
FaultTable ProxyEventFaults();
FaultTable ProcessQueryFaults();
FaultTable FileFaults();
FaultTable TextFaults();
// The functions that have their rows in SystemFaultOnceTest.cpp, in a table of another kind.
std::set<std::string> FunctionsAskedOnce();
