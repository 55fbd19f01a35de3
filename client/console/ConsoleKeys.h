#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

// Puts the keys that type the text (with '\r' for Enter) into a console's input, behind those that wait there. False:
// not all of them.
bool TypeKeys(HANDLE console, std::wstring_view text);

// The same for one key, by its virtual key code, pressed several times.
void PressKey(HANDLE console, uint16_t key, size_t count);

// While this lives, keys that the user had typed before are out of the way; then they wait again.
class KeysAside
{
public:
    explicit KeysAside(HANDLE console);
    ~KeysAside();
    KeysAside(const KeysAside&) = delete;
    KeysAside& operator=(const KeysAside&) = delete;

    // The next key that types something, in lower case; '\0' when no key waits. Signalled like the console's handle.
    wchar_t Next() const noexcept;

private:
    struct Keys;

    const HANDLE m_console;
    const std::unique_ptr<Keys> m_keys;
};
