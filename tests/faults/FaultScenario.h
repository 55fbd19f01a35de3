#pragma once

#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/SystemFaults.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>
#include <vector>

// What the product does when any one call of any system function fails, told by a table.
//
// A scenario is a piece of the product's work that a test can run again and again. Its transcript is what it traces,
// and what its steps answer (Note). With a call failing, the transcript changes, and a row of the table says how.

using FaultLines = std::vector<std::wstring>;

// The calls first to last of a function, the first of the scenario being 1, and what changes in the transcript when
// one of them fails: "-" and a line that is missing then, "+" and a line that is new, in the transcript's order. No
// line means that nothing changes.
struct FaultRow
{
    std::string function;
    unsigned first;
    unsigned last;
    FaultLines changes;
};
using FaultTable = std::vector<FaultRow>;

// For rows: lines that are missing, lines that are new, and lists one behind the other.
FaultLines Without(std::initializer_list<FaultLines> parts);
FaultLines With(std::initializer_list<FaultLines> parts);
FaultLines operator+(FaultLines first, const FaultLines& second);

// As the last of a row: to the last call that there is.
constexpr unsigned c_lastCall = 0xFFFFFFFF;

// What a scenario does while one of these lives is the test's own: neither its calls nor its memory count.
struct TestsOwn
{
    SystemFaults::Paused paused;
    AllocationProbe::Unwatched unwatched;
};

// Adds a line "= what value" to the transcript.
void Note(const wchar_t* what, int64_t value);
void Note(const wchar_t* what, const wchar_t* value);

// Adds a line "= held name" when a thread holds the mutex of that kernel name, if there is one, and keeps it.
void NoteIfHeld(const std::wstring& kernelName);

class FaultScenario
{
public:
    // From here on, functions that are looked up at run time can be made to fail; make the manager anew if need be.
    // body runs the scenario once and releases everything that it takes; what it raises is a line "= raised what".
    // In the transcript each first text is replaced by its second one, in their order. The capture is emptied by each
    // run.
    FaultScenario(TraceCapture& trace, std::function<void()> body,
                  std::vector<std::pair<std::wstring, std::wstring>> texts = {});

    // Runs the scenario once for each call of each function that it reaches, with that call failing. Expects that
    // the transcript changes as the table says, that each call has one row and each row a call, and that no run
    // leaves a handle, a view, a block or a damaged heap, or gives anything back twice.
    void ExpectForEachCall(const FaultTable& table);

    // Runs the scenario with its first request for memory failing, then with its second, and so on. Expects that the
    // transcript changes in one of the given ways each time, that each way is seen, and that nothing is lost. Of a
    // run that an exception ends, what did not come to pass is shown as one line, "= raised what after: last line".
    void ExpectForEachRequest(const std::vector<FaultLines>& ways);
    // The same with all requests from the n-th on failing.
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
    void CheckNothingIsLost(const std::string& what);

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
// The functions with a row of their own kind, see SystemFaultOnceTest.cpp.
std::set<std::string> FunctionsAskedOnce();
