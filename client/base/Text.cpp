#include "client/base/Text.h"

#include <windows.h>

namespace
{
std::wstring Decode(UINT codePage, DWORD flags, std::string_view bytes)
{
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    std::wstring text(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(codePage, flags, bytes.data(), size, text.data(), length);
    return text;
}
} // namespace

std::string ToUtf8(std::wstring_view text)
{
    if (text.empty())
        return {};
    const int size = static_cast<int>(text.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), length, nullptr, nullptr);
    return bytes;
}

std::optional<std::wstring> FromUtf8(std::string_view bytes)
{
    if (bytes.empty())
        return std::wstring();
    std::wstring text = Decode(CP_UTF8, MB_ERR_INVALID_CHARS, bytes);
    if (text.empty())
        return std::nullopt;
    return text;
}

std::wstring FromProgramOutput(std::string_view bytes)
{
    if (auto text = FromUtf8(bytes))
        return *std::move(text);
    const UINT consoleCodePage = GetConsoleOutputCP();
    // A console that is set to UTF-8 has nothing more to say about bytes that are not.
    const bool isHelpful = consoleCodePage != 0 && consoleCodePage != CP_UTF8;
    std::wstring text = Decode(isHelpful ? consoleCodePage : CP_ACP, 0, bytes);
    if (text.empty())
        text = Decode(CP_UTF8, 0, bytes);
    return text;
}
