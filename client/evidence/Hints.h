#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// A workbench that was lost or did not become ready.
struct LostWorkbench
{
    // The program's path; empty when somebody else started it.
    std::wstring program;
    // The id on its command line.
    uint32_t clientId = 0;
    // When it was started (a file time).
    uint64_t startTime = 0;
    // Without one it did not end by itself.
    std::optional<uint32_t> exitCode;
    // It ended in a command.
    bool wasInCommand = false;
};

// What to look at then, one line each: what the exit code means; whether the dispatcher beside the program is
// missing; and the last lines of the trace log, if it is of that run. On Windows the log can be read only when the
// workbench has ended.
std::vector<std::wstring> HintsAfterLoss(const LostWorkbench& lost);

// What to look at when a command failed and nothing was printed about it.
std::wstring HintForSilentFailure();

// The last lines of a text in UTF-16, without the empty ones.
std::vector<std::wstring> LastLines(const std::wstring& text, size_t count);
