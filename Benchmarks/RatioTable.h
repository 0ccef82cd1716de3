#pragma once

#include "Figures.h"

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// Collects what the benchmarks measure, and makes one table of figures of them.
class RatioTable : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context& aContext) override;
    void ReportRuns(const std::vector<Run>& aRuns) override;

    /// Prints the table in Markdown. aAll: also the figures that were not measured, because they need more CPUs.
    void Print(bool aAll);

    /// Writes every run to a file, as Google Benchmark writes it.
    void WriteJson(const std::string& aPath) const;

    /// True when a benchmark did not run to its end.
    bool HasFailed() const { return mHasFailed; }

private:
    using Row = std::vector<std::string>;

    std::optional<double> Find(const Measure& aMeasure) const;
    Row MakeRow(const Figure& aFigure) const;
    bool IsMeasured(const Figure& aFigure) const;
    void PrintRows(const std::vector<Row>& aRows);

    std::vector<std::vector<Run>> mRuns;
    std::map<std::string, std::map<std::string, Run>> mStatistics; ///< by name with arguments, and by statistic
    bool mHasFailed = false;
};
