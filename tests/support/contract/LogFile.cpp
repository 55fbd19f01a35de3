#include "tests/support/contract/LogFile.h"

#include "tests/support/contract/TraceCapture.h"

#include <cwctype>
#include <stdexcept>

namespace
{
// A traced text may have several lines; only the first begins with a time.
std::wstring StripTime(const std::wstring& line)
{
    const size_t first = line.find_first_not_of(L' ');
    const bool hasTime = first != std::wstring::npos && std::iswdigit(line[first]) != 0;
    return hasTime ? WithoutTime(line) : line;
}
} // namespace

std::wstring LogText(const std::string& bytes)
{
    if (bytes.substr(0, 2) != "\xFF\xFE" || bytes.size() % 2 != 0)
        throw std::runtime_error("the log is not UTF-16LE text with a byte-order mark");
    std::wstring text;
    for (size_t i = 2; i < bytes.size(); i += 2)
        text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1])
                                                                                << 8);
    return text;
}

std::vector<std::wstring> LogLines(const std::string& bytes)
{
    std::vector<std::wstring> lines;
    std::wstring line;
    for (const wchar_t unit : LogText(bytes))
    {
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
