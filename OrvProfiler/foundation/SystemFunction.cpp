#include "OrvProfiler/foundation/SystemFunction.h"

#include <windows.h>

UntypedFunction FindExport(HMODULE module, const char* name) noexcept
{
    // To some systems a null module would mean the program itself.
    return module != nullptr ? reinterpret_cast<UntypedFunction>(GetProcAddress(module, name)) : nullptr;
}
