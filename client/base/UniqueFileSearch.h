#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

// Owns a search of the system's, of FindFirstFileW, whose "none" is INVALID_HANDLE_VALUE.
struct FileSearchTraits
{
    using Handle = HANDLE;
    static Handle None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle search) noexcept { FindClose(search); }
};
using UniqueFileSearch = BasicUniqueHandle<FileSearchTraits>;
