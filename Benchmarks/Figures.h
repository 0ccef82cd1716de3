#pragma once

#include <string>
#include <vector>

/// What the benchmarks are asked: figures of the library, each beside what it is compared with, and what it should be.

/// What the repetitions of a benchmark have in common: the time of an iteration in nanoseconds, or a counter.
struct Measure
{
    std::string mBenchmark; ///< its name with arguments
    std::string mCounter;   ///< empty for the time
    double mDivisor = 1;    ///< units of work in an iteration
    std::string mStatistic = "median";
};

enum class Comparison
{
    Time,  ///< the library's time as a multiple of the other's
    Speed, ///< the library's speed as a multiple of the other's
    None,  ///< the library's measure itself
};

enum class Aim
{
    AtMost,
    AtLeast,
    Reported, ///< there is none
};

struct Figure
{
    std::string mText;
    Measure mOurs;
    Comparison mComparison;
    Measure mOther; ///< unused without a comparison
    Aim mAim;
    double mLimit;
};

std::vector<Figure> GetFigures();

/// The benchmarks, as regular expressions for their names, in groups whose members are compared with each other. The
/// repetitions of a group are mixed and run in one go, so that whatever else the computer does hits all of them.
std::vector<std::string> GetGroups();
