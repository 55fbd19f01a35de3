#pragma once

// States an expectation together with the source's name and a line number that stays the same across builds.
// Deliberately without effect at run time: the condition is evaluated and ignored, and the code after each assertion
// handles the bad case itself.
inline void DebugAssert(bool condition, const wchar_t* source, int line) noexcept
{
    static_cast<void>(condition);
    static_cast<void>(source);
    static_cast<void>(line);
}
