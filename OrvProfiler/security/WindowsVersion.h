#pragma once

#include <cstdint>

// 10 on Windows 10 or later, 8 on 6.2 and 6.3, 7 on 6.1, 6 on 6.0, 5 on anything older. A program whose manifest does
// not name the later systems is told at most 8 by the system.
uint64_t GetWindowsVersion() noexcept;
