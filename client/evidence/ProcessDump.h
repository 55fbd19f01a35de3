#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <string>

// The greatest minidump that is kept, in bytes.
constexpr uint64_t c_greatestDump = 256ULL << 20;

// Writes a minidump of another process to a file: its threads with their stacks, its modules, its handles; no other
// memory. The process stands still meanwhile. Returns why there is none; empty when there is one.
std::wstring WriteDump(HANDLE process, uint32_t processId, HANDLE file);

// What a dump of a workbench lacks on this system, as a sentence; empty when it is whole.
std::wstring DumpGap();
