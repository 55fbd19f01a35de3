#include "client/prompt/Completion.h"

#include "client/base/UniqueFileSearch.h"
#include "client/input/LocalWords.h"
#include "client/input/LookWords.h"
#include "client/session/Command.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace
{
constexpr std::wstring_view c_blanks = L" \t";
constexpr std::wstring_view c_indent = L"  ";
// So many are shown with all that is known of them.
constexpr size_t c_few = 12;

bool BeginsWith(std::wstring_view text, std::wstring_view start) noexcept
{
    return text.size() >= start.size() && _wcsnicmp(text.data(), start.data(), start.size()) == 0;
}

void AddIfFits(std::vector<Proposal>& proposals, const std::wstring& line, size_t at, const std::wstring& text,
               const std::wstring& shown)
{
    const std::wstring_view typed = line;
    if (BeginsWith(text, typed.substr(at)))
        proposals.push_back({at, text, shown});
}

// Every word that a line can begin with, with a blank behind it if something follows.
std::vector<Proposal> ProposeWords(const std::wstring& line, size_t at)
{
    std::vector<Proposal> proposals;
    const auto add = [&](const std::wstring& word, const std::wstring& arguments, const wchar_t* help) {
        if (help != nullptr)
            AddIfFits(proposals, line, at, arguments.empty() || arguments[0] != L' ' ? word : word + L' ',
                      word + arguments + L"  " + help);
    };
    for (const CommandWord& known : c_commandWords)
        add(known.word, known.TakesText() ? L" TEXT" : L"", known.help);
    for (const LookWord& look : c_lookWords)
        add(look.word, look.arguments, look.help);
    for (const LocalWordHelp& local : c_localWords)
        add(local.word, local.arguments, local.help);
    return proposals;
}

bool IsAssembly(std::wstring_view name) noexcept
{
    return name.size() > 4 &&
           (BeginsWith(name.substr(name.size() - 4), L".dll") || BeginsWith(name.substr(name.size() - 4), L".exe"));
}

// The assemblies, and the folders, whose path begins so; name is where its last part begins in the line.
void AddFiles(std::vector<Proposal>& proposals, const std::wstring& path, const std::wstring& line, size_t name)
{
    WIN32_FIND_DATAW found = {};
    const UniqueFileSearch search(FindFirstFileW((path + L'*').c_str(), &found));
    if (!search)
        return;
    do
    {
        const std::wstring file = found.cFileName;
        const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (file != L"." && file != L".." && (isFolder || IsAssembly(file)))
            AddIfFits(proposals, line, name, isFolder ? file + L'\\' : file, file);
    } while (FindNextFileW(search.Get(), &found) != FALSE);
}

bool IsAskable(std::wstring_view line)
{
    const std::wstring word = FirstWordOf(line);
    return std::any_of(std::begin(c_commandWords), std::end(c_commandWords),
                       [&](const CommandWord& known) { return word == known.word; }) ||
           std::any_of(std::begin(c_lookWords), std::end(c_lookWords),
                       [&](const LookWord& look) { return word == look.word; });
}

size_t NextWord(const std::wstring& line, size_t from)
{
    return std::min(line.find_first_not_of(c_blanks, std::min(line.find_first_of(c_blanks, from), line.size())),
                    line.size());
}

// Behind "time N", the first of them; nothing while N is being written.
std::optional<size_t> StartOfCommand(const std::wstring& line)
{
    const size_t start = std::min(line.find_first_not_of(c_blanks), line.size());
    if (LocalWordOf(line) != LocalWord::Time || line.find_first_of(c_blanks, start) == std::wstring::npos)
        return start;
    const size_t count = NextWord(line, start);
    if (line.find_first_of(c_blanks, count) == std::wstring::npos)
        return std::nullopt;
    return NextWord(line, count);
}

// The same for each text, with regard to case.
std::wstring CommonStart(const std::vector<Proposal>& proposals, size_t at)
{
    std::wstring common;
    bool isFirst = true;
    for (const Proposal& proposal : proposals)
    {
        if (proposal.text.empty() || proposal.at != at)
            continue;
        if (std::exchange(isFirst, false))
            common = proposal.text;
        const auto difference =
            std::mismatch(common.begin(), common.end(), proposal.text.begin(), proposal.text.end()).first;
        common.erase(difference, common.end());
    }
    return common;
}

std::vector<std::wstring> DistinctTexts(const std::vector<Proposal>& proposals)
{
    std::vector<std::wstring> texts;
    for (const Proposal& proposal : proposals)
        if (!proposal.text.empty() && std::find(texts.begin(), texts.end(), proposal.text) == texts.end())
            texts.push_back(proposal.text);
    return texts;
}

std::wstring Cut(const std::wstring& text, size_t width)
{
    return text.size() < width ? text : text.substr(0, width - std::min<size_t>(width, 4)) + L"...";
}

std::wstring Rest(size_t count)
{
    return count == 0 ? std::wstring() : std::wstring(c_indent) + L"and " + std::to_wstring(count) + L" more\n";
}

std::wstring InLines(const std::vector<Proposal>& proposals, size_t width, size_t height)
{
    std::wstring text;
    const size_t count = proposals.size() <= height ? proposals.size() : height - 1;
    for (size_t i = 0; i < count; ++i)
        text += Cut(std::wstring(c_indent) + proposals[i].shown, width) + L'\n';
    return text + Rest(proposals.size() - count);
}

std::wstring InColumns(const std::vector<std::wstring>& texts, size_t width, size_t height)
{
    size_t longest = 0;
    for (const std::wstring& text : texts)
        longest = std::max(longest, text.size());
    const size_t column = longest + c_indent.size();
    const size_t columns = std::max<size_t>((width - 1) / column, 1);
    const size_t wanted = (texts.size() + columns - 1) / columns;
    const size_t rows = wanted <= height ? wanted : height - 1;
    std::wstring text;
    size_t shown = 0;
    for (size_t row = 0; row < rows; ++row)
    {
        std::wstring line;
        for (size_t i = row; i < std::min(texts.size(), rows * columns); i += rows, ++shown)
        {
            line += c_indent;
            line += texts[i];
            line.append(longest - texts[i].size(), L' ');
        }
        line.resize(line.find_last_not_of(L' ') + 1);
        text += Cut(line, width) + L'\n';
    }
    return text + Rest(texts.size() - shown);
}
} // namespace

Completer::Completer(std::wstring folder, Ask ask) : m_folder(std::move(folder)), m_ask(std::move(ask)) {}

void Completer::SetShown(std::vector<std::wstring> shown)
{
    m_shown = std::move(shown);
}

std::vector<Proposal> Completer::Propose(const std::wstring& line) const
{
    const std::optional<size_t> start = StartOfCommand(line);
    return start ? ProposeText(line, *start) : std::vector<Proposal>();
}

// From the current directory on; a mere name also where the workbench looks. A quote may stand before the path.
std::vector<Proposal> Completer::ProposeFiles(const std::wstring& line, size_t at) const
{
    if (at < line.size() && line[at] == L'"')
        ++at;
    const std::wstring path = line.substr(at);
    const size_t separator = path.find_last_of(L"/\\:");
    const size_t name = separator == std::wstring::npos ? at : at + separator + 1;
    std::vector<Proposal> proposals;
    AddFiles(proposals, path, line, name);
    if (separator == std::wstring::npos && !m_folder.empty())
        AddFiles(proposals, m_folder + path, line, name);
    std::sort(proposals.begin(), proposals.end(), [](const Proposal& one, const Proposal& other) {
        return _wcsicmp(one.text.c_str(), other.text.c_str()) < 0;
    });
    return proposals;
}

std::vector<Proposal> Completer::ProposeText(const std::wstring& line, size_t start) const
{
    const std::wstring command = line.substr(start);
    if (command.find_first_of(c_blanks) == std::wstring::npos)
        return ProposeWords(line, start);
    const size_t text = NextWord(line, start);
    switch (LocalWordOf(command))
    {
    case LocalWord::Help:
        return ProposeWords(line, text);
    case LocalWord::Hide: {
        std::vector<Proposal> proposals;
        for (const std::wstring& shown : m_shown)
            AddIfFits(proposals, line, text, shown, shown);
        return proposals;
    }
    case LocalWord::Show:
    case LocalWord::None:
        break;
    case LocalWord::Again:
    case LocalWord::Time:
    case LocalWord::History:
    case LocalWord::Start:
    case LocalWord::Quit:
        return {};
    }
    if (FirstWordOf(command) == L"load")
        return ProposeFiles(line, text);
    const bool isShow = LocalWordOf(command) == LocalWord::Show;
    if (!isShow && !IsAskable(command))
        return {};
    // A value that is shown is what get takes.
    const std::wstring asked = isShow ? L"get " + line.substr(text) : command;
    std::vector<Proposal> proposals = m_ask(asked);
    for (Proposal& proposal : proposals)
        proposal.at = std::min(proposal.at, asked.size()) + line.size() - asked.size();
    return proposals;
}

Completed Complete(const std::wstring& line, const std::vector<Proposal>& proposals)
{
    const auto first = std::find_if(proposals.begin(), proposals.end(),
                                    [](const Proposal& proposal) { return !proposal.text.empty(); });
    if (first == proposals.end() || first->at > line.size())
        return {line, !proposals.empty()};
    const std::wstring common = CommonStart(proposals, first->at);
    const std::wstring completed = line.substr(0, first->at) + common;
    if (completed.size() < line.size() || completed == line)
        return {line, true};
    return {completed, false};
}

std::wstring ChoiceText(const std::vector<Proposal>& proposals, size_t width, size_t height)
{
    width = std::max<size_t>(width, 20);
    height = std::max<size_t>(height, 4);
    const std::vector<std::wstring> texts = DistinctTexts(proposals);
    if (proposals.size() <= c_few || texts.empty())
        return InLines(proposals, width, height);
    return InColumns(texts, width, height);
}
