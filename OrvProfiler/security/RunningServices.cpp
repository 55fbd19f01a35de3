#include "OrvProfiler/security/RunningServices.h"

#include <windows.h>

#include <winsvc.h>

#include <algorithm>
#include <memory>
#include <new>

namespace
{
// The service control manager, open for listing services.
class ServiceManager
{
public:
    ServiceManager() noexcept : m_handle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE)) {}
    ~ServiceManager()
    {
        if (m_handle != nullptr)
            CloseServiceHandle(m_handle);
    }
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    explicit operator bool() const noexcept { return m_handle != nullptr; }

    // Lists the running Win32 services into a buffer. False on failure, with the bytes missing in needed.
    bool List(unsigned char* buffer, DWORD sizeBytes, DWORD& needed, DWORD& count) const noexcept
    {
        DWORD resume = 0;
        return EnumServicesStatusExW(m_handle, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_ACTIVE, buffer, sizeBytes,
                                     &needed, &count, &resume, nullptr) != FALSE;
    }

private:
    SC_HANDLE m_handle;
};
} // namespace

bool IsRunningService(uint32_t processId) noexcept
{
    const ServiceManager services;
    if (!services)
        return false;
    DWORD size = 0;
    DWORD count = 0;
    if (services.List(nullptr, 0, size, count) || GetLastError() != ERROR_MORE_DATA)
        return false;
    const std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[size]);
    DWORD missing = 0;
    if (buffer == nullptr || !services.List(buffer.get(), size, missing, count))
        return false;
    const auto* const first = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(buffer.get());
    const auto* const last = first + std::min<size_t>(count, size / sizeof *first);
    return std::any_of(first, last, [processId](const ENUM_SERVICE_STATUS_PROCESSW& service) {
        return service.ServiceStatusProcess.dwProcessId == processId;
    });
}
