#pragma once

#include <optional>
#include <string>
#include <string_view>

// Conversions of the text that the client reads and writes. Inside the client text is UTF-16, outside it is UTF-8.

// A lone surrogate becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

// Nothing when the bytes are not UTF-8.
std::optional<std::wstring> FromUtf8(std::string_view bytes);

// Text of a program whose encoding is unknown: UTF-8 when it is that, else the console's output code page (the
// system's without a console). Never fails: what has no meaning becomes a replacement character.
std::wstring FromProgramOutput(std::string_view bytes);
