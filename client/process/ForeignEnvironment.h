#pragma once

#include <cstdint>
#include <string>

// A variable of the environment that another 64-bit process was started with, as this one may read it; what the
// process has changed since may be there or not. Empty when there is none of that name, or it cannot be read: the
// process is gone, or another user's.
std::wstring EnvironmentValueOf(uint32_t processId, const wchar_t* name);
