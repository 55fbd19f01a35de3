#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <io.h>

namespace
{
// The thread's last error, given back when this object goes.
class KeptLastError
{
public:
    KeptLastError() noexcept : m_error(GetLastError()) {}
    ~KeptLastError() { SetLastError(m_error); }
    KeptLastError(const KeptLastError&) = delete;
    KeptLastError& operator=(const KeptLastError&) = delete;

private:
    DWORD m_error;
};
} // namespace

void KernelHandleTraits::Close(Handle handle) noexcept
{
    const KeptLastError kept;
    CloseHandle(handle);
}

KernelHandleTraits::Handle KernelHandleTraits::FromFile(Handle handle) noexcept
{
    return handle == INVALID_HANDLE_VALUE ? None() : handle;
}

void LibraryTraits::Close(Handle library) noexcept
{
    const KeptLastError kept;
    FreeLibrary(library);
}

void FindHandleTraits::Close(Handle search) noexcept
{
    const KeptLastError kept;
    _findclose(search);
}

void ServiceHandleTraits::Close(Handle service) noexcept
{
    const KeptLastError kept;
    CloseServiceHandle(service);
}

void ViewTraits::Close(Handle view) noexcept
{
    const KeptLastError kept;
    UnmapViewOfFile(view);
}
