#include "client/process/LineCutter.h"

#include "client/base/Text.h"

#include <utility>

namespace
{
// How many bytes there are before a UTF-8 character at the end that is not complete.
size_t CompleteBytes(const std::string& text) noexcept
{
    constexpr size_t longest = 4;
    for (size_t length = 1; length < longest && length <= text.size(); ++length)
    {
        const auto byte = static_cast<unsigned char>(text[text.size() - length]);
        const bool isContinuation = (byte & 0xC0) == 0x80;
        if (isContinuation)
            continue;
        const size_t needed = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        return needed > length ? text.size() - length : text.size();
    }
    return text.size();
}
} // namespace

std::vector<std::wstring> LineCutter::Feed(const std::string& bytes)
{
    std::vector<std::wstring> lines;
    m_rest += bytes;
    size_t start = 0;
    for (size_t end = m_rest.find('\n'); end != std::string::npos; end = m_rest.find('\n', start))
    {
        std::wstring line = Decode(m_rest.substr(start, end - start));
        if (!std::exchange(m_isTaken, false) || !line.empty())
            lines.push_back(std::move(line));
        start = end + 1;
    }
    m_rest.erase(0, start);
    return lines;
}

std::wstring LineCutter::TakeRest()
{
    m_isTaken = m_isTaken || HasRest();
    return Decode(std::exchange(m_rest, {}));
}

std::wstring LineCutter::TakePartial()
{
    std::string kept = m_rest.substr(CompleteBytes(m_rest));
    m_rest.resize(m_rest.size() - kept.size());
    std::wstring text = TakeRest();
    m_rest = std::move(kept);
    return text;
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
