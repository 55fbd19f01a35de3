#include "client/input/CommandHelp.h"

#include "client/input/LookWords.h"
#include "client/session/Command.h"

#include <algorithm>

namespace
{
std::wstring HelpLine(const std::wstring& words, const wchar_t* help)
{
    constexpr size_t helpColumn = 29;
    return L"  " + words + std::wstring(helpColumn - std::min(words.size(), helpColumn), L' ') + help + L"\n";
}
} // namespace

std::wstring CommandHelp()
{
    std::wstring help;
    for (const CommandWord& known : c_commandWords)
        help += HelpLine(std::wstring(known.word) + (known.TakesText() ? L" TEXT" : L""), known.help);
    for (const LookWord& look : c_lookWords)
        help += HelpLine(std::wstring(look.word) + look.arguments, look.help);
    help += HelpLine(L"again", L"repeat the last command");
    help += HelpLine(L"time N COMMAND", L"carry a command out N times: minimum, median and maximum");
    help += HelpLine(L"start", L"start a new workbench after the end of the last one");
    help += HelpLine(L"help", L"show this list");
    help += HelpLine(L"quit, exit", L"end the client");
    return help;
}
