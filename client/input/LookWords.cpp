#include "client/input/LookWords.h"

#include "client/base/SessionError.h"

#include <algorithm>
#include <iterator>
#include <vector>

const LookWord c_lookWords[c_lookWordCount] = {
    {L"types", L" [PATTERN]", L"list the public types of the loaded assemblies"},
    {L"members", L" WHAT [PATTERN]", L"list the public members of a type or an instance"},
    {L"instances", L"", L"list what was made"},
    {L"find", L" PATTERN", L"list members by name, or by what they take and give: string -> double"},
    {L"dump", L" VALUE [DEPTH [FIRST]]", L"show an object with its fields and properties, and theirs"},
};

namespace
{
constexpr std::wstring_view c_blanks = L" \t";
constexpr size_t c_greatestDigits = 9;
// The dispatcher's public type for questions.
constexpr const wchar_t* c_call = L"invoke OrvWorkBench.Look.";

std::wstring_view Trimmed(std::wstring_view text)
{
    const size_t start = std::min(text.find_first_not_of(c_blanks), text.size());
    text.remove_prefix(start);
    return text.substr(0, text.find_last_not_of(c_blanks) + 1);
}

// The end of the first argument: the first blank that is in no brackets and no string.
size_t EndOfArgument(std::wstring_view text) noexcept
{
    int depth = 0;
    wchar_t quote = L'\0';
    for (size_t i = 0; i < text.size(); ++i)
    {
        const wchar_t c = text[i];
        if (quote != L'\0')
        {
            if (c == L'\\')
                ++i;
            else if (c == quote)
                quote = L'\0';
        }
        else if (c == L'"' || c == L'\'')
            quote = c;
        else if (std::wstring_view(L"([{<").find(c) != std::wstring_view::npos)
            ++depth;
        else if (std::wstring_view(L")]}>").find(c) != std::wstring_view::npos)
            --depth;
        else if (depth <= 0 && c_blanks.find(c) != std::wstring_view::npos)
            return i;
    }
    return text.size();
}

std::wstring_view TakeArgument(std::wstring_view& text)
{
    const std::wstring_view argument = text.substr(0, EndOfArgument(text));
    text = Trimmed(text.substr(argument.size()));
    return argument;
}

bool IsNumber(std::wstring_view text) noexcept
{
    return !text.empty() && text.size() <= c_greatestDigits &&
           text.find_first_not_of(L"0123456789") == std::wstring_view::npos;
}

// As the language of the commands writes a string.
std::wstring Literal(std::wstring_view text)
{
    std::wstring literal = L"\"";
    for (const wchar_t c : text)
    {
        if (c == L'"' || c == L'\\')
            literal += L'\\';
        literal += c == L'\t' ? L' ' : c;
    }
    return literal + L'"';
}

[[noreturn]] void ThrowUsage(const LookWord& word)
{
    throw SessionError(SessionFailure::BadRequest, std::wstring(L"expected ") + word.word + word.arguments);
}

std::vector<std::wstring> ArgumentsOf(const LookWord& look, std::wstring_view rest)
{
    const std::wstring_view word = look.word;
    if (word == L"types" || word == L"find")
    {
        if (word == L"find" && rest.empty())
            ThrowUsage(look);
        return rest.empty() ? std::vector<std::wstring>() : std::vector<std::wstring>{Literal(rest)};
    }
    if (word == L"instances")
    {
        if (!rest.empty())
            ThrowUsage(look);
        return {};
    }
    if (rest.empty())
        ThrowUsage(look);
    std::vector<std::wstring> arguments{Literal(TakeArgument(rest))};
    if (word == L"members")
    {
        if (!rest.empty())
            arguments.push_back(Literal(rest));
        return arguments;
    }
    for (int i = 0; i < 2 && !rest.empty(); ++i)
    {
        const std::wstring_view number = TakeArgument(rest);
        if (!IsNumber(number))
            ThrowUsage(look);
        arguments.emplace_back(number);
    }
    if (!rest.empty())
        ThrowUsage(look);
    return arguments;
}

std::wstring MethodOf(const LookWord& look)
{
    std::wstring method = look.word;
    method[0] = static_cast<wchar_t>(method[0] - L'a' + L'A');
    return method;
}
} // namespace

std::optional<Command> ParseLook(std::wstring_view line)
{
    const std::wstring word = FirstWordOf(line);
    const auto* const look = std::find_if(std::begin(c_lookWords), std::end(c_lookWords),
                                          [&](const LookWord& known) { return word == known.word; });
    if (look == std::end(c_lookWords))
        return std::nullopt;
    const std::wstring_view asked = Trimmed(line);
    std::wstring call = std::wstring(c_call) + MethodOf(*look) + L"(";
    bool isFirst = true;
    for (const std::wstring& argument : ArgumentsOf(*look, Trimmed(asked.substr(word.size()))))
    {
        call += (isFirst ? L"" : L", ") + argument;
        isFirst = false;
    }
    Command command = ParseCommand(call + L")");
    command.asked = asked;
    return command;
}

Command LookCommand(const wchar_t* question, const std::wstring& text, const std::wstring& asked)
{
    Command command = ParseCommand(std::wstring(c_call) + question + L"(" + Literal(text) + L")");
    command.asked = asked;
    return command;
}
