#pragma once

#include <string>

// What this process holds of the system, for tests that nothing is lost.

// The number of kernel handles that this process has open.
unsigned OpenHandleCount();

// Whether the C runtime's heap is consistent.
bool HeapIsConsistent();

// A name that no other test process, and no earlier call, has used: the prefix, the process id and a counter.
std::wstring FreshName(const wchar_t* prefix);

// A number that no other test process, and no earlier call, has used: a stand-in for a process id that keys kernel
// object names. It is no living process.
unsigned FreshId();

// A number as eight lower-case hexadecimal digits.
std::wstring HexId(unsigned id);

// A new empty folder below the user's temporary folder, without a trailing backslash.
std::wstring FreshFolder();
