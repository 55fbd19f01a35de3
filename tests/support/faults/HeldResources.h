#pragma once

#include <string>

// What this process holds of the system, for tests that nothing is lost.

// How many kernel handles it has open.
unsigned OpenHandleCount();
// Each of them by its value, type and name, a line each: shown when a count is not what a test expects.
std::string OpenHandleNames();
// How many views of file mappings it has.
unsigned MappedViewCount();
// Whether the heaps of the C runtime and of the process are undamaged.
bool HeapIsConsistent();
