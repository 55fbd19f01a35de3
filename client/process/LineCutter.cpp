#include "client/process/LineCutter.h"

#include "client/base/Text.h"

#include <utility>

std::vector<std::wstring> LineCutter::Feed(const std::string& bytes)
{
    std::vector<std::wstring> lines;
    m_rest += bytes;
    size_t start = 0;
    for (size_t end = m_rest.find('\n'); end != std::string::npos; end = m_rest.find('\n', start))
    {
        lines.push_back(Decode(m_rest.substr(start, end - start)));
        start = end + 1;
    }
    m_rest.erase(0, start);
    return lines;
}

std::wstring LineCutter::TakeRest()
{
    return Decode(std::exchange(m_rest, {}));
}

std::wstring LineCutter::Decode(std::string line)
{
    constexpr const char* byteOrderMark = "\xEF\xBB\xBF";
    if (m_isAtStart && line.rfind(byteOrderMark, 0) == 0)
        line.erase(0, 3);
    m_isAtStart = m_isAtStart && line.empty();
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return FromProgramOutput(line);
}
