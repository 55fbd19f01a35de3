#pragma once

#include <cstdint>
#include <string>

// Names that nothing else has, so that tests run side by side, and after a crash.

// The prefix, this process's id and a counter: no other test process has used that name, and no earlier call.
std::wstring FreshName(const wchar_t* prefix);

// A number that stands for a process in the names of kernel objects. No process has it, no other test process has
// used it, and no earlier call.
uint32_t FreshId();
