#define CATCH_CONFIG_RUNNER
#include "bench/Ratios.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <vector>

namespace
{
struct Row
{
    std::string name;
    Aim aim;
    std::vector<double> productNs;
    std::vector<double> baselineNs;
};

std::vector<Row> g_rows;
std::vector<std::pair<std::string, std::string>> g_statements;

double Median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Of all rounds: the median that counts, and between what they lie.
struct Spread
{
    double median = 0;
    double least = 0;
    double greatest = 0;
};

Spread RatioOf(const Row& row)
{
    std::vector<double> ratios;
    const size_t rounds = std::min(row.productNs.size(), row.baselineNs.size());
    for (size_t i = 0; i < rounds; ++i)
        ratios.push_back(row.productNs[i] / row.baselineNs[i]);
    if (ratios.empty())
        return {};
    const auto [least, greatest] = std::minmax_element(ratios.begin(), ratios.end());
    return {Median(ratios), *least, *greatest};
}

const char* Verdict(const Row& row)
{
    if (!row.aim)
        return "";
    return RatioOf(row).median <= *row.aim ? "met" : "missed";
}

std::string Figure(double value, int decimals)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

void PrintRow(const std::string& name, const std::string& product, const std::string& baseline,
              const std::string& ratio, const std::string& spread, const std::string& aim)
{
    std::cout << std::left << std::setw(52) << name << ' ' << std::right << std::setw(12) << product << ' '
              << std::setw(12) << baseline << ' ' << std::setw(7) << ratio << ' ' << std::setw(13) << spread << ' '
              << std::setw(6) << aim;
}

void PrintTable()
{
    PrintRow("what", "product us", "baseline us", "ratio", "of rounds", "aim");
    std::cout << '\n';
    for (const Row& row : g_rows)
    {
        const Spread ratio = RatioOf(row);
        PrintRow(row.name, Figure(Median(row.productNs) / 1000, 3), Figure(Median(row.baselineNs) / 1000, 3),
                 Figure(ratio.median, 3), Figure(ratio.least, 2) + " to " + Figure(ratio.greatest, 2),
                 row.aim ? Figure(*row.aim, 2) : "-");
        std::cout << ' ' << Verdict(row) << '\n';
    }
    for (const auto& [name, figure] : g_statements)
        std::cout << std::left << std::setw(52) << name << ' ' << figure << '\n';
}

void WriteJson(const char* path)
{
    nlohmann::ordered_json table = {{"rows", nlohmann::json::array()}, {"statements", nlohmann::json::object()}};
    for (const Row& row : g_rows)
    {
        const Spread ratio = RatioOf(row);
        table["rows"].push_back({{"name", row.name},
                                 {"product_ns", Median(row.productNs)},
                                 {"baseline_ns", Median(row.baselineNs)},
                                 {"ratio", ratio.median},
                                 {"least_ratio", ratio.least},
                                 {"greatest_ratio", ratio.greatest},
                                 {"aim", row.aim.value_or(0)},
                                 {"verdict", Verdict(row)}});
    }
    for (const auto& [name, figure] : g_statements)
        table["statements"][name] = figure;
    std::ofstream(path) << table.dump(2) << '\n';
}

// Gathers the rounds and prints the table at the end.
class RatioReporter : public Catch::StreamingReporterBase<RatioReporter>
{
public:
    using StreamingReporterBase::StreamingReporterBase;

    static std::string getDescription() { return "Product against baseline, as ratios"; }

    void assertionStarting(const Catch::AssertionInfo&) override {}
    bool assertionEnded(const Catch::AssertionStats& stats) override
    {
        if (!stats.assertionResult.isOk())
            std::cout << "FAILED: " << stats.assertionResult.getExpressionInMacro() << '\n';
        return true;
    }
    void benchmarkFailed(const std::string& error) override { std::cout << "FAILED: " << error << '\n'; }
    void benchmarkEnded(const Catch::BenchmarkStats<>& stats) override
    {
        std::vector<double> samples;
        for (const auto& sample : stats.samples)
            samples.push_back(sample.count());
        Row& row = g_rows.back();
        (stats.info.name == ratios::ProductName(row.name) ? row.productNs : row.baselineNs)
            .push_back(Median(samples));
    }
    void testRunEnded(const Catch::TestRunStats& stats) override
    {
        PrintTable();
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing else runs any more
        if (const char* const path = std::getenv("ORV_BENCH_JSON"))
            WriteJson(path);
        StreamingReporterBase::testRunEnded(stats);
    }
};

CATCH_REGISTER_REPORTER("ratios", RatioReporter)
} // namespace

void ratios::Begin(const std::string& row, Aim aim)
{
    g_rows.push_back({row, aim, {}, {}});
    std::cerr << row << '\n';
}

std::string ratios::ProductName(const std::string& row)
{
    return row + ": product";
}

std::string ratios::BaselineName(const std::string& row)
{
    return row + ": baseline";
}

void ratios::State(const std::string& row, const std::string& figure)
{
    g_statements.emplace_back(row, figure);
}

int main(int argc, char** argv)
{
    Catch::Session session;
    Catch::ConfigData& config = session.configData();
    config.reporterName = "ratios";
    config.benchmarkSamples = 15;
    config.benchmarkNoAnalysis = true;
    config.benchmarkWarmupTime = 20;
    const int badUsage = session.applyCommandLine(argc, argv);
    return badUsage != 0 ? badUsage : session.run();
}
