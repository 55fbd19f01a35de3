#include "tests/faults/FaultScenario.h"

#include "tests/support/contract/Contract.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/worlds/NamedObjects.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <exception>
#include <gtest/gtest.h>
#include <iostream>

namespace
{
// How long another process may hold a mutex that it shares with the scenario.
constexpr DWORD c_longestHoldMs = 5000;
const std::wstring c_raised = L"= raised ";
const std::wstring c_held = L"= held ";

// Functions that take something, and the function that releases it.
constexpr struct
{
    const char* takes[2];
    const char* givesBack;
} c_pairs[] = {
    {{"LoadLibraryW", ""}, "FreeLibrary"},
    {{"MapViewOfFile", ""}, "UnmapViewOfFile"},
    {{"OpenSCManagerW", ""}, "CloseServiceHandle"},
    {{"_wfindfirst64", ""}, "_findclose"},
    {{"OpenPrivateNamespaceW", "CreatePrivateNamespaceW"}, "ClosePrivateNamespace"},
};

FaultLines Signed(wchar_t sign, std::initializer_list<FaultLines> parts)
{
    FaultLines lines;
    for (const FaultLines& part : parts)
    {
        for (const std::wstring& line : part)
            lines.push_back(sign + line);
    }
    return lines;
}

// The changes that make one list into the other, around a longest common subsequence.
FaultLines Changes(const FaultLines& before, const FaultLines& after)
{
    const size_t width = after.size() + 1;
    std::vector<size_t> common((before.size() + 1) * width);
    for (size_t i = before.size(); i-- > 0;)
    {
        for (size_t j = after.size(); j-- > 0;)
            common[i * width + j] = before[i] == after[j]
                                        ? common[(i + 1) * width + j + 1] + 1
                                        : std::max(common[(i + 1) * width + j], common[i * width + j + 1]);
    }
    FaultLines changes;
    size_t i = 0;
    size_t j = 0;
    while (i < before.size() || j < after.size())
    {
        if (i < before.size() && j < after.size() && before[i] == after[j])
        {
            ++i;
            ++j;
        }
        else if (j == after.size() || (i < before.size() && common[(i + 1) * width + j] >= common[i * width + j + 1]))
            changes.push_back(L"-" + before[i++]);
        else
            changes.push_back(L"+" + after[j++]);
    }
    return changes;
}

// When an exception has ended a run, its line and the line before it stand for all lines that are missing for that
// reason.
FaultLines ChangesWithoutMemory(const FaultLines& usual, const FaultLines& lines)
{
    if (lines.empty() || lines.back().rfind(c_raised, 0) != 0)
        return Changes(usual, lines);
    const FaultLines before(lines.begin(), lines.end() - 1);
    const auto end = before.empty() ? usual.rend() : std::find(usual.rbegin(), usual.rend(), before.back());
    const std::wstring last = before.empty() ? L"(nothing)" : before.back();
    return Changes({usual.begin(), end.base()}, before) + FaultLines{lines.back() + L" after: " + last};
}

// As C++ source, ready to be compared with a row, or to become one.
std::string Shown(const FaultLines& lines)
{
    std::string text;
    for (const std::wstring& line : lines)
        text += "\n    " + contract::AsLiteral(line);
    return text;
}

void Write(const std::wstring& text)
{
    OutputDebugStringW((L"     0 " + text).c_str());
}
} // namespace

FaultLines Without(std::initializer_list<FaultLines> parts)
{
    return Signed(L'-', parts);
}

FaultLines With(std::initializer_list<FaultLines> parts)
{
    return Signed(L'+', parts);
}

FaultLines operator+(FaultLines first, const FaultLines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void Note(const wchar_t* what, int64_t value)
{
    const TestsOwn own;
    Write(std::wstring(L"= ") + what + (L" " + std::to_wstring(value)));
}

void Note(const wchar_t* what, const wchar_t* value)
{
    const TestsOwn own;
    Write(std::wstring(L"= ") + what + (L" " + std::wstring(value != nullptr ? value : L"(null)")));
}

void NoteIfHeld(const std::wstring& kernelName)
{
    const TestsOwn own;
    if (MutexStateOf(kernelName, c_longestHoldMs) == MutexState::Held)
        Write(c_held + kernelName);
}

void NoteHeldShareMutexes(const std::wstring& shareName)
{
    const TestsOwn own;
    for (unsigned i = 0; i < contract::c_shareMutexCount; ++i)
        NoteIfHeld(contract::KernelName(shareName + L"_" + std::to_wstring(i)));
}

FaultScenario::FaultScenario(TraceCapture& trace, std::function<void()> body,
                             std::vector<std::pair<std::wstring, std::wstring>> texts)
    : m_trace(trace), m_body(std::move(body)), m_texts(std::move(texts))
{
}

FaultLines FaultScenario::Lines() const
{
    FaultLines lines = m_trace.Lines();
    for (std::wstring& line : lines)
    {
        for (const auto& [from, to] : m_texts)
            line = contract::Replaced(line, from, to);
    }
    return lines;
}

// An exception becomes a line of the transcript.
void FaultScenario::RunBody()
{
    try
    {
        m_body();
    }
    catch (const std::exception& exception)
    {
        const TestsOwn own;
        Write(c_raised + std::wstring(exception.what(), exception.what() + std::strlen(exception.what())));
    }
}

// Runs the scenario once; returns how many blocks it has not freed. start begins the counting, as late as possible,
// because the test's own preparations call the system too.
size_t FaultScenario::RunOnce(const std::function<void()>& start)
{
    m_trace.Clear();
    const AllocationProbe probe;
    {
        const AllocationProbe::Unwatched unwatched;
        start();
    }
    RunBody();
    m_faults.Stop();
    return probe.LiveBlocks();
}

// A first run, because the system and the C runtime keep something from it that is no leak. False when the scenario
// does not work even with nothing failing.
bool FaultScenario::WarmUp()
{
    const auto failNone = [this] { m_faults.FailNone(); };
    RunOnce(failNone);
    EXPECT_EQ(RunOnce(failNone), 0U) << "in a run in which nothing fails";
    m_usual = Lines();
    m_views = MappedViewCount();
    m_handles = OpenHandleCount();
    const bool works = std::none_of(m_usual.begin(), m_usual.end(), [](const std::wstring& line) {
        return line.rfind(c_raised, 0) == 0 || line.rfind(c_held, 0) == 0;
    });
    EXPECT_TRUE(works) << "with nothing failing:" << Shown(m_usual);
    return works;
}

void FaultScenario::CheckNothingIsLost(const std::string& what) const
{
    EXPECT_EQ(OpenHandleCount(), m_handles) << what;
    EXPECT_EQ(MappedViewCount(), m_views) << what;
    EXPECT_TRUE(HeapIsConsistent()) << what;
}

// Whether the last run released all that it took, and each only once.
void FaultScenario::CheckPairs(const std::string& what) const
{
    EXPECT_EQ(m_faults.SurplusReleases(), 0U) << what;
    for (const auto& pair : c_pairs)
        EXPECT_EQ(m_faults.Successes(pair.takes[0]) + m_faults.Successes(pair.takes[1]),
                  m_faults.Successes(pair.givesBack))
            << what << " and " << pair.givesBack;
}

std::vector<std::pair<std::string, unsigned>> FaultScenario::CountCalls()
{
    RunOnce([this] { m_faults.FailNone(); });
    std::vector<std::pair<std::string, unsigned>> reached;
    for (const std::string& function : SystemFaults::Functions())
    {
        if (m_faults.Calls(function) > 0)
            reached.emplace_back(function, m_faults.Calls(function));
    }
    return reached;
}

void FaultScenario::ExpectRow(const FaultTable& table, const std::string& function, unsigned n,
                              const std::string& what) const
{
    const FaultLines changes = Changes(m_usual, Lines());
    unsigned rows = 0;
    for (const FaultRow& row : table)
    {
        if (row.function != function || n < row.first || n > row.last)
            continue;
        ++rows;
        EXPECT_TRUE(changes == row.changes)
            << what << " changes" << Shown(changes) << "\nwhere the table says" << Shown(row.changes);
    }
    EXPECT_EQ(rows, 1U) << what << " has so many rows; its row would be\n{\"" << function << "\", " << n << ", " << n
                        << ", {" << Shown(changes) << "}},";
}

void FaultScenario::ExpectForEachCall(const FaultTable& table)
{
    if (!WarmUp())
        return;
    const auto reached = CountCalls();
    for (const FaultRow& row : table)
    {
        const auto calls = std::find_if(reached.begin(), reached.end(),
                                        [&](const auto& entry) { return entry.first == row.function; });
        const unsigned last = row.last == c_lastCall ? row.first : row.last;
        EXPECT_TRUE(calls != reached.end() && calls->second >= last)
            << "there is a row for call " << last << " of " << row.function << ", which is never made";
    }
    unsigned runs = 0;
    for (const auto& [function, calls] : reached)
    {
        // When a run hangs, the output ends with its number.
        std::cout << function << ":" << std::flush;
        for (unsigned n = 1; n <= calls; ++n, ++runs)
        {
            std::cout << ' ' << n << std::flush;
            const std::string what = function + ", call " + std::to_string(n) + " of " + std::to_string(calls);
            const size_t blocks = RunOnce([&, name = function] { m_faults.FailCall(name, n); });
            EXPECT_TRUE(m_faults.HasFailed()) << what;
            CheckPairs(what);
            EXPECT_EQ(blocks, 0U) << what;
            EXPECT_EQ(MappedViewCount(), m_views) << what;
            ExpectRow(table, function, n, what);
        }
        std::cout << std::endl;
        CheckNothingIsLost(function);
    }
    std::cout << runs << " calls of " << reached.size() << " functions" << std::endl;
}

void FaultScenario::ExpectForEachRequest(const std::vector<FaultLines>& ways)
{
    ExpectForMemory(ways, true);
}

void FaultScenario::ExpectFromEachRequest(const std::vector<FaultLines>& ways)
{
    ExpectForMemory(ways, false);
}

void FaultScenario::ExpectForMemory(const std::vector<FaultLines>& ways, bool once)
{
    if (!WarmUp())
        return;
    std::vector<bool> seen(ways.size());
    for (unsigned n = 1;; ++n)
    {
        m_trace.Clear();
        bool failed = false;
        size_t blocks = 0;
        {
            AllocationProbe probe;
            m_faults.FailNone();
            if (once)
                probe.FailRequest(n);
            else
                probe.FailFrom(n);
            RunBody();
            probe.StopFailing();
            m_faults.Stop();
            failed = probe.HasFailed();
            blocks = probe.LiveBlocks();
        }
        const std::string what = "request " + std::to_string(n);
        EXPECT_EQ(blocks, 0U) << what;
        CheckPairs(what);
        const FaultLines changes = ChangesWithoutMemory(m_usual, Lines());
        if (!failed)
        {
            EXPECT_TRUE(changes.empty()) << Shown(changes);
            std::cout << n - 1 << " requests" << std::endl;
            break;
        }
        const auto way = std::find(ways.begin(), ways.end(), changes);
        EXPECT_TRUE(way != ways.end()) << what << " changes" << Shown(changes);
        if (way != ways.end())
            seen[static_cast<size_t>(way - ways.begin())] = true;
        CheckNothingIsLost(what);
    }
    for (size_t i = 0; i < ways.size(); ++i)
        EXPECT_TRUE(seen[i]) << "never seen:" << Shown(ways[i]);
}
