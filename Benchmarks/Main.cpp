// Runs the benchmarks in nine repetitions and prints the table of figures. Takes the options of Google Benchmark; with
// --benchmark_filter it runs and prints less.

#include "Figures.h"
#include "RatioTable.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace
{

using Options = std::vector<std::string>;

/// The defaults of this program go before what the user gives, so that the user has the last word.
Options GetOptions(int aCount, char** aArguments)
{
    Options options = {aArguments[0], "--benchmark_repetitions=9", "--benchmark_enable_random_interleaving=true",
                       "--benchmark_min_time=0.04"};
    options.insert(options.end(), aArguments + 1, aArguments + aCount);
    return options;
}

/// Takes the path of the results out of the options: Google Benchmark would write a file for each group.
std::string TakeOutputPath(Options& aOptions)
{
    const std::string name = "--benchmark_out=";
    std::string path;
    for (auto option = aOptions.begin(); option != aOptions.end();)
    {
        const bool isPath = option->compare(0, name.size(), name) == 0;
        path = isPath ? option->substr(name.size()) : path;
        option = isPath ? aOptions.erase(option) : option + 1;
    }
    return path;
}

/// False when there is one that Google Benchmark does not know.
bool UseOptions(Options& aOptions)
{
    std::vector<char*> arguments;
    for (std::string& option : aOptions)
    {
        arguments.push_back(option.data());
    }
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    return !benchmark::ReportUnrecognizedArguments(count, arguments.data());
}

int Run(Options aOptions)
{
    const std::string outputPath = TakeOutputPath(aOptions);
    if (!UseOptions(aOptions))
    {
        return 2;
    }
    const std::string filter = benchmark::GetBenchmarkFilter();
    const bool isAll = filter.empty() || filter == "all" || filter == ".";
    RatioTable table;
    for (const std::string& group : isAll ? GetGroups() : Options{filter})
    {
        std::fprintf(stderr, "measuring %s\n", group.c_str());
        benchmark::RunSpecifiedBenchmarks(&table, nullptr, group);
    }
    table.Print(isAll);
    if (!outputPath.empty())
    {
        table.WriteJson(outputPath);
    }
    return table.HasFailed() ? 1 : 0;
}

} // namespace

int main(int aCount, char** aArguments)
{
    try
    {
        return Run(GetOptions(aCount, aArguments));
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "KoSerialBenchmarks: %s\n", failure.what());
        return 1;
    }
}
