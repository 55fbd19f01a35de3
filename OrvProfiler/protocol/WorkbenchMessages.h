#pragma once

#include <cstdint>

// The messages to the client's notification window, all with zero parameters: ready is posted once, before the first
// wait; idle is sent at each breakpoint step; exiting is sent once, after the loop has ended.
constexpr uint32_t WM_WORKBENCH_READY = 0x83F0;
constexpr uint32_t WM_WORKBENCH_IDLE = 0x8407;
constexpr uint32_t WM_WORKBENCH_EXITING = 0x83EB;
