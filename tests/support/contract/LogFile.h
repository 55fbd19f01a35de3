#pragma once

#include <string>
#include <vector>

// Reading a trace log file as any other program would, also while it is still being written.

// The file's bytes. Throws std::runtime_error when it cannot be read.
std::string FileBytes(const std::wstring& path);

// The lines of a log's bytes, without byte-order mark, line ends and times; an unfinished last line is left out.
// Throws std::runtime_error when the bytes are not UTF-16LE text with a byte-order mark and CR LF line ends.
std::vector<std::wstring> LogLines(const std::string& bytes);
