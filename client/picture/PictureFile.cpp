#include "client/picture/PictureFile.h"

#include "client/base/SystemFailure.h"
#include "client/console/ClientError.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace
{
constexpr DWORD c_shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// What one call of the system writes at most.
constexpr size_t c_chunkBytes = size_t{1} << 24;

[[noreturn]] void Throw(const std::wstring& path, DWORD error)
{
    throw ClientError(ExitStatus::Usage, SystemFailure(L"the report cannot be written to " + path, error));
}

DWORD WriteBytes(HANDLE file, std::string_view bytes) noexcept
{
    DWORD written = 0;
    for (; !bytes.empty(); bytes.remove_prefix(written))
        if (WriteFile(file, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), c_chunkBytes)), &written,
                      nullptr) == FALSE)
            return GetLastError();
    return ERROR_SUCCESS;
}

// A file that is there has to make room; what is no plain file does not.
DWORD WhyNotReplaceable(const wchar_t* path) noexcept
{
    const DWORD attributes = GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return ERROR_SUCCESS;
    if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0)
        return ERROR_ACCESS_DENIED;
    const UniqueHandle file = UniqueHandle::FromFile(CreateFileW(path, GENERIC_WRITE | DELETE, c_shareAll, nullptr,
                                                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file ? ERROR_SUCCESS : GetLastError();
}

DWORD WhyNotWritable(const wchar_t* path) noexcept
{
    const UniqueHandle file = UniqueHandle::FromFile(CreateFileW(path, GENERIC_WRITE | DELETE, c_shareAll, nullptr,
                                                                 CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return file ? ERROR_SUCCESS : GetLastError();
}

DWORD WriteNew(const wchar_t* path, const std::string& page) noexcept
{
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file ? WriteBytes(file.Get(), page) : GetLastError();
}
} // namespace

PictureFile::PictureFile(std::wstring path)
    : m_path(std::move(path)), m_beside(m_path + L"." + std::to_wstring(GetCurrentProcessId()) + L".new")
{
    DWORD error = WhyNotReplaceable(m_path.c_str());
    if (error == ERROR_SUCCESS)
        error = WhyNotWritable(m_beside.c_str());
    if (error != ERROR_SUCCESS)
        Throw(m_path, error);
}

void PictureFile::Write(const std::string& page) const
{
    DWORD error = WriteNew(m_beside.c_str(), page);
    if (error == ERROR_SUCCESS && MoveFileExW(m_beside.c_str(), m_path.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE)
        error = GetLastError();
    if (error == ERROR_SUCCESS)
        return;
    DeleteFileW(m_beside.c_str());
    Throw(m_path, error);
}
