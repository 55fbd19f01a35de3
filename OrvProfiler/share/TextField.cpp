#include "OrvProfiler/share/TextField.h"

#include <windows.h>

#include <cwchar>

void CopyText(wchar_t* destination, const wchar_t* source, uint64_t capacity)
{
    if (destination == nullptr || capacity == 0)
        return;
    const bool readable = source != nullptr && IsBadStringPtrW(source, capacity - 1) == FALSE;
    const uint64_t length = readable ? wcsnlen(source, capacity - 1) : 0;
    std::wmemmove(destination, source, length);
    destination[length] = L'\0';
}
