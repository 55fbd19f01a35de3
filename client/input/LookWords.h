#pragma once

#include "client/session/Command.h"

#include <optional>
#include <string>
#include <string_view>

// The words that ask about types and objects. What they ask goes to the dispatcher as a call of its public type for
// questions, by the command invoke.
struct LookWord
{
    const wchar_t* word;
    // What follows it, for help.
    const wchar_t* arguments;
    const wchar_t* help;
};

constexpr size_t c_lookWordCount = 5;
extern const LookWord c_lookWords[c_lookWordCount];

// The command for a line that begins with such a word, its case does not matter; nothing for any other line. Throws
// SessionError (bad request) when what follows the word is not what it takes.
std::optional<Command> ParseLook(std::wstring_view line);

// The command that asks one of the type's other questions, "Complete", about a text. What the user has asked for is
// shown in its place. Throws SessionError (bad request) when the text is too long.
Command LookCommand(const wchar_t* question, const std::wstring& text, const std::wstring& asked);
