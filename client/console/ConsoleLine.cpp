#include "client/console/ConsoleLine.h"

#include "client/console/ConsoleKeys.h"
#include "client/console/TextStream.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <thread>
#include <utility>

namespace
{
// More than that many characters at once the console does not give on every Windows.
constexpr size_t c_longestRead = 32000;
// Ctrl-^, which no keyboard sends by chance.
constexpr wchar_t c_breakKey = 0x1E;
// Ctrl-Z, and Ctrl-D for those who are used to it.
constexpr wchar_t c_endKeys[] = {0x1A, 0x04};
constexpr ULONG c_wakeupMask = (1U << L'\t') | (1U << c_breakKey) | (1U << c_endKeys[0]) | (1U << c_endKeys[1]);
constexpr DWORD c_breakOffMs = 2000;
// What is longer is no line that somebody would like to see again, and each key of it takes time.
constexpr size_t c_longestRemembered = 500;
// Wider characters may take two places, or one: consoles differ.
constexpr wchar_t c_firstWide = 0x1100;

constexpr DWORD c_inputMode =
    ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT | ENABLE_INSERT_MODE | ENABLE_EXTENDED_FLAGS;

// The console's own handles: with the standard ones Wine's console shows in its terminal what belongs on a screen
// that is not the active one.
UniqueHandle OpenConsole(const wchar_t* name) noexcept
{
    return UniqueHandle::FromFile(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                              nullptr, OPEN_EXISTING, 0, nullptr));
}

bool IsNarrow(std::wstring_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](wchar_t c) { return c < c_firstWide; });
}

// From the cursor on, as far as the rows are full; empty when the cursor stands at the end of a text.
std::wstring TextBehindCursor(HANDLE console)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    std::wstring text;
    if (GetConsoleScreenBufferInfo(console, &info) == FALSE)
        return text;
    COORD place = info.dwCursorPosition;
    for (bool isFull = true; isFull && place.Y < info.dwSize.Y; ++place.Y, place.X = 0)
    {
        std::wstring row(static_cast<size_t>(info.dwSize.X - place.X), L'\0');
        DWORD size = 0;
        if (ReadConsoleOutputCharacterW(console, row.data(), static_cast<DWORD>(row.size()), place, &size) == FALSE)
            break;
        row.resize(size);
        isFull = !row.empty() && row.back() != L' ';
        text += row;
    }
    text.resize(text.find_last_not_of(L' ') + 1);
    return text;
}

bool EndsWith(std::wstring_view text, std::wstring_view end) noexcept
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::wstring_view WithoutBlankEnd(std::wstring_view text) noexcept
{
    return text.substr(0, text.find_last_not_of(L' ') + 1);
}
} // namespace

// Reads on a thread of its own. Nothing ends that thread in a read, so it shares the ownership of this object and
// ends with the process.
struct ConsoleLine::Reader
{
    const UniqueHandle input = OpenConsole(L"CONIN$");
    // While ready is set, all that follows belongs to the user; otherwise to the thread.
    const UniqueHandle ready{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    const UniqueHandle wanted{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::wstring text;
    Typed typed;

    [[noreturn]] void Run()
    {
        for (;;)
        {
            WaitForSingleObject(wanted.Get(), INFINITE);
            Read();
            SetEvent(ready.Get());
        }
    }

    void Read()
    {
        std::wstring line(std::max(c_longestRead, text.size() + 1), L'\0');
        text.copy(line.data(), text.size());
        CONSOLE_READCONSOLE_CONTROL control = {sizeof control, static_cast<ULONG>(text.size()), c_wakeupMask, 0};
        DWORD size = 0;
        SetLastError(ERROR_SUCCESS);
        const bool hasRead =
            ReadConsoleW(input.Get(), line.data(), static_cast<DWORD>(line.size()), &size, &control) != FALSE;
        const DWORD error = GetLastError();
        line.resize(hasRead ? size : 0);
        if (line.empty())
            typed = {error == ERROR_OPERATION_ABORTED ? End::BrokenOff : End::Closed, L"", L""};
        else
            typed = Taken(std::move(line));
    }

    Typed Taken(std::wstring line) const
    {
        const size_t key = line.find_first_of(std::wstring{L'\t', c_breakKey, c_endKeys[0], c_endKeys[1]});
        if (key != std::wstring::npos)
            return {EndBy(line[key], line.size()), line.substr(0, key), line.substr(key + 1)};
        ReadRest(line);
        line.resize(line.find_last_not_of(L"\r\n") + 1);
        return {End::Line, std::move(line), L""};
    }

    // In a line that holds something, the keys for the end say nothing.
    static End EndBy(wchar_t key, size_t size) noexcept
    {
        if (key == L'\t')
            return End::Tab;
        return key != c_breakKey && size == 1 ? End::Closed : End::BrokenOff;
    }

    // A line that is longer than one read comes in several.
    void ReadRest(std::wstring& line) const
    {
        wchar_t more[1024];
        DWORD size = 0;
        while (line.back() != L'\n' &&
               ReadConsoleW(input.Get(), more, static_cast<DWORD>(std::size(more)), &size, nullptr) != FALSE &&
               size != 0)
            line.append(more, size);
    }
};

ConsoleLine::ConsoleLine() : m_reader(std::make_shared<Reader>()), m_output(OpenConsole(L"CONOUT$"))
{
    GetConsoleMode(m_reader->input.Get(), &m_oldMode);
    SetConsoleMode(m_reader->input.Get(), m_oldMode | c_inputMode);
    std::thread([reader = m_reader] { reader->Run(); }).detach();
}

ConsoleLine::~ConsoleLine()
{
    SetConsoleMode(m_reader->input.Get(), m_oldMode);
}

// The console remembers what it has given as a line, so these are typed in, where nobody sees it.
void ConsoleLine::Remember(const std::vector<std::wstring>& lines)
{
    const UniqueHandle unseen = UniqueHandle::FromFile(CreateConsoleScreenBuffer(
        GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CONSOLE_TEXTMODE_BUFFER, nullptr));
    if (!unseen || SetConsoleActiveScreenBuffer(unseen.Get()) == FALSE)
        return;
    {
        const KeysAside keys(m_reader->input.Get());
        std::wstring line(c_longestRemembered + 2, L'\0');
        DWORD size = 0;
        for (const std::wstring& remembered : lines)
            if (!remembered.empty() && remembered.size() <= c_longestRemembered &&
                remembered.find_first_of(std::wstring(L"\0\t\r\n\x1A\x1B\x1E", 7)) == std::wstring::npos &&
                TypeKeys(m_reader->input.Get(), remembered + L'\r'))
                ReadConsoleW(m_reader->input.Get(), line.data(), static_cast<DWORD>(line.size()), &size, nullptr);
    }
    SetConsoleActiveScreenBuffer(m_output.Get());
}

void ConsoleLine::Begin(std::wstring_view prompt, const std::wstring& before, const std::wstring& after)
{
    m_promptSize = prompt.size();
    m_reader->text = before + after;
    TextStream::Out().Write(prompt, TextStyle::Prompt);
    TextStream::Out().Write(m_reader->text);
    ResetEvent(m_reader->ready.Get());
    m_isBegun = true;
    SetEvent(m_reader->wanted.Get());
    // The console begins at the text's end.
    PressKey(m_reader->input.Get(), VK_LEFT, after.size());
}

HANDLE ConsoleLine::Ready() const noexcept
{
    return m_reader->ready.Get();
}

ConsoleLine::Typed ConsoleLine::Take()
{
    WaitForSingleObject(m_reader->ready.Get(), INFINITE);
    m_isBegun = false;
    Typed typed = std::move(m_reader->typed);
    if (typed.end == End::Tab || typed.end == End::BrokenOff)
        typed.after = TakeAfter(typed.after);
    return typed;
}

// The key that ended the line stands where the cursor was: in some consoles between the characters, in some in the
// place of one, in some of all that follow. The screen still has them.
std::wstring ConsoleLine::TakeAfter(const std::wstring& told) const
{
    std::wstring seen = TextBehindCursor(m_output.Get());
    return EndsWith(seen, WithoutBlankEnd(told)) ? seen : told;
}

void ConsoleLine::BreakOff() noexcept
{
    if (!m_isBegun)
        return;
    TypeKeys(m_reader->input.Get(), std::wstring_view(&c_breakKey, 1));
    WaitForSingleObject(m_reader->ready.Get(), c_breakOffMs);
}

void ConsoleLine::Erase(const Typed& typed) const
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    const bool isKnown = GetConsoleScreenBufferInfo(m_output.Get(), &info) != FALSE && IsNarrow(typed.before);
    const size_t width = std::max<size_t>(static_cast<size_t>(info.dwSize.X), 1);
    const size_t before = m_promptSize + typed.before.size();
    const auto rows = static_cast<SHORT>(before / width);
    if (!isKnown || rows > info.dwCursorPosition.Y || before % width != static_cast<size_t>(info.dwCursorPosition.X))
    {
        TextStream::Out().Write(L"\n");
        return;
    }
    const COORD start = {0, static_cast<SHORT>(info.dwCursorPosition.Y - rows)};
    // Of wide characters each may take two places.
    const auto places = static_cast<DWORD>(before + 2 * typed.after.size());
    DWORD written = 0;
    FillConsoleOutputCharacterW(m_output.Get(), L' ', places, start, &written);
    FillConsoleOutputAttribute(m_output.Get(), info.wAttributes, places, start, &written);
    SetConsoleCursorPosition(m_output.Get(), start);
}
