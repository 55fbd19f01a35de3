#pragma once

#include <cstdlib>
#include <new>

// Heap functions to call in a test of the heap: through these, so that the compiler cannot leave out a block that
// nothing uses.
inline void* (*volatile g_malloc)(size_t) = std::malloc;
inline void* (*volatile g_calloc)(size_t, size_t) = std::calloc;
inline void* (*volatile g_realloc)(void*, size_t) = std::realloc;
inline void (*volatile g_free)(void*) = std::free;
inline void* (*volatile g_new)(size_t) = operator new;
inline void (*volatile g_delete)(void*) = operator delete;
