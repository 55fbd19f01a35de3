#include "OrvProfiler/foundation/EntryPoint.h"

#include <windows.h>

EntryPoint LookUpEntryPoint(HMODULE module, const char* name) noexcept
{
    return module != nullptr ? reinterpret_cast<EntryPoint>(GetProcAddress(module, name)) : nullptr;
}
