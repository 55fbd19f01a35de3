#include "client/picture/TraceLogReader.h"

#include "client/base/Text.h"
#include "OrvProfiler/foundation/Trace.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace
{
// The beginning tells the encoding.
constexpr size_t c_probeBytes = 512;
// No line of a log is longer; what is, is no log.
constexpr size_t c_longestLineBytes = size_t{1} << 20;
// What has no line of a log up to there is none.
constexpr uint64_t c_beginningBytes = uint64_t{1} << 20;
constexpr size_t c_chunkBytes = 65536;
// What goes on for longer than a command text can is cut.
constexpr size_t c_longestTextUnits = 40000;
constexpr wchar_t c_byteOrderMark = 0xFEFF;
constexpr std::string_view c_utf16Mark = "\xFF\xFE";
constexpr std::string_view c_utf8Mark = "\xEF\xBB\xBF";

bool StartsWith(std::string_view text, std::string_view start) noexcept
{
    return text.substr(0, start.size()) == start;
}

bool IsDigit(wchar_t c) noexcept
{
    return c >= L'0' && c <= L'9';
}

// "CHost::Run", and the entry.
bool IsFunction(std::wstring_view name) noexcept
{
    return name == L"wmain" || (!name.empty() && name[0] == L'C' && name.find(L"::") != std::wstring_view::npos);
}

// "1830182 CHost::Run Sleeping": the time in six places or more, the function, the text.
std::optional<TracedLine> ParseTracedLine(std::wstring_view line)
{
    constexpr size_t mostDigits = 15;
    const size_t start = line.find_first_not_of(L' ');
    if (start == std::wstring_view::npos)
        return std::nullopt;
    line.remove_prefix(start);
    TracedLine parsed;
    size_t digits = 0;
    for (; digits < line.size() && IsDigit(line[digits]); ++digits)
        parsed.timeMs = parsed.timeMs * 10 + (line[digits] - L'0');
    if (digits == 0 || digits > mostDigits || digits + 1 >= line.size() || line[digits] != L' ')
        return std::nullopt;
    const size_t nameEnd = std::min(line.find(L' ', digits + 1), line.size());
    const std::wstring_view name = line.substr(digits + 1, nameEnd - digits - 1);
    if (!IsFunction(name))
        return std::nullopt;
    parsed.function = name;
    parsed.text = line.substr(std::min(nameEnd + 1, line.size()));
    return parsed;
}
} // namespace

void TraceLogReader::Feed(std::string_view bytes)
{
    m_bytes += bytes;
    if (m_encoding == Encoding::Unknown && m_bytes.size() < c_probeBytes)
        return;
    FindEncoding();
    TakeLines(false);
}

void TraceLogReader::FeedFile(HANDLE file)
{
    std::string chunk(c_chunkBytes, '\0');
    for (uint64_t position = 0;;)
    {
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(position);
        place.OffsetHigh = static_cast<DWORD>(position >> 32);
        DWORD taken = 0;
        if (ReadFile(file, chunk.data(), static_cast<DWORD>(chunk.size()), &taken, &place) == FALSE || taken == 0)
            return;
        position += taken;
        Feed({chunk.data(), taken});
        if (m_lineCount == 0 && position > c_beginningBytes)
            return;
    }
}

void TraceLogReader::End()
{
    FindEncoding();
    TakeLines(true);
    Emit();
}

// Most of a log is ASCII: in UTF-16 every second byte is then 0, also where the mark is missing. A part that begins
// in the middle of a character is one byte off.
void TraceLogReader::FindEncoding()
{
    if (m_encoding != Encoding::Unknown)
        return;
    const std::string_view probe(m_bytes.data(), std::min(m_bytes.size(), c_probeBytes));
    const auto zeros = [&](size_t first) {
        size_t count = 0;
        for (size_t i = first; i < probe.size(); i += 2)
            count += probe[i] == '\0' ? 1U : 0U;
        return count;
    };
    const size_t half = probe.size() / 4;
    const bool isShifted = half != 0 && zeros(0) > half;
    m_encoding = StartsWith(probe, c_utf16Mark) || isShifted || (half != 0 && zeros(1) > half) ? Encoding::Utf16
                                                                                               : Encoding::Bytes;
    if (m_encoding == Encoding::Utf16)
        m_bytes.erase(0, StartsWith(m_bytes, c_utf16Mark) ? c_utf16Mark.size() : (isShifted ? 1U : 0U));
    else if (StartsWith(m_bytes, c_utf8Mark))
        m_bytes.erase(0, c_utf8Mark.size());
}

void TraceLogReader::TakeLines(bool isEnd)
{
    const bool isWide = m_encoding == Encoding::Utf16;
    const size_t unit = isWide ? sizeof(wchar_t) : 1;
    const std::string_view lineEnd = isWide ? std::string_view("\n\0", 2) : std::string_view("\n");
    size_t start = 0;
    size_t found = 0;
    const std::string_view bytes = m_bytes;
    for (size_t from = 0; (found = bytes.find(lineEnd, from)) != std::string_view::npos; from = found + unit)
    {
        // The low byte of one unit and the high byte of the one before.
        if ((found - start) % unit != 0)
        {
            found = found + 1 - unit;
            continue;
        }
        FeedLine(Decode(bytes.substr(start, found - start)));
        start = found + unit;
    }
    if (isEnd || bytes.size() - start > c_longestLineBytes)
    {
        FeedLine(Decode(bytes.substr(start)));
        start = bytes.size();
    }
    m_bytes.erase(0, start);
}

std::wstring TraceLogReader::Decode(std::string_view bytes) const
{
    if (m_encoding != Encoding::Utf16)
        return FromProgramOutput(bytes);
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

void TraceLogReader::FeedLine(std::wstring_view line)
{
    while (!line.empty() && line.front() == c_byteOrderMark)
        line.remove_prefix(1);
    while (!line.empty() && line.back() == L'\r')
        line.remove_suffix(1);
    while (!line.empty())
        line = TakePart(line);
}

// A line that was too long was cut when it was traced, its end too: what follows it is returned.
std::wstring_view TraceLogReader::TakePart(std::wstring_view line)
{
    std::wstring_view part = line;
    if (const std::optional<TracedLine> begun = ParseTracedLine(line))
    {
        Emit();
        m_line = TracedLine{begun->timeMs, begun->function, {}};
        ++m_lineCount;
        m_tracedUnits = line.size() - begun->text.size();
        part.remove_prefix(m_tracedUnits);
    }
    else if (!m_line)
        m_line = TracedLine();
    else if (!m_line->text.empty())
    {
        m_line->text += L'\n';
        ++m_tracedUnits;
    }
    const size_t room = c_traceSlotLength - std::min<size_t>(m_tracedUnits, c_traceSlotLength);
    const bool isCut = part.size() > room && ParseTracedLine(part.substr(room));
    const std::wstring_view kept = isCut ? part.substr(0, room) : part;
    m_tracedUnits += kept.size();
    if (m_line->text.size() < c_longestTextUnits)
        m_line->text += kept;
    return part.substr(kept.size());
}

void TraceLogReader::Emit()
{
    if (m_line && !m_line->text.empty())
        m_receiver(*m_line);
    m_line.reset();
    m_tracedUnits = 0;
}
