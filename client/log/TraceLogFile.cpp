#include "client/log/TraceLogFile.h"

#include "client/base/FileTime.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"

#include <windows.h>

namespace
{
// File times are coarser than process times on some disks.
constexpr uint64_t c_toleranceTicks = 20000000; // two seconds
} // namespace

UniqueHandle OpenShared(const wchar_t* path) noexcept
{
    return UniqueHandle::FromFile(CreateFileW(path, GENERIC_READ,
                                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

UniqueHandle OpenTraceLog(uint64_t writtenSince) noexcept
{
    UniqueHandle file = OpenShared(c_traceLogPath);
    FILETIME written{};
    if (file && GetFileTime(file.Get(), nullptr, nullptr, &written) != FALSE &&
        TicksOf(written) + c_toleranceTicks < writtenSince)
        file.Reset();
    return file;
}
