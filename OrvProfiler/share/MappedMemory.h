#pragma once

#include <cstddef>
#include <type_traits>

// Reads words and copies bytes of a mapped view, which other processes change at any moment and whose pages may turn
// out to be unreadable. Any thread.

// The value of a word, read once: what is checked is then what is used, whatever another process stores meanwhile. A
// plain read may be done again at each use.
template <class Word>
Word ReadOnce(const Word& word)
{
    static_assert(std::is_integral_v<Word>, "read at once, not in parts");
    return *static_cast<const volatile Word*>(&word);
}

// Zero and copy bytes of a view.
//
// Compilers take the C runtime's own functions for ones that cannot raise, and leave out the clean-up around them.
// When a program's fault handler turns an unreadable page into an exception, that would end the process instead of
// releasing the lock that is held. These are ordinary functions of another source file, of which a compiler knows
// nothing.

void ZeroBytes(void* destination, size_t sizeBytes);
// The two ranges may overlap.
void CopyBytes(void* destination, const void* source, size_t sizeBytes);
