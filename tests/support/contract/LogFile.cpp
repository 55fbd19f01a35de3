#include "tests/support/contract/LogFile.h"

#include "tests/support/contract/TraceCapture.h"

#include <windows.h>

#include <cwctype>
#include <stdexcept>

namespace
{
// Only the line that a trace call begins has a time: its text may have further ones.
std::wstring StripTime(const std::wstring& line)
{
    const size_t first = line.find_first_not_of(L' ');
    const bool hasTime = first != std::wstring::npos && std::iswdigit(line[first]) != 0;
    return hasTime ? WithoutTime(line) : line;
}
} // namespace

std::string FileBytes(const std::wstring& path)
{
    HANDLE const file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw std::runtime_error("a file cannot be read");
    std::string bytes(GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
    CloseHandle(file);
    bytes.resize(read);
    return bytes;
}

std::vector<std::wstring> LogLines(const std::string& bytes)
{
    if (bytes.substr(0, 2) != "\xFF\xFE" || bytes.size() % 2 != 0)
        throw std::runtime_error("the log is not UTF-16LE text with a byte-order mark");
    std::vector<std::wstring> lines;
    std::wstring line;
    for (size_t i = 2; i < bytes.size(); i += 2)
    {
        const auto unit = static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                               static_cast<unsigned char>(bytes[i + 1]) << 8);
        line += unit;
        if (unit != L'\n')
            continue;
        if (line.size() < 2 || line[line.size() - 2] != L'\r')
            throw std::runtime_error("a line of the log does not end with CR LF");
        line.resize(line.size() - 2);
        lines.push_back(StripTime(line));
        line.clear();
    }
    return lines;
}
