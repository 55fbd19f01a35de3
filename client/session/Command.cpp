#include "client/session/Command.h"

#include "client/base/SessionError.h"
#include "OrvProfiler/protocol/ManagedMethods.h"
#include "OrvProfiler/share/ShareLayout.h"

#include <algorithm>
#include <cwctype>
#include <iterator>

const CommandWord c_commandWords[c_commandWordCount] = {
    {L"load", EV_LOAD, L"load an assembly"},
    {L"create", EV_CREATE, L"create an instance of a type"},
    {L"invoke", EV_INVOKE, L"call a method"},
    {L"get", c_commandGetProperty, L"read a property"},
    {L"set", c_commandSetProperty, L"write a property"},
    {L"delete", EV_DELETE, L"forget an instance"},
    {L"reset", EV_RESET, L"forget everything"},
    {L"stop", EV_STOP, L"end the workbench"},
};

namespace
{
constexpr std::wstring_view c_blanks = L" \t";

std::wstring Lower(std::wstring_view text)
{
    std::wstring lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
    return lower;
}

std::wstring KnownWords()
{
    std::wstring words;
    for (const CommandWord& known : c_commandWords)
        words += (words.empty() ? L"" : L", ") + std::wstring(known.word);
    return words;
}

const CommandWord& FindWord(std::wstring_view word)
{
    const std::wstring lower = Lower(word);
    for (const CommandWord& known : c_commandWords)
        if (lower == known.word)
            return known;
    throw SessionError(SessionFailure::BadRequest,
                       L"unknown command \"" + std::wstring(word) + L"\"; the commands are " + KnownWords());
}

void CheckText(std::wstring_view text)
{
    if (text.size() > CommandTextLimit())
        throw SessionError(SessionFailure::BadRequest,
                           L"the command text has " + std::to_wstring(text.size()) + L" characters, at most " +
                               std::to_wstring(CommandTextLimit()) + L" fit the control block");
    if (text.find(L'\0') != std::wstring_view::npos)
        throw SessionError(SessionFailure::BadRequest,
                           L"the command text holds a NUL character, which would end it there");
}
} // namespace

bool CommandWord::TakesText() const noexcept
{
    return c_workbenchCommands[event].takesText;
}

bool CommandWord::PassesBreakpoint() const noexcept
{
    return c_workbenchCommands[event].passesBreakpoint;
}

std::wstring Command::ShownWord() const
{
    return asked.empty() ? word->word : FirstWordOf(asked);
}

std::wstring Command::ShownText() const
{
    if (asked.empty())
        return text;
    const size_t blank = std::min(asked.find_first_of(c_blanks), asked.size());
    return asked.substr(std::min(asked.find_first_not_of(c_blanks, blank), asked.size()));
}

const CommandWord& StopWord() noexcept
{
    return *std::find_if(std::begin(c_commandWords), std::end(c_commandWords),
                         [](const CommandWord& known) { return known.event == EV_STOP; });
}

Command ParseCommand(std::wstring_view line)
{
    const size_t wordStart = std::min(line.find_first_not_of(c_blanks), line.size());
    line.remove_prefix(wordStart);
    const size_t wordEnd = std::min(line.find_first_of(c_blanks), line.size());
    const CommandWord& word = FindWord(line.substr(0, wordEnd));
    line.remove_prefix(wordEnd);
    line.remove_prefix(std::min(line.find_first_not_of(c_blanks), line.size()));
    CheckText(line);
    return Command{&word, std::wstring(line)};
}

std::wstring FirstWordOf(std::wstring_view line)
{
    line.remove_prefix(std::min(line.find_first_not_of(c_blanks), line.size()));
    return Lower(line.substr(0, line.find_first_of(c_blanks)));
}

size_t CommandTextLimit() noexcept
{
    // One unit is the NUL's.
    return c_commandTextCapacity - 1;
}
