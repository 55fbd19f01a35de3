#include "client/log/TraceLogFile.h"

#include "client/base/FileTime.h"
#include "OrvProfiler/objects/WBEvent.h"
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

bool IsTraceLogHeld() noexcept
{
    return !OpenShared(c_traceLogPath) && GetLastError() == ERROR_SHARING_VIOLATION;
}

std::wstring TracePart(HANDLE file, int64_t start)
{
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(start);
    place.OffsetHigh = static_cast<DWORD>(start >> 32);
    std::wstring text(c_tracePartUnits, L'\0');
    DWORD taken = 0;
    if (ReadFile(file, text.data(), static_cast<DWORD>(c_tracePartUnits * sizeof(wchar_t)), &taken, &place) == FALSE)
        return {};
    text.resize(taken / sizeof(wchar_t));
    return text;
}

bool IsTraceLogOf(HANDLE file, uint32_t clientId)
{
    return TracePart(file, 0).find(CWBEvent::EventName(EV_STOP, clientId) + std::wstring(L" ")) != std::wstring::npos;
}
