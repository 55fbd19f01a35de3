#pragma once

#include <cstddef>
#include <vector>

// A time as it is told: to a microsecond, which is as much as the clock is good for.
double RoundedMs(double milliseconds) noexcept;

// How long the runs of a command took, in milliseconds. At least one.
class Durations
{
public:
    explicit Durations(std::vector<double> milliseconds);

    size_t Count() const noexcept { return m_sorted.size(); }
    double Minimum() const noexcept { return m_sorted.front(); }
    // Of an even number the mean of the two in the middle.
    double Median() const noexcept;
    double Maximum() const noexcept { return m_sorted.back(); }

private:
    std::vector<double> m_sorted;
};
