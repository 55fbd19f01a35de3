#include "client/session/Command.h"

#include "client/base/ClientError.h"
#include "OrvProfiler/objects/WBEvent.h"
#include "OrvProfiler/share/ShareLayout.h"

#include <algorithm>
#include <cwctype>
#include <iterator>

const CommandWord c_commandWords[c_commandWordCount] = {
    {L"load", EV_LOAD, false, L" TEXT", L"load an assembly"},
    {L"create", EV_CREATE, true, L" TEXT", L"create an instance of a type"},
    {L"invoke", EV_INVOKE, true, L" TEXT", L"call a method"},
    {L"get", c_commandGetProperty, true, L" TEXT", L"read a property"},
    {L"set", c_commandSetProperty, true, L" TEXT", L"write a property"},
    {L"delete", EV_DELETE, false, L" TEXT", L"forget an instance"},
    {L"reset", EV_RESET, false, L"", L"forget everything"},
    {L"stop", EV_STOP, false, L"", L"end the workbench"},
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

std::wstring HelpLine(const std::wstring& words, const wchar_t* help)
{
    constexpr size_t helpColumn = 16;
    return L"  " + words + std::wstring(helpColumn - std::min(words.size(), helpColumn), L' ') + help + L"\n";
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

std::wstring CommandHelp()
{
    std::wstring help;
    for (const CommandWord& known : c_commandWords)
        help += HelpLine(std::wstring(known.word) + known.argument, known.help);
    help += HelpLine(L"start", L"start a new workbench after the end of the last one");
    help += HelpLine(L"help", L"show this list");
    help += HelpLine(L"quit, exit", L"end the client");
    return help;
}

size_t CommandTextLimit() noexcept
{
    // One unit is the NUL's.
    return c_commandTextCapacity - 1;
}
