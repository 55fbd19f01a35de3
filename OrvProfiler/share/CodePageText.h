#pragma once

#include <cstdint>

// Convert between text of a code page (a Windows code page number) and UTF-16. length counts the units of text to be
// converted, without a NUL. Store a new text, NUL-terminated, that the caller frees with delete[], and return its
// length without the NUL; 0 with a null result on failure and for an empty text (a null one, one that begins with a
// NUL, or a length of 0 or less). Any thread.
int32_t ToWide(const char* text, int32_t length, wchar_t** result, uint32_t codePage);
int32_t ToNarrow(const wchar_t* text, int32_t length, char** result, uint32_t codePage);
