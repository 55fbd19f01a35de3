#pragma once

#include <windows.h>

#include <cstdint>

// A file time as one number, in units of 100 nanoseconds.
inline uint64_t TicksOf(const FILETIME& time) noexcept
{
    return static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}
