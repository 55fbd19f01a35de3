#pragma once

#include <cstdint>

// Convert text of a Windows code page, given by its number, to UTF-16, and back. length is how many units of the text
// to convert, without a NUL. They store a new text with a NUL, which the caller frees with delete[], and return its
// length without the NUL. On failure, and for an empty text, they store null and return 0. Empty is a null text, one
// that begins with a NUL, and a length of 0 or less. Any thread.
int32_t ToWide(const char* text, int32_t length, wchar_t** result, uint32_t codePage);
int32_t ToNarrow(const wchar_t* text, int32_t length, char** result, uint32_t codePage);
