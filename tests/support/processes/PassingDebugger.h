#pragma once

#include "tests/support/processes/ChildProcess.h"

#include <iosfwd>
#include <string>
#include <thread>
#include <vector>

// An exception as a debugger is told of it: before anybody in the process, and again when nobody has taken it.
struct SeenException
{
    unsigned long code;
    bool isFirstChance;
};

inline bool operator==(const SeenException& left, const SeenException& right)
{
    return left.code == right.code && left.isFirstChance == right.isFirstChance;
}

// For failures.
void PrintTo(const SeenException& exception, std::ostream* stream);

// A debugger that looks on: it passes every exception on to the process, except for the breakpoint with which the
// system greets it.
class PassingDebugger
{
public:
    PassingDebugger() = default;
    // Waits for the process's end; who holds the process ends it.
    ~PassingDebugger();
    PassingDebugger(const PassingDebugger&) = delete;
    PassingDebugger& operator=(const PassingDebugger&) = delete;

    // Starts the one program that this object debugs, as ChildProcess::Start does.
    ChildProcess Start(const std::wstring& program, const std::wstring& commandLine, const wchar_t* folder);
    // Waits for the process's end and returns what was seen of it.
    const std::vector<SeenException>& Exceptions();

private:
    void DebugUntilTheEnd(unsigned long process);

    std::vector<SeenException> m_exceptions;
    std::thread m_thread;
};
