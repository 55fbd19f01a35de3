#include "OrvProfiler/foundation/PerfTimer.h"

#include <windows.h>

namespace
{
int64_t ReadCounter() noexcept
{
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

int64_t ReadFrequency() noexcept
{
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}
} // namespace

double TickMs() noexcept
{
    const DWORD lastError = GetLastError();
    const int64_t countsPerMs = ReadFrequency() / 1000;
    const int64_t counts = ReadCounter();
    SetLastError(lastError);
    return static_cast<double>(counts) / static_cast<double>(countsPerMs);
}

// The counts are not set here: a timer is always started and stopped before it is read.
// cppcheck-suppress uninitMemberVar
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
CPerfTimer::CPerfTimer() noexcept : m_frequency(ReadFrequency()) {}

CPerfTimer::~CPerfTimer()
{
    Stop();
}

void CPerfTimer::Start() noexcept
{
    m_startCount = ReadCounter();
}

void CPerfTimer::Stop() noexcept
{
    m_stopCount = ReadCounter();
}

double CPerfTimer::Seconds() const noexcept
{
    // Unsigned on purpose: a count that went backwards shows as a huge time, not as a negative one.
    const uint64_t counts = static_cast<uint64_t>(m_stopCount) - static_cast<uint64_t>(m_startCount);
    return static_cast<double>(counts) / static_cast<double>(static_cast<uint64_t>(m_frequency));
}
