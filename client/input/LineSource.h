#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// A line of commands and the place where it stands, as "demo.txt:3"; the place is empty for what needs none.
struct ScriptLine
{
    std::wstring text;
    std::wstring where;
};

// Lines of commands, one after the other. Used by one thread.
class LineSource
{
public:
    virtual ~LineSource() = default;
    // An object that is signalled when Next will not block; null when it never does.
    virtual HANDLE Ready() const noexcept = 0;
    // The next line, without its end; nothing after the last. Throws ClientError (usage) for a line that is not
    // text, and goes on after it at the next call.
    virtual std::optional<ScriptLine> Next() = 0;
};

// The lines of the standard input, each as soon as it is there: UTF-8, or whatever a console gives, which Ctrl-Z at
// the start of a line ends.
std::unique_ptr<LineSource> StandardInputLines();

// Lines that are there already.
std::unique_ptr<LineSource> ListedLines(std::vector<ScriptLine> lines);

// The lines of a file in UTF-8 or, with a byte-order mark, UTF-16 (little-endian). Throws ClientError (usage) when it
// cannot be read or is not text.
std::vector<ScriptLine> ReadScript(const std::wstring& path);
