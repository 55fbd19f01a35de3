#pragma once

#include <cstdint>

// The clock at the head of every trace line: the performance counter in milliseconds, counted from the counter's own
// origin (as a rule the start of the system). The same origin for all threads; any thread may call it. The thread's
// last error is the same afterwards. Precondition: a counter frequency of at least 1000 per second, which every
// supported system has.
double TickMs() noexcept;

// A stopwatch over the performance counter. A waiting loop calls Start just before each wait and Stop after it, and
// adds up the laps. Belongs to one thread.
class CPerfTimer
{
public:
    // Reads the counter's frequency. The counts are not set: call Start and Stop before Seconds.
    CPerfTimer() noexcept;
    // Stops the lap and does nothing else.
    ~CPerfTimer();
    CPerfTimer(const CPerfTimer&) = default;
    CPerfTimer& operator=(const CPerfTimer&) = default;

    void Start() noexcept;
    void Stop() noexcept;

    // The time from Start to Stop in seconds. A stop before its start gives a huge positive value, not a negative
    // one.
    double Seconds() const noexcept;

private:
    int64_t m_startCount;
    int64_t m_stopCount;
    int64_t m_frequency;
};

static_assert(sizeof(CPerfTimer) == 24, "three 64-bit fields");
