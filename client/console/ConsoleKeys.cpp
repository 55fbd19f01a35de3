#include "client/console/ConsoleKeys.h"

#include <windows.h>

#include <cwctype>
#include <vector>

namespace
{
WORD KeyFor(wchar_t c) noexcept
{
    return c == L'\r' ? VK_RETURN : WORD{0};
}

// Pressed and let go.
void Append(std::vector<INPUT_RECORD>& records, WORD key, wchar_t c)
{
    for (const BOOL isDown : {TRUE, FALSE})
    {
        INPUT_RECORD record = {};
        record.EventType = KEY_EVENT;
        record.Event.KeyEvent.bKeyDown = isDown;
        record.Event.KeyEvent.wRepeatCount = 1;
        record.Event.KeyEvent.wVirtualKeyCode = key;
        record.Event.KeyEvent.uChar.UnicodeChar = c;
        if (c != L'\0' && c < L' ' && c != L'\r')
            record.Event.KeyEvent.dwControlKeyState = LEFT_CTRL_PRESSED;
        records.push_back(record);
    }
}

bool Put(HANDLE console, const std::vector<INPUT_RECORD>& records) noexcept
{
    DWORD written = 0;
    return records.empty() ||
           (WriteConsoleInputW(console, records.data(), static_cast<DWORD>(records.size()), &written) != FALSE &&
            written == records.size());
}

std::vector<INPUT_RECORD> TakeAll(HANDLE console)
{
    DWORD count = 0;
    GetNumberOfConsoleInputEvents(console, &count);
    std::vector<INPUT_RECORD> records(count);
    if (count == 0 || ReadConsoleInputW(console, records.data(), count, &count) == FALSE)
        count = 0;
    records.resize(count);
    return records;
}
} // namespace

bool TypeKeys(HANDLE console, std::wstring_view text)
{
    std::vector<INPUT_RECORD> records;
    for (const wchar_t c : text)
        Append(records, KeyFor(c), c);
    return Put(console, records);
}

void PressKey(HANDLE console, uint16_t key, size_t count)
{
    std::vector<INPUT_RECORD> records;
    for (size_t i = 0; i < count; ++i)
        Append(records, key, L'\0');
    Put(console, records);
}

struct KeysAside::Keys
{
    std::vector<INPUT_RECORD> records;
};

KeysAside::KeysAside(HANDLE console) : m_console(console), m_keys(std::make_unique<Keys>(Keys{TakeAll(console)})) {}

KeysAside::~KeysAside()
{
    Put(m_console, m_keys->records);
}

wchar_t KeysAside::Next() const noexcept
{
    INPUT_RECORD record = {};
    DWORD count = 0;
    while (GetNumberOfConsoleInputEvents(m_console, &count) != FALSE && count != 0 &&
           ReadConsoleInputW(m_console, &record, 1, &count) != FALSE && count != 0)
    {
        const KEY_EVENT_RECORD& key = record.Event.KeyEvent;
        if (record.EventType == KEY_EVENT && key.bKeyDown != FALSE && key.uChar.UnicodeChar != L'\0')
            return static_cast<wchar_t>(std::towlower(key.uChar.UnicodeChar));
    }
    return L'\0';
}
