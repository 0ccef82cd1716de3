#include "RatioTable.h"

#include "Check.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <ostream>

namespace
{

std::string Format(const char* aPattern, double aValue)
{
    char text[64];
    std::snprintf(text, sizeof(text), aPattern, aValue);
    return text;
}

std::string FormatNumber(double aValue)
{
    const char* const pattern = aValue >= 100 ? "%.0f" : aValue >= 1 ? "%.2f" : "%.3f";
    return Format(pattern, aValue);
}

std::string FormatTime(double aNanoseconds)
{
    return aNanoseconds >= 10000 ? FormatNumber(aNanoseconds / 1000) + " us" : FormatNumber(aNanoseconds) + " ns";
}

std::string FormatAim(const Figure& aFigure)
{
    switch (aFigure.mAim)
    {
    case Aim::AtMost:
        return "<= " + Format("%g", aFigure.mLimit);
    case Aim::AtLeast:
        return ">= " + Format("%g", aFigure.mLimit);
    default:
        return "";
    }
}

std::string FormatVerdict(const Figure& aFigure, double aValue)
{
    if (aFigure.mAim == Aim::Reported)
    {
        return "";
    }
    const bool isMet = aFigure.mAim == Aim::AtMost ? aValue <= aFigure.mLimit : aValue >= aFigure.mLimit;
    return isMet ? "met" : "NOT MET";
}

/// The name without what tells how the time was taken.
std::string MakeKey(const benchmark::BenchmarkName& aName)
{
    std::string key = aName.function_name;
    for (const std::string& part : {aName.args, aName.threads})
    {
        key += part.empty() ? "" : "/" + part;
    }
    return key;
}

} // namespace

bool RatioTable::ReportContext(const Context&)
{
    return true;
}

void RatioTable::ReportRuns(const std::vector<Run>& aRuns)
{
    mRuns.push_back(aRuns);
    for (const Run& run : aRuns)
    {
        if (run.error_occurred)
        {
            GetErrorStream() << run.benchmark_name() << ": " << run.error_message << "\n";
            mHasFailed = true;
        }
        else
        {
            mStatistics[MakeKey(run.run_name)][run.aggregate_name] = run;
        }
    }
}

void RatioTable::Print(bool aAll)
{
    std::vector<Row> rows = {{"figure", "libKoSerial", "beside it", "ratio", "aim", ""}};
    for (const Figure& figure : GetFigures())
    {
        if (IsMeasured(figure))
        {
            rows.push_back(MakeRow(figure));
        }
        else if (aAll)
        {
            rows.push_back({figure.mText, "", "", "", FormatAim(figure), "not measured"});
        }
    }
    PrintRows(rows);
}

void RatioTable::WriteJson(const std::string& aPath) const
{
    std::ofstream file(aPath);
    benchmark::JSONReporter reporter;
    reporter.SetOutputStream(&file);
    reporter.ReportContext(Context());
    for (const std::vector<Run>& runs : mRuns)
    {
        reporter.ReportRuns(runs);
    }
    reporter.Finalize();
    Check(file.flush().good(), "cannot write the results");
}

std::optional<double> RatioTable::Find(const Measure& aMeasure) const
{
    const auto benchmark = mStatistics.find(aMeasure.mBenchmark);
    if (benchmark == mStatistics.end())
    {
        return std::nullopt;
    }
    // A run that is not repeated has no statistics but itself.
    const std::map<std::string, Run>& statistics = benchmark->second;
    const auto found = statistics.find(statistics.size() == 1 ? "" : aMeasure.mStatistic);
    if (found == statistics.end())
    {
        return std::nullopt;
    }
    const Run& run = found->second;
    if (aMeasure.mCounter.empty())
    {
        const double toNanoseconds = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
        return run.GetAdjustedRealTime() * toNanoseconds / aMeasure.mDivisor;
    }
    return run.counters.at(aMeasure.mCounter) / aMeasure.mDivisor;
}

bool RatioTable::IsMeasured(const Figure& aFigure) const
{
    return Find(aFigure.mOurs) && (aFigure.mComparison == Comparison::None || Find(aFigure.mOther));
}

RatioTable::Row RatioTable::MakeRow(const Figure& aFigure) const
{
    const double ours = *Find(aFigure.mOurs);
    if (aFigure.mComparison == Comparison::None)
    {
        return {aFigure.mText, FormatNumber(ours), "", "", FormatAim(aFigure), FormatVerdict(aFigure, ours)};
    }
    const double other = *Find(aFigure.mOther);
    const double ratio = aFigure.mComparison == Comparison::Time ? ours / other : other / ours;
    return {aFigure.mText,       FormatTime(ours),   FormatTime(other),
            FormatNumber(ratio), FormatAim(aFigure), FormatVerdict(aFigure, ratio)};
}

void RatioTable::PrintRows(const std::vector<Row>& aRows)
{
    std::vector<std::size_t> widths(aRows.front().size(), 3);
    for (const Row& row : aRows)
    {
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::ostream& out = GetOutputStream();
    for (const Row& row : aRows)
    {
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            out << "| " << row[i] << std::string(widths[i] - row[i].size() + 1, ' ');
        }
        out << "|\n";
        if (&row == &aRows.front())
        {
            for (const std::size_t width : widths)
            {
                out << "|" << std::string(width + 2, '-');
            }
            out << "|\n";
        }
    }
    out.flush();
}
