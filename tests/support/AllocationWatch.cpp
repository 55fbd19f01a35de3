#include "tests/support/AllocationWatch.h"

#include <windows.h>

#include <new>

namespace
{
constexpr unsigned c_never = ~0U;

void* (*g_malloc)(size_t);
void* (*g_calloc)(size_t, size_t);
void* (*g_realloc)(void*, size_t);
void (*g_free)(void*);
DWORD g_thread;
int g_outstanding;
unsigned g_requests;
size_t g_sizes[AllocationWatch::c_keptSizes];
unsigned g_successes;
bool g_failAll;
bool g_failed;

bool IsWatched()
{
    return GetCurrentThreadId() == g_thread;
}

// Notes a request. Returns whether it is granted.
bool Note(size_t sizeBytes)
{
    if (g_requests < AllocationWatch::c_keptSizes)
        g_sizes[g_requests] = sizeBytes;
    ++g_requests;
    if (g_successes == c_never)
        return true;
    if (g_successes > 0)
    {
        --g_successes;
        return true;
    }
    g_failed = true;
    if (!g_failAll)
        g_successes = c_never;
    return false;
}

void* WatchedMalloc(size_t sizeBytes)
{
    if (!IsWatched())
        return g_malloc(sizeBytes);
    if (!Note(sizeBytes))
        return nullptr;
    void* const block = g_malloc(sizeBytes);
    g_outstanding += block != nullptr ? 1 : 0;
    return block;
}

// The compiler makes a zeroing malloc into this.
void* WatchedCalloc(size_t count, size_t sizeBytes)
{
    if (!IsWatched())
        return g_calloc(count, sizeBytes);
    if (!Note(count * sizeBytes))
        return nullptr;
    void* const block = g_calloc(count, sizeBytes);
    g_outstanding += block != nullptr ? 1 : 0;
    return block;
}

void* WatchedRealloc(void* block, size_t sizeBytes)
{
    if (!IsWatched())
        return g_realloc(block, sizeBytes);
    if (!Note(sizeBytes))
        return nullptr;
    void* const grown = g_realloc(block, sizeBytes);
    g_outstanding += block == nullptr && grown != nullptr ? 1 : 0;
    return grown;
}

void WatchedFree(void* block)
{
    if (IsWatched() && block != nullptr)
        --g_outstanding;
    g_free(block);
}
} // namespace

AllocationWatch::AllocationWatch()
{
    // The first exception of a process makes the runtime allocate for good: no leak of the code under test.
    try
    {
        throw std::bad_alloc();
    }
    catch (const std::bad_alloc&) // NOLINT(bugprone-empty-catch)
    {
    }
    // Making a redirection allocates: each function's real one is known before the next is made.
    g_malloc = m_malloc.emplace("malloc", WatchedMalloc).Real();
    g_calloc = m_calloc.emplace("calloc", WatchedCalloc).Real();
    g_realloc = m_realloc.emplace("realloc", WatchedRealloc).Real();
    g_free = m_free.emplace("free", WatchedFree).Real();
    g_outstanding = 0;
    g_requests = 0;
    g_successes = c_never;
    g_failed = false;
    g_thread = GetCurrentThreadId();
}

AllocationWatch::~AllocationWatch()
{
    StopFailing();
    g_thread = 0;
}

void AllocationWatch::FailOneAfter(unsigned successes) noexcept
{
    g_failAll = false;
    g_failed = false;
    g_successes = successes;
}

void AllocationWatch::FailAllAfter(unsigned successes) noexcept
{
    g_failAll = true;
    g_failed = false;
    g_successes = successes;
}

void AllocationWatch::StopFailing() noexcept
{
    g_successes = c_never;
}

bool AllocationWatch::HasFailed() const noexcept
{
    return g_failed;
}

int AllocationWatch::Outstanding() const noexcept
{
    return g_outstanding;
}

unsigned AllocationWatch::Requests() const noexcept
{
    return g_requests;
}

size_t AllocationWatch::SizeBytes(unsigned i) const noexcept
{
    return i < g_requests && i < c_keptSizes ? g_sizes[i] : 0;
}
