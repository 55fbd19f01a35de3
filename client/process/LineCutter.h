#pragma once

#include <string>
#include <vector>

// Cuts a stream of bytes into lines of text. A line ends with LF or CR LF.
class LineCutter
{
public:
    // Takes bytes; returns the lines that are complete, without their ends.
    std::vector<std::wstring> Feed(const std::string& bytes);
    // What there is of a line that has no end yet; empty when there is none. What follows of the line comes as a line
    // of its own, unless it is empty.
    std::wstring TakeRest();
    // The same, to be shown while more is expected: a character of which only the first bytes are there stays.
    std::wstring TakePartial();
    // Whether a line has begun that has no end yet.
    bool HasRest() const noexcept { return !m_rest.empty(); }

private:
    std::wstring Decode(std::string line);

    std::string m_rest;
    bool m_isAtStart = true;
    // Of the line that has begun something was taken.
    bool m_isTaken = false;
};
