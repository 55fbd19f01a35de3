#include "OrvProfiler/security/DiskFile.h"

#include <windows.h>

UniqueHandle OpenToRead(const wchar_t* path) noexcept
{
    constexpr DWORD flags = FILE_ATTRIBUTE_NORMAL | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    return UniqueHandle::FromFile(
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, flags, nullptr));
}

bool IsDiskFile(const UniqueHandle& file) noexcept
{
    return GetFileType(file.Get()) == FILE_TYPE_DISK;
}

UniqueHandle OpenDiskFile(const wchar_t* path) noexcept
{
    UniqueHandle file = OpenToRead(path);
    if (file && !IsDiskFile(file))
        file.Reset();
    return file;
}
