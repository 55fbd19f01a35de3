#pragma once

#include "tests/support/faults/ImportRedirect.h"

#include <cstddef>
#include <optional>
#include <vector>

// Watches the C runtime's heap while it lives: which blocks the calling thread has taken and not given back, and, on
// demand, a request that fails. The C++ allocation functions take their memory there too. One at a time; only the
// thread that made it is watched. It sees at most c_maxBlocks blocks at once.
class AllocationProbe
{
public:
    static constexpr size_t c_maxBlocks = 4096;

    // What the watched thread takes while one of these lives is the test's own: it is not counted and does not fail.
    // Does nothing on another thread, or when nothing is watched.
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

    // The blocks taken since this object was made that have not been given back.
    size_t LiveBlocks() const noexcept;
    // The size of each request since this object was made, failed ones included, in bytes; the last 64 of them.
    std::vector<size_t> Requests() const;

    // Makes the next request of exactly so many bytes fail, once.
    void FailSize(size_t bytes) noexcept;
    // Makes the n-th request from now on fail, once; 1 is the next one.
    void FailRequest(unsigned n) noexcept;
    // Makes the n-th request from now on and all that follow fail. Until StopFailing the test may do nothing but
    // call what it tests.
    void FailFrom(unsigned n) noexcept;
    // Forgets what was to fail.
    void StopFailing() noexcept;
    // Whether a request has failed since this object was made.
    bool HasFailed() const noexcept;

private:
    void TakeRuntimeBlocks() noexcept;

    std::optional<Redirect<void*(size_t)>> m_malloc;
    std::optional<Redirect<void(void*)>> m_free;
    std::optional<Redirect<void*(size_t, size_t)>> m_calloc;
    std::optional<Redirect<void*(void*, size_t)>> m_realloc;
};
