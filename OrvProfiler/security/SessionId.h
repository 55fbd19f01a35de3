#pragma once

#include <cstdint>

// Session ids that are none: a process that has no session, and a session that could not be found out.
constexpr uint32_t c_sessionNone = 0xFFFFFFFF;
constexpr uint32_t c_sessionFailed = 0xFFFFFFFE;
