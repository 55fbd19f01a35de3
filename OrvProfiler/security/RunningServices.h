#pragma once

#include <cstdint>

// Whether a running Win32 service has that process id; false also when the services cannot be listed. Asks the
// service manager, so it may take milliseconds. Any thread.
bool IsRunningService(uint32_t processId) noexcept;
