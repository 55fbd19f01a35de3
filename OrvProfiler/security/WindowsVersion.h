#pragma once

#include <cstdint>

// 10 on Windows 10 or later, 8 on 6.2 and 6.3, 7 on 6.1, 6 on 6.0, 5 on anything older. The system tells a program at
// most 8 unless its manifest names the later systems. Any thread.
uint64_t GetWindowsVersion() noexcept;
