#include "client/process/StartTime.h"

#include "client/base/FileTime.h"

#include <windows.h>

uint64_t StartTimeOf(HANDLE process) noexcept
{
    FILETIME created{};
    FILETIME unused[3]{};
    if (GetProcessTimes(process, &created, &unused[0], &unused[1], &unused[2]) == FALSE)
        return 0;
    return TicksOf(created);
}
