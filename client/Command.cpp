#include "client/Command.h"

#include "client/ClientError.h"
#include "OrvProfiler/ShareLayout.h"
#include "OrvProfiler/WBEvent.h"

#include <algorithm>
#include <cwctype>

const CommandWord c_commandWords[c_commandWordCount] = {
    {L"load", EV_LOAD, false, L"load an assembly"},
    {L"create", EV_CREATE, true, L"create an instance of a type"},
    {L"invoke", EV_INVOKE, true, L"call a method"},
    {L"get", c_commandGetProperty, true, L"read a property"},
    {L"set", c_commandSetProperty, true, L"write a property"},
    {L"delete", EV_DELETE, false, L"forget an instance"},
    {L"reset", EV_RESET, false, L"forget everything"},
    {L"stop", EV_STOP, false, L"end the workbench"},
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
    throw ClientError(ExitStatus::Usage,
                      L"unknown command \"" + std::wstring(word) + L"\"; the commands are " + KnownWords());
}

void CheckText(std::wstring_view text)
{
    if (text.size() > CommandTextLimit())
        throw ClientError(ExitStatus::Usage, L"the command text has " + std::to_wstring(text.size()) +
                                                 L" characters, at most " + std::to_wstring(CommandTextLimit()) +
                                                 L" fit the control block");
    if (text.find(L'\0') != std::wstring_view::npos)
        throw ClientError(ExitStatus::Usage, L"the command text holds a NUL character, which would end it there");
}
} // namespace

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

size_t CommandTextLimit() noexcept
{
    // One unit is the NUL's.
    return c_commandTextCapacity - 1;
}
