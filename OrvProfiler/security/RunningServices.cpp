#include "OrvProfiler/security/RunningServices.h"

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <winsvc.h>

#include <algorithm>
#include <memory>
#include <new>

namespace
{
// Lists the running Win32 services into a buffer. False on failure, with the bytes missing in needed.
bool ListServices(const UniqueServiceHandle& manager, unsigned char* buffer, DWORD sizeBytes, DWORD& needed,
                  DWORD& count) noexcept
{
    DWORD resume = 0;
    return EnumServicesStatusExW(manager.Get(), SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_ACTIVE, buffer,
                                 sizeBytes, &needed, &count, &resume, nullptr) != FALSE;
}
} // namespace

bool IsRunningService(uint32_t processId) noexcept
{
    const UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE));
    if (!manager)
        return false;
    DWORD size = 0;
    DWORD count = 0;
    if (ListServices(manager, nullptr, 0, size, count) || GetLastError() != ERROR_MORE_DATA)
        return false;
    const std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[size]);
    DWORD missing = 0;
    if (buffer == nullptr || !ListServices(manager, buffer.get(), size, missing, count))
        return false;
    const auto* const first = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(buffer.get());
    const auto* const last = first + std::min<size_t>(count, size / sizeof *first);
    return std::any_of(first, last, [processId](const ENUM_SERVICE_STATUS_PROCESSW& service) {
        return service.ServiceStatusProcess.dwProcessId == processId;
    });
}
