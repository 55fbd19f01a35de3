#pragma once

// States what is expected at a place in the code. Has no effect at run time, on purpose: the condition is evaluated
// and ignored, and the code after each assertion handles the bad case itself.
//
// The source and the line name the place for good. They are part of the interface, and stay what they are when the
// code moves: so both stand in the call as literals, and a source may have the name of a file that the code once lay
// in. A place without a number of its own leaves the line out; __LINE__ would give it another one with every edit.
inline void DebugAssert(bool condition, const wchar_t* source, int line = 0) noexcept
{
    static_cast<void>(condition);
    static_cast<void>(source);
    static_cast<void>(line);
}
