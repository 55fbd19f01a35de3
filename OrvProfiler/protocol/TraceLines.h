#pragma once

#include <cstdint>
#include <string>

// The lines of the workbench's log that a client reads: a client whose window is not told of the breakpoint step sees
// from them that a command has ended, and how. A line is the time, the reporting function and the text, with a blank
// between each. The texts are the beginnings of the lines' own.

// The function that reports all of them.
constexpr const wchar_t* c_traceMainLoop = L"CHost::Run";
// Before a command is called; its name and text follow.
constexpr const wchar_t* c_traceOfCommand = L"Command is ";
// Before the command's own response; the result's name follows.
constexpr const wchar_t* c_traceOfSuccess = L"command succeeded, ";
constexpr const wchar_t* c_traceOfFailure = L"command failed, ";
// Before each wait for a command: all responses to the one before have been set.
constexpr const wchar_t* c_traceOfWait = L"Sleeping";

// After so long without a command the workbench writes a line and waits again, so that a reader sees it alive.
constexpr uint32_t c_traceHeartbeatMs = 10000;

// What a line with such a text contains.
inline std::wstring TraceMarkOf(const wchar_t* text)
{
    return std::wstring(L" ") + c_traceMainLoop + L" " + text;
}
