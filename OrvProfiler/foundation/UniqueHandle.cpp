#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

UniqueHandle UniqueHandle::FromFile(HANDLE handle) noexcept
{
    return UniqueHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

void UniqueHandle::Reset(HANDLE handle) noexcept
{
    const HANDLE old = std::exchange(m_handle, handle);
    if (old == nullptr)
        return;
    const DWORD lastError = GetLastError();
    CloseHandle(old);
    SetLastError(lastError);
}
