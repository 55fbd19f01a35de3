#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// A line of commands and the place where it stands, as "demo.txt:3"; the place is empty for what needs none.
struct ScriptLine
{
    std::wstring text;
    std::wstring where;
};

enum class LineState
{
    // There is a line.
    Taken,
    // None yet: it is to be asked for again.
    Pending,
    // There is no further one.
    Ended,
};

// Lines of commands, one after the other. Used by one thread, but for WriteBeside.
class LineSource
{
public:
    virtual ~LineSource() = default;
    // Asks for a line, of a user by a prompt. Nothing while one is asked for.
    virtual void Begin() {}
    // An object that is signalled when Next will not block; null when it never does.
    virtual HANDLE Ready() const noexcept = 0;
    // After Begin: the next line, without its end. Throws ClientError (usage) for a line that is not text, and goes
    // on after it at the next call.
    virtual LineState Next(ScriptLine& line) = 0;
    // Writes something where the user may be typing a line, which stays whole: it is asked for again with what he had
    // typed. Any thread.
    virtual void WriteBeside(const std::function<void()>& write) { write(); }
    // Drops what the user has typed of a line.
    virtual void Drop() {}
};

constexpr std::wstring_view c_prompt = L"orv> ";

// The lines of the standard input, each as soon as it is there: UTF-8, or whatever a console gives, which Ctrl-Z at
// the start of a line ends. With a prompt for each on the standard output, if it is to prompt.
std::unique_ptr<LineSource> StandardInputLines(bool prompts);

// Lines that are there already.
std::unique_ptr<LineSource> ListedLines(std::vector<ScriptLine> lines);

// The lines of a file in UTF-8 or, with a byte-order mark, UTF-16 (little-endian). Throws ClientError (usage) when it
// cannot be read or is not text.
std::vector<ScriptLine> ReadScript(const std::wstring& path);
