#include "client/session/ResultFile.h"

#include <utility>

namespace
{
// A line tells of one value, and of a string at most a million units. What is longer is no line of the dispatcher's.
constexpr uint64_t c_greatestLine = 64ULL << 20;
constexpr const wchar_t* c_nameStart = L"OrvResults-";
constexpr const wchar_t* c_nameEnd = L".jsonl";
} // namespace

ResultFile::ResultFile() : m_file(c_nameStart, c_nameEnd) {}

ResultFile::ResultFile(PassingFile&& file) noexcept : m_file(std::move(file))
{
    SkipLines();
}

std::optional<ResultFile> ResultFile::OfOther(uint32_t clientId)
{
    std::optional<PassingFile> file = PassingFile::OfOther(c_nameStart, c_nameEnd, clientId);
    if (!file)
        return std::nullopt;
    return ResultFile(*std::move(file));
}

std::string ResultFile::TakeLine()
{
    const uint64_t size = m_file.Size();
    const uint64_t added = size - m_taken;
    if (size <= m_taken || added > c_greatestLine)
        return {};
    std::string text = m_file.Read(m_taken, static_cast<size_t>(added));
    const size_t end = text.rfind('\n');
    if (end == std::string::npos)
        return {};
    m_taken += end + 1;
    text.resize(end);
    return text.substr(text.rfind('\n') + 1);
}
