#include "client/base/PassingFile.h"

#include "client/base/UniqueFileSearch.h"

#include <windows.h>

#include <utility>

namespace
{
// With the separator; empty when there is none.
std::wstring TemporaryFolder()
{
    wchar_t folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    return length <= MAX_PATH ? std::wstring(folder, length) : std::wstring();
}

std::wstring FreshPath(const wchar_t* start, const wchar_t* end)
{
    const std::wstring folder = TemporaryFolder();
    if (folder.empty())
        return {};
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return folder + start + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(now.QuadPart) + end;
}

// Empty when there is none, or more than one.
std::wstring OnlyPathOf(const wchar_t* start, const wchar_t* end, uint32_t processId)
{
    const std::wstring folder = TemporaryFolder();
    WIN32_FIND_DATAW found{};
    const UniqueFileSearch search(
        FindFirstFileW((folder + start + std::to_wstring(processId) + L"-*" + end).c_str(), &found));
    if (!search)
        return {};
    const std::wstring path = folder + found.cFileName;
    return FindNextFileW(search.Get(), &found) == FALSE ? path : std::wstring();
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

PassingFile::PassingFile(std::wstring&& path, UniqueHandle&& file) noexcept
    : m_path(std::move(path)), m_file(std::move(file))
{
}

std::optional<PassingFile> PassingFile::OfOther(const wchar_t* start, const wchar_t* end, uint32_t processId)
{
    std::wstring path = OnlyPathOf(start, end, processId);
    UniqueHandle file = UniqueHandle::FromFile(CreateFileW(path.c_str(), GENERIC_READ,
                                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                           nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return std::nullopt;
    return PassingFile(std::move(path), std::move(file));
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
