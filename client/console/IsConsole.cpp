#include "client/console/IsConsole.h"

#include <windows.h>

bool IsConsole(HANDLE handle) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != FALSE;
}
