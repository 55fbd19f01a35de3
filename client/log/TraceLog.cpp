#include "client/log/TraceLog.h"

#include "OrvProfiler/OrvWorkbench/Host.h"

#include <windows.h>

namespace
{
// File times are coarser than process times on some disks.
constexpr uint64_t c_toleranceTicks = 20000000; // two seconds

uint64_t Number(const FILETIME& time) noexcept
{
    return static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}
} // namespace

uint64_t StartTimeOf(HANDLE process) noexcept
{
    FILETIME created{};
    FILETIME unused[3]{};
    if (GetProcessTimes(process, &created, &unused[0], &unused[1], &unused[2]) == FALSE)
        return 0;
    return Number(created);
}

UniqueHandle OpenTraceLog(uint64_t writtenSince) noexcept
{
    UniqueHandle file = UniqueHandle::FromFile(CreateFileW(c_traceLogPath, GENERIC_READ,
                                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                           nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    FILETIME written{};
    if (file && GetFileTime(file.Get(), nullptr, nullptr, &written) != FALSE &&
        Number(written) + c_toleranceTicks < writtenSince)
        file.Reset();
    return file;
}
