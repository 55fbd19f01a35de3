#include "client/results/Durations.h"

#include <algorithm>
#include <utility>

Durations::Durations(std::vector<double> milliseconds) : m_sorted(std::move(milliseconds))
{
    std::sort(m_sorted.begin(), m_sorted.end());
}

double Durations::Median() const noexcept
{
    return (m_sorted[(m_sorted.size() - 1) / 2] + m_sorted[m_sorted.size() / 2]) / 2;
}
