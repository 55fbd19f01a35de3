#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <memory>
#include <string>
#include <vector>

// A line that the user edits, by the console's own means: its keys, its history. Standard input and output have to be
// consoles. Belongs to one thread, except BreakOff. One per process.
//
// The console gives a line only when it is complete, but there are keys for which it comes back early: Tab, and one
// that nobody types and BreakOff presses. The line can then be begun again where it was.
class ConsoleLine
{
public:
    enum class End
    {
        // Enter: before is the line.
        Line,
        Tab,
        // By BreakOff, or by Ctrl-C: Windows' console then gives up what was typed.
        BrokenOff,
        // Ctrl-Z or Ctrl-D in an empty line, or no console any more.
        Closed,
    };

    struct Typed
    {
        End end = End::Closed;
        // What stands before the cursor, and behind it.
        std::wstring before;
        std::wstring after;
    };

    ConsoleLine();
    // Gives the console back its mode. A read that is under way ends with the process.
    ~ConsoleLine();
    ConsoleLine(const ConsoleLine&) = delete;
    ConsoleLine& operator=(const ConsoleLine&) = delete;

    // Makes these the lines that the arrow keys bring back, the last one first. Before the first Begin.
    void Remember(const std::vector<std::wstring>& lines);

    // Writes prompt and text, and lets the user edit the text; the cursor stands before "after".
    void Begin(std::wstring_view prompt, const std::wstring& before, const std::wstring& after);
    bool IsBegun() const noexcept { return m_isBegun; }
    // Signalled when the line has an end, of whatever kind.
    HANDLE Ready() const noexcept;
    // Waits for the end. The cursor stands where the user left it; after Line at the start of a line.
    Typed Take();

    // Ends a line that is begun as if the user had pressed a key for it, and waits until it has ended. Any thread.
    void BreakOff() noexcept;

    // Takes the line and its prompt off the screen, after Take; or, where their place is not certain, goes to a new
    // line below.
    void Erase(const Typed& typed) const;

private:
    struct Reader;

    std::wstring TakeAfter(const std::wstring& told) const;

    std::shared_ptr<Reader> m_reader;
    UniqueHandle m_output;
    DWORD m_oldMode = 0;
    size_t m_promptSize = 0;
    bool m_isBegun = false;
};
