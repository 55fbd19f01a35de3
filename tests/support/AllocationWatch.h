#pragma once

#include "tests/support/ImportRedirect.h"

#include <cstddef>
#include <optional>

// Counts the C runtime's allocations (new is one of them) that this thread makes while it lives, and makes them fail.
// Everything between the arming and the disarming allocates less memory than it wants, the test framework included:
// do nothing but the operation under test there. One at a time.
class AllocationWatch
{
public:
    // How many requests keep their size.
    static constexpr unsigned c_keptSizes = 64;

    AllocationWatch();
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;
    AllocationWatch& operator=(const AllocationWatch&) = delete;

    // From now on the given number of allocations succeed; the next one fails, or all that follow. MinGW's runtime
    // does not return from a throw when nothing can be allocated: fail one only where an exception may come.
    void FailOneAfter(unsigned successes) noexcept;
    void FailAllAfter(unsigned successes) noexcept;
    void StopFailing() noexcept;
    // Whether an allocation has failed since the arming.
    bool HasFailed() const noexcept;

    // Blocks allocated less blocks freed, since the beginning.
    int Outstanding() const noexcept;
    // The requests since the beginning, and the size in bytes of request i.
    unsigned Requests() const noexcept;
    size_t SizeBytes(unsigned i) const noexcept;

private:
    std::optional<Redirect<void*(size_t)>> m_malloc;
    std::optional<Redirect<void*(size_t, size_t)>> m_calloc;
    std::optional<Redirect<void*(void*, size_t)>> m_realloc;
    std::optional<Redirect<void(void*)>> m_free;
};
