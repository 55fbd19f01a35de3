#pragma once

#include <cstdint>

// Copies a text into a field of capacity units, NUL included; a longer one is cut after capacity - 1 units. An empty,
// null or unreadable source gives an empty field. Does nothing for a null destination or a capacity of 0. Any thread.
void CopyText(wchar_t* destination, const wchar_t* source, uint64_t capacity);
