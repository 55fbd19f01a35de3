#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// A line of a trace log, taken apart. A text of several lines is one.
struct TracedLine
{
    double timeMs = 0;
    // Empty where the beginning of the line is missing.
    std::wstring function;
    std::wstring text;
};

// Reads a trace log, whatever became of it on its way: UTF-16 with and without its byte-order mark, UTF-8, or the
// system's code page; cut off at either end.
class TraceLogReader
{
public:
    // Gets each line that has a text, without its end.
    using Receiver = std::function<void(const TracedLine& line)>;

    explicit TraceLogReader(Receiver receiver) : m_receiver(std::move(receiver)) {}

    // Takes the next bytes of the file.
    void Feed(std::string_view bytes);
    // Takes a line without its end.
    void FeedLine(std::wstring_view line);
    // Takes an open file from its beginning on, as far as it goes; of one that has no line of a log in its first
    // part, no more than that.
    void FeedFile(HANDLE file);
    // There are no more: the last line ends here.
    void End();

    // How many lines were of the form of a trace log.
    size_t LineCount() const noexcept { return m_lineCount; }

private:
    enum class Encoding
    {
        Unknown,
        Utf16,
        Bytes,
    };

    void FindEncoding();
    void TakeLines(bool isEnd);
    std::wstring Decode(std::string_view bytes) const;
    std::wstring_view TakePart(std::wstring_view line);
    void Emit();

    const Receiver m_receiver;
    Encoding m_encoding = Encoding::Unknown;
    std::string m_bytes;
    // The line that may go on, and its length as it was traced.
    std::optional<TracedLine> m_line;
    size_t m_tracedUnits = 0;
    size_t m_lineCount = 0;
};
