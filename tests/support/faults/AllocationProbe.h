#pragma once

#include "tests/support/faults/ImportRedirect.h"

#include <cstddef>
#include <optional>
#include <vector>

// Watches what the thread that makes it allocates from the C runtime's heap, which operator new uses too: counts the
// blocks that are not freed, and makes chosen allocations fail. One at a time. It can follow c_maxBlocks blocks at
// once.
class AllocationProbe
{
public:
    static constexpr size_t c_maxBlocks = 4096;

    // While one of these lives, what the watched thread allocates is the test's own: it is not counted and does not
    // fail. Does nothing on another thread, or when nothing is watched.
    class Unwatched
    {
    public:
        Unwatched() noexcept;
        ~Unwatched();
        Unwatched(const Unwatched&) = delete;
        Unwatched& operator=(const Unwatched&) = delete;

    private:
        bool m_wasWatched;
    };

    AllocationProbe();
    ~AllocationProbe();
    AllocationProbe(const AllocationProbe&) = delete;
    AllocationProbe& operator=(const AllocationProbe&) = delete;

    // How many blocks were allocated since this object was made and are not freed.
    size_t LiveBlocks() const noexcept;
    // The sizes of the allocations since this object was made, failed ones included, in bytes; the last 64 of them.
    std::vector<size_t> Requests() const;

    // Makes the next allocation of exactly that many bytes fail, once.
    void FailSize(size_t bytes) noexcept;
    // Makes the n-th allocation from now on fail, once; 1 is the next one.
    void FailRequest(unsigned n) noexcept;
    // Makes the n-th allocation from now on and all that follow fail. Until StopFailing the test may do nothing but
    // call what it tests.
    void FailFrom(unsigned n) noexcept;
    // From now on nothing fails.
    void StopFailing() noexcept;
    // Whether an allocation has failed since this object was made.
    bool HasFailed() const noexcept;

private:
    void TakeRuntimeBlocks() noexcept;

    std::optional<Redirect<void*(size_t)>> m_malloc;
    std::optional<Redirect<void(void*)>> m_free;
    std::optional<Redirect<void*(size_t, size_t)>> m_calloc;
    std::optional<Redirect<void*(void*, size_t)>> m_realloc;
};
