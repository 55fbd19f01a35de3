#include "OrvProfiler/share/MappedMemory.h"

#include <cstring>

void ZeroBytes(void* destination, size_t sizeBytes)
{
    std::memset(destination, 0, sizeBytes);
}

void CopyBytes(void* destination, const void* source, size_t sizeBytes)
{
    std::memmove(destination, source, sizeBytes);
}
