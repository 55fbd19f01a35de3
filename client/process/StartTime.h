#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>

// When a process started, in the system's file time; 0 when it cannot be asked.
uint64_t StartTimeOf(HANDLE process) noexcept;
