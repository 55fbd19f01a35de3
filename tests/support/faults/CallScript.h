#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/SystemFaults.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Steps one behind the other, which contract::Join joins as it does lines.
using Script = contract::Lines;

// Records the script of an operation: each system call that it makes, with its telling arguments, and what it traces
// in between, in order. A test compares it with a literal one.
//
//     OpenProcess 400 other          access rights in hexadecimal, the rest in decimal numbers
//     SetEvent {event}               a handle by the name or the kind of what it is a handle of
//     CloseHandle null
//     CreateMutexW everybody 0 {mutex} fails
//     trace CHost::Run Sleeping\n\n  a line to the debugger, without its time
//     file CHost::Run Sleeping\n\n   the same line to the log file
//     flush
//     writes {page}                  see WatchWrites
//     = pid 4660                     see WatchState
//
// CallScript.cpp lists the functions and what it shows of each. It records the thread that made it. What replaces
// system functions (TraceCapture, ErrorTextStandIn, a fixture's stand-ins) is made before, and is then what the calls
// reach; a function that is looked up is recorded when it was looked up while this object lives. One at a time, and
// not beside a SystemFaults.
class CallScript final : private SystemFaults::Listener
{
public:
    // Records from here on.
    CallScript();
    ~CallScript();
    CallScript(const CallScript&) = delete;
    CallScript& operator=(const CallScript&) = delete;

    // In all steps the first text is replaced by the second. The last replacement comes first.
    void Rename(std::wstring from, std::wstring to);
    // That process id is shown by this name; the own process is "own", any other "other".
    void NameProcess(uint32_t processId, std::wstring name) { m_processes[processId] = std::move(name); }
    // A handle, a view or a library that was there before.
    void NameHandle(const void* handle, std::wstring name) { m_handles[Address(handle)] = std::move(name); }

    // Leaves the calls of a function out, or shows those of one that is left out at first: the clock's, the
    // entering and leaving of critical sections.
    void Hide(const std::string& function) { m_hidden.insert(function); }
    void Show(const std::string& function) { m_hidden.erase(function); }
    // Shows when a heap block is freed that holds this text.
    void WatchBlock(std::wstring text, std::wstring name) { m_blocks[std::move(text)] = std::move(name); }
    // Shows the first write to the page around an address, and again the first one after each further step.
    void WatchWrites(void* address, std::wstring name);
    // Asks before each step for a state, and shows it when it has changed.
    void WatchState(std::function<std::wstring()> state);

    // Makes the n-th call from now on fail; 1 is the next one.
    void Fail(const std::string& function, unsigned n = 1) { m_calls.FailCall(function, n); }

    // Adds a step of the test's own.
    void Note(std::wstring step);
    // Forgets the steps, not the names.
    void Clear();
    // The steps so far; recording goes on.
    Script Steps();
    // Whether the steps so far are these, which are forgotten then. When they are not, it shows both.
    testing::AssertionResult Is(const Script& expected);

private:
    struct Page;
    class Own;

    static uintptr_t Address(const void* pointer) noexcept { return reinterpret_cast<uintptr_t>(pointer); }
    void BeforeCall(const SystemCall& call) override;
    void AfterCall(const SystemCall& call, const CallValue& result) override;
    bool OnSpecialCall(const SystemCall& call);
    void OnWrite(Page& page);
    void NoteState();
    void Add(std::wstring step);
    void ProtectPages();
    void OpenPages();
    void ForgetPages(uint64_t view);
    std::wstring ArgumentText(const SystemCall& call, size_t index, wchar_t kind) const;
    std::wstring HandleText(uint64_t handle) const;
    std::wstring HandlesText(const CallValue& handles, uint64_t count) const;
    std::wstring Renamed(std::wstring text) const;

    static long OnFault(struct _EXCEPTION_POINTERS* fault);

    Script m_steps;
    std::set<std::string> m_hidden;
    std::vector<std::pair<std::wstring, std::wstring>> m_texts;
    std::map<uint64_t, std::wstring> m_processes;
    std::map<uint64_t, std::wstring> m_handles;
    std::map<std::wstring, std::wstring> m_blocks;
    std::vector<Page> m_pages;
    std::function<std::wstring()> m_state;
    std::wstring m_lastState;
    void* m_faultHandler = nullptr;
    SystemFaults m_calls;
};
