#pragma once

#include "client/picture/Picture.h"

#include <cstddef>
#include <string>

// Puts the lines of a trace log into a picture of the same workbench, beside the commands that they tell of. Both
// sides read one clock, but the lines have whole milliseconds only: a command is found by its event, its text and its
// time.
class LogJoin
{
public:
    // fromMs: what the log tells of an earlier time is another client's.
    LogJoin(Picture& picture, double fromMs) noexcept : m_picture(picture), m_fromMs(fromMs) {}

    void Take(const Step& told);
    void Take(const LogLine& line);

private:
    Step* Find(const Step& told) noexcept;

    Picture& m_picture;
    const double m_fromMs;
    size_t m_next = 0;
};
