#include "client/console/TextStream.h"

#include "client/base/Text.h"
#include "client/console/EndNow.h"
#include "client/console/IsConsole.h"

#include <windows.h>

#include <algorithm>
#include <mutex>
#include <string>

namespace
{
// What a console takes in one call.
constexpr size_t c_consoleChunk = 8192;
constexpr WORD c_backgroundColours = 0xF0;

// Both streams share one console.
struct SharedConsole
{
    std::mutex lock;
    ColourUse colourUse = ColourUse::Automatic;
    // The stream that shows the status, and what it shows.
    HANDLE statusHandle = nullptr;
    std::wstring status;
};

SharedConsole& Shared()
{
    static SharedConsole shared;
    return shared;
}

struct StyleColours
{
    WORD attributes;
    const char* sequence;
};

// A console has its own colours for plain text.
StyleColours ColoursOf(TextStyle style) noexcept
{
    switch (style)
    {
    case TextStyle::Plain:
        break;
    case TextStyle::Prompt:
        return {FOREGROUND_GREEN | FOREGROUND_BLUE | FOREGROUND_INTENSITY, "\x1b[36m"};
    case TextStyle::Quiet:
        return {FOREGROUND_INTENSITY, "\x1b[90m"};
    case TextStyle::Good:
        return {FOREGROUND_GREEN, "\x1b[32m"};
    case TextStyle::Warning:
        return {FOREGROUND_RED | FOREGROUND_GREEN, "\x1b[33m"};
    case TextStyle::Bad:
        return {FOREGROUND_RED | FOREGROUND_INTENSITY, "\x1b[31m"};
    }
    return {0, ""};
}

bool IsColourUnwanted() noexcept
{
    return GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1;
}

void PutOnConsole(HANDLE console, std::wstring_view text) noexcept
{
    DWORD written = 0;
    for (size_t done = 0; done < text.size(); done += written)
    {
        const size_t size = std::min(text.size() - done, c_consoleChunk);
        if (WriteConsoleW(console, text.data() + done, static_cast<DWORD>(size), &written, nullptr) == FALSE ||
            written == 0)
            return;
    }
}

// The status takes one line; the cursor stands behind it.
void EraseStatus(const SharedConsole& shared) noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (shared.status.empty() || GetConsoleScreenBufferInfo(shared.statusHandle, &info) == FALSE)
        return;
    const COORD start = {0, info.dwCursorPosition.Y};
    DWORD written = 0;
    FillConsoleOutputCharacterW(shared.statusHandle, L' ', static_cast<DWORD>(info.dwSize.X), start, &written);
    SetConsoleCursorPosition(shared.statusHandle, start);
}

std::wstring FittingLine(HANDLE console, std::wstring_view text)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(console, &info) == FALSE || info.dwSize.X < 2)
        return {};
    std::wstring line(text.substr(0, static_cast<size_t>(info.dwSize.X - 1)));
    std::replace_if(
        line.begin(), line.end(), [](wchar_t c) { return c < L' '; }, L' ');
    return line;
}
} // namespace

TextStream::TextStream(DWORD standardHandle, bool endsProcess)
    : m_handle(GetStdHandle(standardHandle)), m_isConsole(::IsConsole(m_handle)), m_endsProcess(endsProcess)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (m_isConsole && GetConsoleScreenBufferInfo(m_handle, &info) != FALSE)
        m_attributes = info.wAttributes;
}

TextStream& TextStream::Out()
{
    static TextStream stream(STD_OUTPUT_HANDLE, true);
    return stream;
}

TextStream& TextStream::Error()
{
    static TextStream stream(STD_ERROR_HANDLE, false);
    return stream;
}

void TextStream::UseColour(ColourUse use) noexcept
{
    Shared().colourUse = use;
}

bool TextStream::IsColoured() const noexcept
{
    const ColourUse use = Shared().colourUse;
    return use == ColourUse::Always || (use == ColourUse::Automatic && m_isConsole && !IsColourUnwanted());
}

void TextStream::Write(std::wstring_view text, TextStyle style)
{
    SharedConsole& shared = Shared();
    const std::lock_guard<std::mutex> guard(shared.lock);
    EraseStatus(shared);
    if (m_isConsole)
        WriteToConsole(text, style);
    else if (style != TextStyle::Plain && IsColoured())
        WriteBytes(ColoursOf(style).sequence + ToUtf8(text) + "\x1b[0m");
    else
        WriteBytes(ToUtf8(text));
    PutOnConsole(shared.statusHandle, shared.status);
}

void TextStream::WriteToConsole(std::wstring_view text, TextStyle style) const noexcept
{
    const WORD colours = ColoursOf(style).attributes;
    const bool isColoured = colours != 0 && IsColoured();
    if (isColoured)
        SetConsoleTextAttribute(m_handle, colours | (m_attributes & c_backgroundColours));
    PutOnConsole(m_handle, text);
    if (isColoured)
        SetConsoleTextAttribute(m_handle, m_attributes);
}

void TextStream::WriteUtf8(std::string_view text)
{
    if (m_isConsole)
    {
        Write(FromProgramOutput(text));
        return;
    }
    const std::lock_guard<std::mutex> guard(Shared().lock);
    WriteBytes(text);
}

void TextStream::SetStatus(std::wstring_view text)
{
    if (!m_isConsole)
        return;
    SharedConsole& shared = Shared();
    const std::lock_guard<std::mutex> guard(shared.lock);
    EraseStatus(shared);
    shared.statusHandle = m_handle;
    shared.status = FittingLine(m_handle, text);
    WriteToConsole(shared.status, TextStyle::Plain);
}

void TextStream::WriteBytes(std::string_view bytes)
{
    DWORD written = 0;
    for (size_t done = 0; done < bytes.size(); done += written)
    {
        const std::string_view rest = bytes.substr(done);
        if (WriteFile(m_handle, rest.data(), static_cast<DWORD>(rest.size()), &written, nullptr) == FALSE)
            return OnFailure(GetLastError());
        if (written == 0)
            return;
    }
}

// Not in order: any thread may be the one that writes. A workbench that was started here ends with this process.
void TextStream::OnFailure(DWORD error) const noexcept
{
    const bool hasReaderGone =
        error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
    if (m_endsProcess && hasReaderGone)
        EndNow(ExitStatus::OutputClosed);
}
