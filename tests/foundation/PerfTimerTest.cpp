#include "OrvProfiler/foundation/PerfTimer.h"

#include "OrvProfiler/foundation/Trace.h"
#include "tests/support/contract/ObjectFields.h"
#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <cmath>
#include <gmock/gmock.h>
#include <thread>

namespace
{
// A clock that the test sets, in place of the system's. It records the order in which it is read.
class FakeClock
{
public:
    FakeClock(int64_t frequency, int64_t counter)
    {
        s_frequency = frequency;
        s_counter = counter;
        s_calls.clear();
    }

    void Set(int64_t counter) { s_counter = counter; }
    void SetFrequency(int64_t frequency) { s_frequency = frequency; }
    // Makes the system calls fail and write nothing.
    void Fail() { s_counter = s_frequency = c_failing; }
    // "f" for each reading of the frequency, "c" for each of the counter, since the last call.
    std::string TakeCalls() { return std::exchange(s_calls, {}); }

private:
    static constexpr int64_t c_failing = INT64_MIN;

    static BOOL WINAPI Answer(char call, int64_t value, LARGE_INTEGER* result)
    {
        s_calls += call;
        if (value == c_failing)
            return FALSE;
        result->QuadPart = value;
        return TRUE;
    }
    static BOOL WINAPI Counter(LARGE_INTEGER* result) { return Answer('c', s_counter, result); }
    static BOOL WINAPI Frequency(LARGE_INTEGER* result) { return Answer('f', s_frequency, result); }

    static inline int64_t s_counter;
    static inline int64_t s_frequency;
    static inline std::string s_calls;

    Redirect<decltype(QueryPerformanceCounter)> m_counter{"QueryPerformanceCounter", Counter};
    Redirect<decltype(QueryPerformanceFrequency)> m_frequency{"QueryPerformanceFrequency", Frequency};
};

struct TimerFields
{
    int64_t start;
    int64_t stop;
    int64_t frequency;
};
} // namespace

TEST(TickMs, DividesTheCounterByTheCountsPerMillisecond)
{
    const FakeClock clock(10000000, 12345678901);
    EXPECT_DOUBLE_EQ(1234567.8901, TickMs());
    EXPECT_STREQ(L"1234568", FormatSlot(L"%6.0f", TickMs()));
}

TEST(TickMs, PadsShortTimesToSixCharactersInALine)
{
    const FakeClock clock(1000, 42);
    EXPECT_STREQ(L"    42", FormatSlot(L"%6.0f", TickMs()));
}

TEST(TickMs, TruncatesTheCountsPerMillisecond)
{
    FakeClock clock(3579545, 3579000);
    EXPECT_DOUBLE_EQ(1000.0, TickMs());
    clock.SetFrequency(1999);
    clock.Set(17);
    EXPECT_DOUBLE_EQ(17.0, TickMs());
}

TEST(TickMs, ReadsTheFrequencyAfreshAndBeforeTheCounter)
{
    FakeClock clock(1000, 500);
    EXPECT_DOUBLE_EQ(500.0, TickMs());
    clock.SetFrequency(2000);
    EXPECT_DOUBLE_EQ(250.0, TickMs());
    EXPECT_EQ("fcfc", clock.TakeCalls());
}

TEST(TickMs, IsInfiniteWhenTheFrequencyIsBelowOneCountPerMillisecond)
{
    const FakeClock clock(999, 5);
    EXPECT_TRUE(std::isinf(TickMs()));
}

TEST(TickMs, IgnoresFailingSystemCalls)
{
    FakeClock clock(1000, 5);
    clock.Fail();
    EXPECT_TRUE(std::isnan(TickMs())); // nothing by nothing
}

TEST(TickMs, LeavesTheLastErrorAsItWas)
{
    const Redirect<decltype(QueryPerformanceCounter)> counter("QueryPerformanceCounter", [](LARGE_INTEGER* result) {
        SetLastError(ERROR_NOT_SUPPORTED);
        result->QuadPart = 5000;
        return TRUE;
    });
    const Redirect<decltype(QueryPerformanceFrequency)> frequency("QueryPerformanceFrequency",
                                                                  [](LARGE_INTEGER* result) {
                                                                      SetLastError(ERROR_INVALID_FUNCTION);
                                                                      result->QuadPart = 1000;
                                                                      return TRUE;
                                                                  });
    SetLastError(1234);
    TickMs();
    EXPECT_EQ(1234U, GetLastError());
}

TEST(TickMs, HasOneOriginForAllThreads)
{
    const double before = TickMs();
    double other = 0;
    std::thread([&other] { other = TickMs(); }).join();
    const double after = TickMs();
    EXPECT_LE(before, other);
    EXPECT_LE(other, after);
}

TEST(CPerfTimer, ReadsOnlyTheFrequencyWhenItIsBuilt)
{
    FakeClock clock(12345, 1);
    const CPerfTimer timer;
    EXPECT_EQ("f", clock.TakeCalls());
    EXPECT_EQ(12345, FieldsOf<TimerFields>(timer).frequency);
}

TEST(CPerfTimer, MeasuresFromStartToStop)
{
    FakeClock clock(10000000, 1000);
    CPerfTimer timer;
    timer.Start();
    clock.Set(25001000);
    timer.Stop();
    EXPECT_DOUBLE_EQ(2.5, timer.Seconds());
    EXPECT_EQ(1000, FieldsOf<TimerFields>(timer).start);
    EXPECT_EQ(25001000, FieldsOf<TimerFields>(timer).stop);
    EXPECT_EQ("fcc", clock.TakeCalls());
}

TEST(CPerfTimer, KeepsTheFrequencyOfItsConstruction)
{
    FakeClock clock(1000, 0);
    CPerfTimer timer;
    clock.SetFrequency(1);
    timer.Start();
    clock.Set(500);
    timer.Stop();
    EXPECT_DOUBLE_EQ(0.5, timer.Seconds());
}

TEST(CPerfTimer, GivesZeroForEqualCounts)
{
    const FakeClock clock(1000, 77);
    CPerfTimer timer;
    timer.Start();
    timer.Stop();
    EXPECT_DOUBLE_EQ(0.0, timer.Seconds());
}

TEST(CPerfTimer, StartsAnewForEachLap)
{
    FakeClock clock(1000, 1000);
    CPerfTimer timer;
    timer.Start();
    clock.Set(2000);
    timer.Stop();
    clock.Set(5000);
    timer.Start();
    clock.Set(5250);
    timer.Stop();
    EXPECT_DOUBLE_EQ(0.25, timer.Seconds());
}

TEST(CPerfTimer, GivesAHugePositiveTimeForACounterThatWentBackwards)
{
    FakeClock clock(1000, 1000);
    CPerfTimer timer;
    timer.Start();
    clock.Set(999);
    timer.Stop();
    EXPECT_DOUBLE_EQ(18446744073709551.615, timer.Seconds()); // (2^64 - 1) / 1000
}

TEST(CPerfTimer, TreatsTheFrequencyAsUnsignedToo)
{
    FakeClock clock(-1, 0);
    CPerfTimer timer;
    timer.Start();
    clock.Set(-1);
    timer.Stop();
    EXPECT_DOUBLE_EQ(1.0, timer.Seconds());
}

TEST(CPerfTimer, StopsWhenItIsDestroyed)
{
    FakeClock clock(1000, 5);
    {
        const CPerfTimer timer;
        clock.TakeCalls();
    }
    EXPECT_EQ("c", clock.TakeCalls());
}
