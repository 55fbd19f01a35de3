#include "client/input/CommandHelp.h"

#include "client/input/LocalWords.h"
#include "client/input/LookWords.h"
#include "client/session/Command.h"

#include <algorithm>
#include <iterator>

namespace
{
std::wstring HelpLine(const std::wstring& words, const wchar_t* help)
{
    constexpr size_t helpColumn = 29;
    return L"  " + words + std::wstring(helpColumn - std::min(words.size(), helpColumn), L' ') + help + L"\n";
}

std::wstring LineOf(const CommandWord& known)
{
    return HelpLine(std::wstring(known.word) + (known.TakesText() ? L" TEXT" : L""), known.help);
}

std::wstring LineOf(const LookWord& look)
{
    return HelpLine(std::wstring(look.word) + look.arguments, look.help);
}

std::wstring LineOf(const LocalWordHelp& local)
{
    return local.help == nullptr ? std::wstring() : HelpLine(std::wstring(local.word) + local.arguments, local.help);
}

template <class Words>
std::wstring LineFor(const Words& words, const std::wstring& word)
{
    const auto* const known =
        std::find_if(std::begin(words), std::end(words), [&](const auto& each) { return word == each.word; });
    return known == std::end(words) ? std::wstring() : LineOf(*known);
}
} // namespace

std::wstring CommandHelp()
{
    std::wstring help;
    for (const CommandWord& known : c_commandWords)
        help += LineOf(known);
    for (const LookWord& look : c_lookWords)
        help += LineOf(look);
    for (const LocalWordHelp& local : c_localWords)
        help += LineOf(local);
    return help;
}

std::wstring WordHelp(std::wstring_view word)
{
    const std::wstring lower = FirstWordOf(word);
    std::wstring help = LineFor(c_commandWords, lower) + LineFor(c_lookWords, lower);
    if (!help.empty())
        return help;
    const LocalWord meaning = LocalWordOf(lower);
    const auto* const local = std::find_if(std::begin(c_localWords), std::end(c_localWords),
                                           [&](const LocalWordHelp& each) { return each.meaning == meaning; });
    return local == std::end(c_localWords) ? std::wstring() : LineOf(*local) + ExampleLine(local->example);
}

std::wstring ExampleLine(std::wstring_view example)
{
    return L"  for example: " + std::wstring(example) + L"\n";
}
