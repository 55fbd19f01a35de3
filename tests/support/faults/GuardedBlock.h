#pragma once

#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <cstddef>
#include <optional>

// Catches whoever reads or writes behind the end of a heap block. The next block of the given size that this thread
// allocates ends right before a page that cannot be accessed, so going past it is an access violation and ends the
// test. The block must be freed while this object lives. One at a time.
class GuardedBlock
{
public:
    explicit GuardedBlock(size_t sizeBytes)
        : m_pages(static_cast<unsigned char*>(
              VirtualAlloc(nullptr, 2 * c_pageBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)))
    {
        DWORD old = 0;
        VirtualProtect(m_pages + c_pageBytes, c_pageBytes, PAGE_NOACCESS, &old);
        s_block = m_pages + c_pageBytes - sizeBytes;
        // The real function is stored before the next redirection is made: making that one calls the replacement.
        s_realMalloc = m_malloc.emplace("malloc", Malloc).Real();
        s_realFree = m_free.emplace("free", Free).Real();
        s_thread = GetCurrentThreadId();
        s_sizeBytes = sizeBytes;
    }
    ~GuardedBlock()
    {
        s_sizeBytes = 0;
        VirtualFree(m_pages, 0, MEM_RELEASE);
    }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;

    // Whether the block has been allocated.
    bool IsTaken() const noexcept { return s_sizeBytes == 0; }

private:
    static constexpr size_t c_pageBytes = 4096;

    static void* Malloc(size_t sizeBytes)
    {
        if (sizeBytes == 0 || sizeBytes != s_sizeBytes || GetCurrentThreadId() != s_thread)
            return s_realMalloc(sizeBytes);
        s_sizeBytes = 0;
        return s_block;
    }
    static void Free(void* block)
    {
        if (block != s_block)
            s_realFree(block);
    }

    static inline unsigned char* s_block = nullptr;
    static inline size_t s_sizeBytes = 0;
    static inline DWORD s_thread = 0;
    static inline void* (*s_realMalloc)(size_t) = nullptr;
    static inline void (*s_realFree)(void*) = nullptr;

    unsigned char* m_pages;
    std::optional<Redirect<void*(size_t)>> m_malloc;
    std::optional<Redirect<void(void*)>> m_free;
};
