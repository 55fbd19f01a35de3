#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// One of the words that stand for the workbench's commands.
struct CommandWord
{
    const wchar_t* word;
    // The event that posts it (CWBEventIndex).
    uint32_t event;
    // What the command does, for help.
    const wchar_t* help;

    // The workbench passes the text on.
    bool TakesText() const noexcept;
    // The workbench passes the breakpoint step before its final response.
    bool PassesBreakpoint() const noexcept;
};

constexpr size_t c_commandWordCount = 8;
extern const CommandWord c_commandWords[c_commandWordCount];
const CommandWord& StopWord() noexcept;

// A command as the user wrote it: the word, and the text after the blanks that follow it, unread and unchanged.
struct Command
{
    const CommandWord* word = nullptr;
    std::wstring text;
    // What the user wrote instead, when word and text were made from it.
    std::wstring asked = {};

    // What the user wrote, as a word and a text.
    std::wstring ShownWord() const;
    std::wstring ShownText() const;
};

// Reads one line (without its end). The word's case does not matter; blanks before it are skipped. Throws
// SessionError (bad request) for a line without a known word, and for a text that does not fit the control block or
// holds a NUL.
Command ParseCommand(std::wstring_view line);

// The first word of a line in lower case; empty when there is none.
std::wstring FirstWordOf(std::wstring_view line);

// The greatest length of a command text in UTF-16 units.
size_t CommandTextLimit() noexcept;
