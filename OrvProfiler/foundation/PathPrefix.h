#pragma once

#include "OrvProfiler/foundation/TextFunctions.h"

#include <cstddef>
#include <cwchar>

// How paths begin, for the sources that take them apart.

// The greatest length of a path that the system takes without a long-path prefix, in UTF-16 units with the NUL.
constexpr size_t c_maximumPathUnits = 260;

constexpr wchar_t c_networkPrefix[] = L"\\\\";

inline bool BeginsWithNetworkPrefix(const wchar_t* path) noexcept
{
    return SafeLength(path) >= 2 && path[0] == L'\\' && path[1] == L'\\';
}

// The text behind a prefix that it begins with, ignoring case, or null.
inline const wchar_t* SkipPrefix(const wchar_t* text, const wchar_t* prefix) noexcept
{
    const size_t length = std::wcslen(prefix);
    return _wcsnicmp(text, prefix, length) == 0 ? text + length : nullptr;
}
