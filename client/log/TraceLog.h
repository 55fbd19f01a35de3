#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <cstdint>

// When a process started, in the system's file time; 0 when it cannot be asked.
uint64_t StartTimeOf(HANDLE process) noexcept;

// The trace log for reading, when it can be read and was written to since that time; null otherwise. Keep it open
// only while the workbench has it open, or has ended: one that starts could not open it.
UniqueHandle OpenTraceLog(uint64_t writtenSince) noexcept;
