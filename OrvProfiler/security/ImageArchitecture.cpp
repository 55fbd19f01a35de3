#include "OrvProfiler/security/ImageArchitecture.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/DiskFile.h"

#include <windows.h>

#include <cstddef>

namespace
{
template <class Structure>
bool ReadStructure(HANDLE file, Structure& structure) noexcept
{
    DWORD read = 0;
    return ReadFile(file, &structure, sizeof structure, &read, nullptr) != FALSE && read == sizeof structure;
}

bool MoveTo(HANDLE file, LONG offset) noexcept
{
    LARGE_INTEGER position{};
    position.QuadPart = offset;
    return SetFilePointerEx(file, position, nullptr, FILE_BEGIN) != FALSE;
}

uint32_t ReadHeader(HANDLE file) noexcept
{
    IMAGE_DOS_HEADER dos{};
    static_assert(sizeof dos == 64 && offsetof(IMAGE_DOS_HEADER, e_lfanew) == 60);
    if (!ReadStructure(file, dos))
        return c_architectureUnreadable;
    if (dos.e_magic != IMAGE_DOS_SIGNATURE)
        return c_architectureUnknown;
    DWORD signature = 0;
    if (!MoveTo(file, dos.e_lfanew) || !ReadStructure(file, signature))
        return c_architectureUnreadable;
    if (signature != IMAGE_NT_SIGNATURE)
        return c_architectureUnknown;
    IMAGE_FILE_HEADER header{};
    static_assert(sizeof header == 20);
    WORD magic = 0;
    if (!ReadStructure(file, header) || !ReadStructure(file, magic))
        return c_architectureUnreadable;
    if (magic == IMAGE_NT_OPTIONAL_HDR32_MAGIC)
        return 32;
    return magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC ? 64 : c_architectureUnknown;
}
} // namespace

uint32_t ReadImageArchitecture(const wchar_t* path) noexcept
{
    const UniqueHandle file = OpenToRead(path);
    if (!file)
    {
        TraceLine(L"%6.0f %s CreateFile(OPEN_EXISTING) failed for file:%s, %s\n",
                  L"CProxySecManager::GetArchitecture", path, ErrorText(GetLastError()));
        return c_architectureUnreadable;
    }
    return IsDiskFile(file) ? ReadHeader(file.Get()) : c_architectureUnreadable;
}
