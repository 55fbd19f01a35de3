#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

// A system function that older systems lack and that is therefore looked up at run time; null when the library or
// the export is missing. Whoever calls one tests it first.
using EntryPoint = void (*)();

// The export of the given name; null when module is null or has no such export.
EntryPoint LookUpEntryPoint(HMODULE module, const char* name) noexcept;

// The entry point as the function that it is, as in EntryPointAs<decltype(IsWow64Process)>(entry)(process, &flag).
template <class Function>
Function* EntryPointAs(EntryPoint entry) noexcept
{
    return reinterpret_cast<Function*>(entry);
}
