#pragma once

#include <cstdint>

// The time at the head of every trace line: the performance counter in milliseconds. It usually counts from the start
// of the system, and is the same for all threads. Any thread. The thread's last error is the same afterwards. The
// counter has to run at 1000 per second or more, as it does on every supported system.
double TickMs() noexcept;

// A stopwatch over the performance counter. A waiting loop calls Start just before each wait and Stop after it, and
// adds up the laps. Belongs to one thread.
class CPerfTimer
{
public:
    // Reads the counter's frequency only: call Start and Stop before Seconds.
    CPerfTimer() noexcept;
    // Calls Stop, and does nothing else.
    ~CPerfTimer();
    CPerfTimer(const CPerfTimer&) = default;
    CPerfTimer& operator=(const CPerfTimer&) = default;

    void Start() noexcept;
    void Stop() noexcept;

    // The time from Start to Stop in seconds. When Stop came first, a huge value, not a negative one.
    double Seconds() const noexcept;

private:
    int64_t m_startCount;
    int64_t m_stopCount;
    int64_t m_frequency;
};

static_assert(sizeof(CPerfTimer) == 24, "three 64-bit fields");
