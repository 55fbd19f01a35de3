#pragma once

#include <string>
#include <vector>

// Reads a trace log file's bytes (FileBytes in Files.h). Both throw std::runtime_error when they are not UTF-16LE
// text with a byte-order mark.

// The text without the mark, line ends as they are.
std::wstring LogText(const std::string& bytes);

// The lines without line ends and times; an unfinished last line is left out. Throws also when a line does not end
// with CR LF.
std::vector<std::wstring> LogLines(const std::string& bytes);
