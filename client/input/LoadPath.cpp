#include "client/input/LoadPath.h"

#include <windows.h>

#include <cwchar>

namespace
{
constexpr const wchar_t* c_blanks = L" \t";

bool EndsWith(const std::wstring& text, const wchar_t* end) noexcept
{
    const size_t length = std::wcslen(end);
    return text.size() >= length && _wcsicmp(text.c_str() + text.size() - length, end) == 0;
}

// As the dispatcher tells a path from an assembly's name.
bool IsPath(const std::wstring& name) noexcept
{
    return name.find_first_of(L"/\\") != std::wstring::npos || EndsWith(name, L".dll") || EndsWith(name, L".exe");
}

bool IsRelative(const std::wstring& path) noexcept
{
    const bool hasDrive = path.size() > 1 && path[1] == L':';
    return !path.empty() && !hasDrive && path[0] != L'\\' && path[0] != L'/';
}

bool IsFile(const std::wstring& path) noexcept
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::wstring Trimmed(const std::wstring& text)
{
    const size_t start = text.find_first_not_of(c_blanks);
    return start == std::wstring::npos ? std::wstring()
                                       : text.substr(start, text.find_last_not_of(c_blanks) + 1 - start);
}
} // namespace

std::wstring FullPath(const std::wstring& path)
{
    std::wstring full(32768, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.empty() ? path : full;
}

std::wstring LoadTextFromHere(const std::wstring& text)
{
    const std::wstring given = Trimmed(text);
    const bool isQuoted = given.size() > 1 && given.front() == L'"' && given.back() == L'"';
    const std::wstring name = isQuoted ? Trimmed(given.substr(1, given.size() - 2)) : given;
    if (!IsPath(name) || !IsRelative(name) || !IsFile(name))
        return text;
    return isQuoted ? L'"' + FullPath(name) + L'"' : FullPath(name);
}
