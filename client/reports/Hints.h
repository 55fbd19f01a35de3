#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What to look at when the workbench was lost or did not become ready, one line each: what the exit code means, if
// there is one; whether the dispatcher beside the program is missing, unless program is empty; and the last lines of
// the trace log, if it was written since startTime (a file time). On Windows the log can be read only when the
// workbench has ended.
std::vector<std::wstring> HintsAfterLoss(const std::wstring& program, std::optional<uint32_t> exitCode,
                                         uint64_t startTime);

// What to look at when a command failed and nothing was printed about it.
std::wstring HintForSilentFailure();

// The last lines of a text in UTF-16, without the empty ones.
std::vector<std::wstring> LastLines(const std::wstring& text, size_t count);
