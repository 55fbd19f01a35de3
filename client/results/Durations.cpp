#include "client/results/Durations.h"

#include <algorithm>
#include <cmath>
#include <utility>

double RoundedMs(double milliseconds) noexcept
{
    constexpr double perMillisecond = 1000;
    return std::round(milliseconds * perMillisecond) / perMillisecond;
}

Durations::Durations(std::vector<double> milliseconds) : m_sorted(std::move(milliseconds))
{
    std::sort(m_sorted.begin(), m_sorted.end());
}

double Durations::Median() const noexcept
{
    return (m_sorted[(m_sorted.size() - 1) / 2] + m_sorted[m_sorted.size() / 2]) / 2;
}
