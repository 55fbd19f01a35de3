#pragma once

#include <string>
#include <vector>

// Cuts a stream of bytes into lines of text. A line ends with LF or CR LF.
class LineCutter
{
public:
    // Takes bytes; returns the lines that are complete, without their ends.
    std::vector<std::wstring> Feed(const std::string& bytes);
    // The last line, which has no end; empty when there is none.
    std::wstring TakeRest();

private:
    std::wstring Decode(std::string line);

    std::string m_rest;
    bool m_isAtStart = true;
};
