#pragma once

#include <cstddef>
#include <cstdint>
#include <cwchar>

// The client's process id, which keys a session: it stands on the workbench's command line and in the names of the
// events.

// The id as text: lower-case hexadecimal without padding, as "1a2b". Allocates nothing.
class ClientIdText
{
public:
    explicit constexpr ClientIdText(uint32_t clientId) noexcept
    {
        do
            m_text[--m_start] = L"0123456789abcdef"[clientId % 16];
        while ((clientId /= 16) != 0);
    }

    // Good as long as this object.
    constexpr const wchar_t* Get() const noexcept { return m_text + m_start; }

private:
    static constexpr size_t c_digits = 8;

    // A NUL follows the digits.
    wchar_t m_text[c_digits + 1]{};
    size_t m_start = c_digits;
};

// Reads the id from its text. It is read as a signed number: on Windows, where that has 32 bits, an id above 7fffffff
// is cut to that. 0 when the text begins with no number.
inline uint32_t ClientIdOf(const wchar_t* text) noexcept
{
    return static_cast<uint32_t>(std::wcstol(text, nullptr, 16));
}
