#include "client/input/LocalWords.h"

#include "client/base/SessionError.h"
#include "client/console/ClientError.h"
#include "client/input/LookWords.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

const LocalWordHelp c_localWords[c_localWordCount] = {
    {LocalWord::Again, L"again", L"", L"repeat the last command", L"again"},
    {LocalWord::Time, L"time", L" N COMMAND", L"carry a command out N times: minimum, median and maximum",
     L"time 100 invoke System.Math.Max(1, 2)"},
    {LocalWord::Show, L"show", L" [VALUE]", L"show a value after each command; without one, what is shown",
     L"show System.DateTime.Now"},
    {LocalWord::Hide, L"hide", L" [VALUE]", L"show it no more; without one, none", L"hide System.DateTime.Now"},
    {LocalWord::History, L"history", L" [PART]", L"list the commands of this session and of earlier ones",
     L"history load"},
    {LocalWord::Start, L"start", L"", L"start a new workbench after the end of the last one", L"start"},
    {LocalWord::Help, L"help", L" [WORD]", L"show this list, or what a word does, with an example", L"help create"},
    {LocalWord::Quit, L"quit", L", exit", L"end the client", L"quit"},
    {LocalWord::Quit, L"exit", L"", nullptr, L"exit"},
};

namespace
{
constexpr std::wstring_view c_blanks = L" \t";
} // namespace

LocalWord LocalWordOf(std::wstring_view line)
{
    const std::wstring word = FirstWordOf(line);
    const auto* const known = std::find_if(std::begin(c_localWords), std::end(c_localWords),
                                           [&](const LocalWordHelp& local) { return word == local.word; });
    return known == std::end(c_localWords) ? LocalWord::None : known->meaning;
}

std::wstring TextOf(std::wstring_view line)
{
    const size_t word = std::min(line.find_first_not_of(c_blanks), line.size());
    const size_t blank = std::min(line.find_first_of(c_blanks, word), line.size());
    const size_t start = std::min(line.find_first_not_of(c_blanks, blank), line.size());
    line.remove_prefix(start);
    return std::wstring(line.substr(0, line.find_last_not_of(c_blanks) + 1));
}

bool IsEmptyOrComment(std::wstring_view line)
{
    const size_t start = line.find_first_not_of(c_blanks);
    return start == std::wstring_view::npos || line[start] == L'#';
}

std::wstring At(const std::wstring& where, const std::wstring& message)
{
    return where.empty() ? message : where + L": " + message;
}

Command ParseLine(const ScriptLine& line)
{
    try
    {
        const std::optional<Command> look = ParseLook(line.text);
        return look ? *look : ParseCommand(line.text);
    }
    catch (const SessionError& error)
    {
        throw SessionError(error.Failure(), At(line.where, error.Message()));
    }
}

TimedCommand ParseTimed(const ScriptLine& line)
{
    constexpr size_t greatestDigits = 6;
    const std::wstring text = TextOf(line.text);
    const size_t end = std::min(text.find_first_of(c_blanks), text.size());
    const std::wstring digits = text.substr(0, end);
    const bool isNumber = !digits.empty() && digits.size() <= greatestDigits &&
                          digits.find_first_not_of(L"0123456789") == std::wstring::npos && std::stoul(digits) != 0;
    if (!isNumber || end == text.size())
        throw ClientError(ExitStatus::Usage, At(line.where, L"expected time N COMMAND"));
    // The text of a command goes to its last blank.
    Command command = ParseLine({line.text.substr(line.text.find(digits) + digits.size()), line.where});
    command.asked = line.text.substr(line.text.find_first_not_of(c_blanks));
    return {std::stoul(digits), std::move(command)};
}

void CheckLine(const ScriptLine& line)
{
    if (IsEmptyOrComment(line.text))
        return;
    const LocalWord word = LocalWordOf(line.text);
    if (word == LocalWord::Time)
        ParseTimed(line);
    else if (word == LocalWord::None)
        ParseLine(line);
}
