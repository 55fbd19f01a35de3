#pragma once

#include <cstdint>

// Copies a text into a buffer of capacity units, the NUL included; one that does not fit is cut after capacity - 1
// units. An empty, null or unreadable source gives an empty destination. Nothing for a null destination or a capacity
// of 0. Any thread.
void CopyText(wchar_t* destination, const wchar_t* source, uint64_t capacity);
