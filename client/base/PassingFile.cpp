#include "client/base/PassingFile.h"

#include <windows.h>

namespace
{
std::wstring FreshPath(const wchar_t* start, const wchar_t* end)
{
    wchar_t folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH)
        return {};
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return std::wstring(folder, length) + start + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(now.QuadPart) + end;
}
} // namespace

UniqueHandle CreatePassing(const std::wstring& path) noexcept
{
    return UniqueHandle::FromFile(
        CreateFileW(path.c_str(), GENERIC_READ | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

PassingFile::PassingFile(const wchar_t* start, const wchar_t* end)
    : m_path(FreshPath(start, end)), m_file(CreatePassing(m_path))
{
    if (!m_file)
        m_path.clear();
}

uint64_t PassingFile::Size() const noexcept
{
    LARGE_INTEGER size{};
    return m_file && GetFileSizeEx(m_file.Get(), &size) != FALSE ? static_cast<uint64_t>(size.QuadPart) : 0;
}

std::string PassingFile::Read(uint64_t start, size_t count) const
{
    std::string bytes(count, '\0');
    LARGE_INTEGER place{};
    place.QuadPart = static_cast<LONGLONG>(start);
    DWORD read = 0;
    if (!m_file || SetFilePointerEx(m_file.Get(), place, nullptr, FILE_BEGIN) == FALSE ||
        ReadFile(m_file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) == FALSE)
        return {};
    bytes.resize(read);
    return bytes;
}
