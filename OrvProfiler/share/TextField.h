#pragma once

#include <cstddef>
#include <cstdint>

// Copies a text into a field of capacity units, NUL included; a longer one is cut after capacity - 1 units. An empty,
// null or unreadable source gives an empty field. Does nothing for a null destination or a capacity of 0. Any thread.
void CopyText(wchar_t* destination, const wchar_t* source, uint64_t capacity);

// Copies a text field of the shared memory, which another process may go on changing: each unit is read once, up to
// the NUL or the end of the field. text gets a NUL in any case, and so has room for one unit more. An unreadable page
// may raise. Any thread.
template <size_t Capacity>
void ReadField(wchar_t (&text)[Capacity + 1], const wchar_t (&field)[Capacity])
{
    const volatile wchar_t* const units = field;
    size_t length = 0;
    while (length < Capacity && (text[length] = units[length]) != L'\0')
        ++length;
    text[length] = L'\0';
}
