#include "client/session/ResultFile.h"

#include <windows.h>

namespace
{
// A line tells of one value, and of a string at most a million units. What is longer is no line of the dispatcher's.
constexpr uint64_t c_greatestLine = 64ULL << 20;

std::wstring FreshPath()
{
    wchar_t folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH)
        return {};
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return std::wstring(folder, length) + L"OrvResults-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(now.QuadPart) + L".jsonl";
}

UniqueHandle Create(const std::wstring& path)
{
    return UniqueHandle::FromFile(
        CreateFileW(path.c_str(), GENERIC_READ | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}
} // namespace

ResultFile::ResultFile() : m_path(FreshPath()), m_file(Create(m_path))
{
    if (!m_file)
        m_path.clear();
}

std::string ResultFile::TakeLine()
{
    LARGE_INTEGER size{};
    if (!m_file || GetFileSizeEx(m_file.Get(), &size) == FALSE)
        return {};
    const uint64_t added = static_cast<uint64_t>(size.QuadPart) - m_taken;
    if (added == 0 || added > c_greatestLine)
        return {};
    std::string text(static_cast<size_t>(added), '\0');
    LARGE_INTEGER start{};
    start.QuadPart = static_cast<LONGLONG>(m_taken);
    DWORD read = 0;
    if (SetFilePointerEx(m_file.Get(), start, nullptr, FILE_BEGIN) == FALSE ||
        ReadFile(m_file.Get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr) == FALSE)
        return {};
    text.resize(read);
    const size_t end = text.rfind('\n');
    if (end == std::string::npos)
        return {};
    m_taken += end + 1;
    text.resize(end);
    return text.substr(text.rfind('\n') + 1);
}
