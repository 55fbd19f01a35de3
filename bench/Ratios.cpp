#define CATCH_CONFIG_RUNNER
#include "bench/Ratios.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

namespace
{
struct Row
{
    std::string name;
    double aim;
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

double Ratio(const Row& row)
{
    std::vector<double> ratios;
    const size_t rounds = std::min(row.productNs.size(), row.baselineNs.size());
    for (size_t i = 0; i < rounds; ++i)
        ratios.push_back(row.productNs[i] / row.baselineNs[i]);
    return Median(ratios);
}

const char* Verdict(const Row& row)
{
    if (row.aim == c_stated)
        return "";
    return Ratio(row) <= row.aim ? "met" : "missed";
}

void PrintTable()
{
    std::printf("%-52s %12s %12s %7s %6s\n", "what", "product us", "baseline us", "ratio", "aim");
    for (const Row& row : g_rows)
    {
        std::printf("%-52s %12.3f %12.3f %7.3f ", row.name.c_str(), Median(row.productNs) / 1000,
                    Median(row.baselineNs) / 1000, Ratio(row));
        if (row.aim == c_stated)
            std::printf("%6s\n", "-");
        else
            std::printf("%6.2f %s\n", row.aim, Verdict(row));
    }
    for (const auto& [name, figure] : g_statements)
        std::printf("%-52s %s\n", name.c_str(), figure.c_str());
}

void WriteJson(const char* path)
{
    std::FILE* const file = std::fopen(path, "w");
    if (file == nullptr)
        return;
    std::fputs("{\n  \"rows\": [\n", file);
    for (const Row& row : g_rows)
        std::fprintf(file,
                     "    {\"name\": \"%s\", \"product_ns\": %.1f, \"baseline_ns\": %.1f, \"ratio\": %.4f, "
                     "\"aim\": %.2f, \"verdict\": \"%s\"}%s\n",
                     row.name.c_str(), Median(row.productNs), Median(row.baselineNs), Ratio(row), row.aim,
                     Verdict(row), &row == &g_rows.back() ? "" : ",");
    std::fputs("  ],\n  \"statements\": {\n", file);
    for (const auto& statement : g_statements)
        std::fprintf(file, "    \"%s\": \"%s\"%s\n", statement.first.c_str(), statement.second.c_str(),
                     &statement == &g_statements.back() ? "" : ",");
    std::fputs("  }\n}\n", file);
    std::fclose(file);
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
            std::printf("FAILED: %s\n", stats.assertionResult.getExpressionInMacro().c_str());
        return true;
    }
    void benchmarkFailed(const std::string& error) override { std::printf("FAILED: %s\n", error.c_str()); }
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
        if (const char* const path = std::getenv("ORV_BENCH_JSON"))
            WriteJson(path);
        StreamingReporterBase::testRunEnded(stats);
    }
};

CATCH_REGISTER_REPORTER("ratios", RatioReporter)
} // namespace

void ratios::Begin(const std::string& row, double aim)
{
    g_rows.push_back({row, aim, {}, {}});
    std::fprintf(stderr, "%s\n", row.c_str());
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
