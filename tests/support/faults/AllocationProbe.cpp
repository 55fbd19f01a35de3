#include "tests/support/faults/AllocationProbe.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace
{
constexpr size_t c_requestsKept = 64;

// Nothing in here may allocate while the functions are redirected.
struct Watch
{
    DWORD thread = 0;
    void* (*malloc)(size_t) = nullptr;
    void (*free)(void*) = nullptr;
    void* (*calloc)(size_t, size_t) = nullptr;
    void* (*realloc)(void*, size_t) = nullptr;
    std::array<void*, AllocationProbe::c_maxBlocks> blocks{};
    std::array<size_t, c_requestsKept> requests{};
    size_t requestCount = 0; // also those no longer kept
    size_t failSize = SIZE_MAX;
    unsigned failIn = 0;
    bool failOn = false; // after failIn has run out
    bool failed = false;
};

Watch g_watch;

void Raise()
{
    try
    {
        throw 0;
    }
    catch (int)
    {
    }
}

bool IsWatched() noexcept
{
    return g_watch.thread == GetCurrentThreadId();
}

bool IsToFail(size_t bytes) noexcept
{
    if (g_watch.failIn > 0 && --g_watch.failIn == 0)
    {
        g_watch.failIn = g_watch.failOn ? 1 : 0;
        return true;
    }
    if (bytes != g_watch.failSize)
        return false;
    g_watch.failSize = SIZE_MAX;
    return true;
}

// Counts an allocation and says whether it is to fail.
bool Request(size_t bytes) noexcept
{
    g_watch.requests[g_watch.requestCount++ % c_requestsKept] = bytes;
    if (!IsToFail(bytes))
        return false;
    g_watch.failed = true;
    return true;
}

void Exchange(void* old, void* now) noexcept
{
    // NOLINTNEXTLINE(readability-qualified-auto): an array's iterator need not be a pointer
    const auto found = std::find(g_watch.blocks.begin(), g_watch.blocks.end(), old);
    if (found != g_watch.blocks.end())
        *found = now;
}

void* WatchedMalloc(size_t bytes)
{
    if (!IsWatched())
        return g_watch.malloc(bytes);
    if (Request(bytes))
        return nullptr;
    void* const block = g_watch.malloc(bytes);
    Exchange(nullptr, block);
    return block;
}

void* WatchedCalloc(size_t count, size_t bytes)
{
    if (!IsWatched())
        return g_watch.calloc(count, bytes);
    if (Request(count * bytes))
        return nullptr;
    void* const block = g_watch.calloc(count, bytes);
    Exchange(nullptr, block);
    return block;
}

void* WatchedRealloc(void* old, size_t bytes)
{
    if (!IsWatched())
        return g_watch.realloc(old, bytes);
    if (Request(bytes))
        return nullptr;
    void* const block = g_watch.realloc(old, bytes);
    if (block != nullptr || bytes == 0)
        Exchange(old, block);
    return block;
}

void WatchedFree(void* block)
{
    if (IsWatched() && block != nullptr)
        Exchange(block, nullptr);
    g_watch.free(block);
}
} // namespace

AllocationProbe::Unwatched::Unwatched() noexcept : m_wasWatched(IsWatched())
{
    if (m_wasWatched)
        g_watch.thread = 0;
}

AllocationProbe::Unwatched::~Unwatched()
{
    if (m_wasWatched)
        g_watch.thread = GetCurrentThreadId();
}

// A thread's first throw makes the C++ runtime allocate blocks that it keeps, and so does its first throw without
// memory. Both throws are made here before anything counts: later they would look like leaks of the product.
void AllocationProbe::TakeRuntimeBlocks() noexcept
{
    Raise();
    g_watch.thread = GetCurrentThreadId();
    FailRequest(1);
    Raise();
    g_watch.thread = 0;
    g_watch.blocks = {};
    g_watch.requestCount = 0;
    g_watch.failed = false;
}

// The real function is stored before the next redirection is made: making that one allocates, and so calls the
// replacement.
AllocationProbe::AllocationProbe()
{
    g_watch = {};
    m_malloc.emplace("malloc", WatchedMalloc);
    g_watch.malloc = m_malloc->Real();
    m_free.emplace("free", WatchedFree);
    g_watch.free = m_free->Real();
    m_calloc.emplace("calloc", WatchedCalloc);
    g_watch.calloc = m_calloc->Real();
    m_realloc.emplace("realloc", WatchedRealloc);
    g_watch.realloc = m_realloc->Real();
    TakeRuntimeBlocks();
    g_watch.thread = GetCurrentThreadId();
}

AllocationProbe::~AllocationProbe()
{
    g_watch.thread = 0;
}

size_t AllocationProbe::LiveBlocks() const noexcept
{
    return static_cast<size_t>(std::count_if(g_watch.blocks.begin(), g_watch.blocks.end(),
                                             [](const void* block) { return block != nullptr; }));
}

std::vector<size_t> AllocationProbe::Requests() const
{
    const size_t count = std::min(g_watch.requestCount, c_requestsKept);
    const size_t first = g_watch.requestCount - count;
    const Unwatched unwatched;
    std::vector<size_t> requests(count);
    for (size_t i = 0; i < count; ++i)
        requests[i] = g_watch.requests[(first + i) % c_requestsKept];
    return requests;
}

void AllocationProbe::FailSize(size_t bytes) noexcept
{
    g_watch.failSize = bytes;
}

void AllocationProbe::FailRequest(unsigned n) noexcept
{
    g_watch.failIn = n;
    g_watch.failOn = false;
}

void AllocationProbe::FailFrom(unsigned n) noexcept
{
    g_watch.failIn = n;
    g_watch.failOn = true;
}

void AllocationProbe::StopFailing() noexcept
{
    g_watch.failIn = 0;
    g_watch.failSize = SIZE_MAX;
}

bool AllocationProbe::HasFailed() const noexcept
{
    return g_watch.failed;
}
