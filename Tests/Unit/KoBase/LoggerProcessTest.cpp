#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace
{

using Lines = std::vector<std::string>;

/// Runs the helper and gives what it writes to standard error. aEnvironment is how env(1) is to set KO_LOG.
Lines RunHelper(const std::string& aEnvironment, const std::string& aMode)
{
    const std::string command = "env " + aEnvironment + " " KO_LOG_HELPER " " + aMode + " 2>&1 >/dev/null";
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::string output;
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
    {
        output.append(buffer.data(), count);
    }
    EXPECT_EQ(::pclose(pipe), 0);

    Lines lines;
    for (std::size_t start = 0; start < output.size();)
    {
        const std::size_t end = output.find('\n', start);
        lines.push_back(output.substr(start, end - start));
        start = end == std::string::npos ? output.size() : end + 1;
    }
    return lines;
}

Lines RunWithLevel(const std::string& aLevel)
{
    return RunHelper("'KO_LOG=" + aLevel + "'", "levels");
}

/// What follows the last ": " of each line.
Lines GetMessages(Lines aLines)
{
    for (std::string& line : aLines)
    {
        line = line.substr(line.rfind(": ") + 2);
    }
    return aLines;
}

/// Puts # in place of every number.
std::string MaskNumbers(const std::string& aLine)
{
    std::string masked;
    for (const char letter : aLine)
    {
        const bool isDigit = letter >= '0' && letter <= '9';
        if (!isDigit || masked.empty() || masked.back() != '#')
        {
            masked += isDigit ? '#' : letter;
        }
    }
    return masked;
}

/// The entries that the helper makes, the most urgent first.
Lines FirstEntries(std::size_t aCount)
{
    Lines entries = {"a critical entry", "an error entry", "a warning entry", "an info entry", "a debug entry"};
    entries.resize(aCount);
    return entries;
}

} // namespace

TEST(LoggerProcessTest, IsSilentUnlessTheVariableIsSet)
{
    EXPECT_EQ(RunHelper("-u KO_LOG", "levels"), Lines{});
}

TEST(LoggerProcessTest, TakesAnEmptyVariableForNone)
{
    EXPECT_EQ(RunWithLevel(""), Lines{});
}

TEST(LoggerProcessTest, GivesASinkWarningsAndWorseByDefaultAndIsSilentAgainWithoutIt)
{
    EXPECT_EQ(RunHelper("-u KO_LOG", "sink"),
              (Lines{"sink: a critical entry", "sink: an error entry", "sink: a warning entry"}));
}

TEST(LoggerProcessTest, WritesToStandardErrorAgainWhenTheSinkIsTakenAwayAndTheVariableIsSet)
{
    const Lines lines = RunHelper("KO_LOG=error", "sink");

    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 2), (Lines{"sink: a critical entry", "sink: an error entry"}));
    EXPECT_EQ(GetMessages(Lines(lines.begin() + 2, lines.end())), FirstEntries(2));
    EXPECT_NE(lines[2].find("LogHelper.cpp"), std::string::npos) << lines[2];
}

TEST(LoggerProcessTest, SendsNoControlCharacterToATerminal)
{
    EXPECT_EQ(GetMessages(RunHelper("KO_LOG=error", "control")), Lines{"\\x1b[2Jtwo\\x0alines"});
}

TEST(LoggerProcessTest, SendsNoControlCharacterOfTheVariableToATerminal)
{
    const Lines lines = RunHelper("\"KO_LOG=$(printf '\\233a\\033[2Jb')\"", "end");

    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].substr(0, lines[0].find(" is not")), "KO_LOG=\\x9ba\\x1b[2Jb");
}

TEST(LoggerProcessTest, TakesALevelByName)
{
    EXPECT_EQ(GetMessages(RunWithLevel("error")), FirstEntries(2));
    EXPECT_EQ(GetMessages(RunWithLevel("warning")), FirstEntries(3));
    EXPECT_EQ(GetMessages(RunWithLevel("info")), FirstEntries(4));
    EXPECT_EQ(GetMessages(RunWithLevel("debug")), FirstEntries(5));
}

TEST(LoggerProcessTest, TakesALevelByNumber)
{
    const std::map<std::string, std::size_t> expected = {{"0", 0}, {"1", 0}, {"2", 1}, {"3", 2},
                                                         {"4", 3}, {"5", 3}, {"6", 4}, {"7", 5}};
    for (const auto& [level, entries] : expected)
    {
        EXPECT_EQ(GetMessages(RunWithLevel(level)), FirstEntries(entries)) << "KO_LOG=" << level;
    }
}

TEST(LoggerProcessTest, SaysWhatALevelMayBeAndGoesOnWithWarnings)
{
    for (const std::string level : {"loud", "8", "-1", "33", "Debug", "4 "})
    {
        const Lines lines = RunWithLevel(level);

        ASSERT_EQ(lines.size(), 4U) << level;
        EXPECT_EQ(lines[0],
                  "KO_LOG=" + level + " is not a log level: use error, warning, info, debug, or a number from 0 to 7");
        EXPECT_EQ(GetMessages(Lines(lines.begin() + 1, lines.end())), FirstEntries(3));
    }
}

TEST(LoggerProcessTest, TellsTimeLevelCategoryThreadPlaceAndFunctionInEveryLine)
{
    Lines lines = RunWithLevel("debug");
    std::transform(lines.begin(), lines.end(), lines.begin(), MaskNumbers);

    const std::string time = "#-#-#T#:#:#.#Z ";
    const std::string origin = " Helper [#] LogHelper.cpp:# LogEveryLevel: ";
    EXPECT_EQ(lines, (Lines{time + "critical" + origin + "a critical entry", time + "error" + origin + "an error entry",
                            time + "warning" + origin + "a warning entry", time + "info" + origin + "an info entry",
                            time + "debug" + origin + "a debug entry"}));
}

TEST(LoggerProcessTest, KeepsTheLinesOfSeveralThreadsWhole)
{
    const Lines messages = GetMessages(RunHelper("KO_LOG=error", "threads"));

    ASSERT_EQ(messages.size(), 1000U);
    for (const char letter : {'a', 'b', 'c', 'd'})
    {
        EXPECT_EQ(std::count(messages.begin(), messages.end(), std::string(200, letter)), 250) << letter;
    }
}

TEST(LoggerProcessTest, StillWritesWhileStaticObjectsAreDestroyed)
{
    EXPECT_EQ(GetMessages(RunHelper("KO_LOG=error", "end")), Lines{"good bye"});
}
