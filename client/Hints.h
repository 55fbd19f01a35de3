#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What to look at when the workbench was lost or does not come: what its exit code means, if it has one, and the
// trace log with its last lines. The log can be read once the workbench has ended.
std::vector<std::wstring> HintsAfterLoss(const std::wstring& program, std::optional<uint32_t> exitCode);

// What to look at when a command failed and nothing was printed about it.
std::wstring HintForSilentFailure();

// The last lines of a text file in UTF-16 with a byte-order mark, without the empty ones; none when it cannot be
// read.
std::vector<std::wstring> LastLines(const std::wstring& path, size_t count);
