#pragma once

#include <cstddef>

// Work on the bytes of a mapped view within a guarded operation. Compilers take the C runtime's own functions for
// ones that cannot raise and leave out the clean-up around them; an exception that a fault handler raises for a page
// of the view would then end the process instead of releasing the lock. These are ordinary functions of another
// source file, so nothing can be assumed about them. Any thread.

void ZeroBytes(void* destination, size_t sizeBytes);
// The two ranges may overlap.
void CopyBytes(void* destination, const void* source, size_t sizeBytes);
