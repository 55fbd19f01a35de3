#include "client/prompt/History.h"

#include "client/base/Folders.h"
#include "client/base/Text.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace
{
constexpr const wchar_t* c_pathVariable = L"ORV_CLIENT_HISTORY";
constexpr const wchar_t* c_file = L"history.txt";
// For a moment another session may have the file for itself.
constexpr unsigned c_openTries = 20;
constexpr DWORD c_openPauseMs = 10;
constexpr size_t c_longestFile = 64 << 20;

UniqueHandle Open(const std::wstring& path, DWORD access, DWORD sharing, DWORD creation) noexcept
{
    UniqueHandle file;
    for (unsigned i = 0; i < c_openTries && !file; ++i)
    {
        file = UniqueHandle::FromFile(
            CreateFileW(path.c_str(), access, sharing, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file && GetLastError() != ERROR_SHARING_VIOLATION)
            break;
        if (!file)
            Sleep(c_openPauseMs);
    }
    return file;
}

std::string ReadAll(HANDLE file)
{
    LARGE_INTEGER size = {};
    if (GetFileSizeEx(file, &size) == FALSE || size.QuadPart > static_cast<LONGLONG>(c_longestFile))
        return {};
    std::string bytes(static_cast<size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    if (ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) == FALSE)
        read = 0;
    bytes.resize(read);
    return bytes;
}

bool WriteAll(HANDLE file, const std::string& bytes) noexcept
{
    DWORD written = 0;
    return WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != FALSE &&
           written == bytes.size();
}

// What is no text is left out.
std::vector<std::wstring> LinesOf(std::string_view bytes)
{
    std::vector<std::wstring> lines;
    while (!bytes.empty())
    {
        const size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view line = bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        std::optional<std::wstring> text = FromUtf8(line);
        if (text && !text->empty())
            lines.push_back(*std::move(text));
    }
    return lines;
}

std::string BytesOf(const std::vector<std::wstring>& lines)
{
    std::string bytes;
    for (const std::wstring& line : lines)
        bytes += ToUtf8(line) + "\r\n";
    return bytes;
}

void KeepLast(std::vector<std::wstring>& lines)
{
    if (lines.size() > History::c_keptLines)
        lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(History::c_keptLines));
}

// Alone with the file, so that nothing is lost that another session adds.
void Cut(const std::wstring& path)
{
    const UniqueHandle file = Open(path, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING);
    if (!file)
        return;
    std::vector<std::wstring> lines = LinesOf(ReadAll(file.Get()));
    KeepLast(lines);
    if (SetFilePointer(file.Get(), 0, nullptr, FILE_BEGIN) == 0 && WriteAll(file.Get(), BytesOf(lines)))
        SetEndOfFile(file.Get());
}
} // namespace

History::History(std::wstring path) : m_path(std::move(path))
{
    if (m_path.empty())
        return;
    {
        const UniqueHandle file =
            Open(m_path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING);
        if (!file)
            return;
        m_lines = LinesOf(ReadAll(file.Get()));
    }
    if (m_lines.size() >= 2 * c_keptLines)
        Cut(m_path);
    KeepLast(m_lines);
}

void History::Add(const std::wstring& line)
{
    if (line.empty() || (!m_lines.empty() && m_lines.back() == line))
        return;
    m_lines.push_back(line);
    KeepLast(m_lines);
    if (m_path.empty())
        return;
    CreateDirectoryW(FolderOf(m_path).c_str(), nullptr);
    const UniqueHandle file =
        Open(m_path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_ALWAYS);
    if (file)
        WriteAll(file.Get(), BytesOf({line}));
}

std::wstring HistoryPath()
{
    const std::wstring named = EnvironmentValue(c_pathVariable);
    if (!named.empty())
        return named == L"off" ? std::wstring() : named;
    const std::wstring folder = KeptFilesFolder();
    return folder.empty() ? std::wstring() : folder + c_file;
}
