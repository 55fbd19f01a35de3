#pragma once

#include <cstddef>

// Zero and copy bytes of a mapped view, whose pages may turn out to be unreadable.
//
// Compilers take the C runtime's own functions for ones that cannot raise, and leave out the clean-up around them.
// When a program's fault handler turns an unreadable page into an exception, that would end the process instead of
// releasing the lock that is held. These are ordinary functions of another source file, of which a compiler knows
// nothing. Any thread.

void ZeroBytes(void* destination, size_t sizeBytes);
// The two ranges may overlap.
void CopyBytes(void* destination, const void* source, size_t sizeBytes);
