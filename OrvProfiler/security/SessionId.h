#pragma once

#include <cstdint>

// In place of a session id: the system has no sessions, and the session could not be read.
constexpr uint32_t c_sessionNone = 0xFFFFFFFF;
constexpr uint32_t c_sessionFailed = 0xFFFFFFFE;
