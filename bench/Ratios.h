#pragma once

#include <catch2/catch.hpp>
#include <optional>
#include <string>

// Every figure is a ratio of the product to a bare baseline, measured in the same run: the two take turns for several
// rounds, each first in every other one, and the median of the rounds' ratios counts, so that a busy machine slows
// both.

constexpr int c_rounds = 9;

// The greatest ratio that is meant; without one the figure is only stated.
using Aim = std::optional<double>;
constexpr Aim c_stated = std::nullopt;

namespace ratios
{
// Announces a row of the table.
void Begin(const std::string& row, Aim aim);
// The names under which the two halves of a row are measured.
std::string ProductName(const std::string& row);
std::string BaselineName(const std::string& row);
// A figure that is no ratio, for the end of the table.
void State(const std::string& row, const std::string& figure);
} // namespace ratios

// Measures a row; rounds is how often the two take turns. Both return a value, so that the work cannot be optimised
// away.
template <class Product, class Baseline>
void CompareRatio(const std::string& row, Aim aim, Product&& product, Baseline&& baseline, int rounds = c_rounds)
{
    ratios::Begin(row, aim);
    const auto runProduct = [&] {
        BENCHMARK(ratios::ProductName(row))
        {
            return product();
        };
    };
    const auto runBaseline = [&] {
        BENCHMARK(ratios::BaselineName(row))
        {
            return baseline();
        };
    };
    for (int round = 0; round < rounds; ++round)
    {
        if (round % 2 == 0)
        {
            runBaseline();
            runProduct();
        }
        else
        {
            runProduct();
            runBaseline();
        }
    }
}
