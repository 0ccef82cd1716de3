#include "PortSettings.h"

#include "Failure.h"
#include "Support/Complaint.h"

#include <gtest/gtest.h>

using namespace KoTool;

namespace
{

const PortSettings EVERYTHING = {115200, KoParityEven, 2, "UART"};

std::string Refuse(const std::string& aText)
{
    return GetComplaint(STATUS_FAILURE, [&] { ParseSettings("a.txt", aText); });
}

} // namespace

TEST(PortSettings, AreWrittenOnALineEach)
{
    EXPECT_EQ(FormatSettings(EVERYTHING), "baud 115200\nparity even\nstop-bits 2\nbulk-mode UART\n");
    EXPECT_EQ(FormatSettings({9600, {}, {}, {}}), "baud 9600\n");
    EXPECT_EQ(FormatSettings({}), "");
}

TEST(PortSettings, AreReadAsTheyAreWritten)
{
    EXPECT_TRUE(ParseSettings("a.txt", FormatSettings(EVERYTHING)) == EVERYTHING);
    EXPECT_TRUE(ParseSettings("a.txt", "") == PortSettings());
    for (const KoParity parity : {KoParityNone, KoParityEven, KoParityOdd})
    {
        EXPECT_EQ(ParseSettings("a.txt", FormatSettings({{}, parity, {}, {}})).mParity, parity);
    }
}

TEST(PortSettings, MayHaveCommentsBlanksAndAnyOrder)
{
    EXPECT_TRUE(
        ParseSettings("a.txt", "# of my lens\n\n  stop-bits   2 \nbulk-mode UART\n\tparity even\r\nbaud 0x1c200") ==
        EVERYTHING);
}

TEST(PortSettings, AreRefusedWithTheLineThatIsWrong)
{
    EXPECT_EQ(Refuse("baud 9600\nspeed 1\n"),
              "a.txt, line 2: unknown setting 'speed': the settings are baud, parity, stop-bits and bulk-mode");
    EXPECT_EQ(Refuse("\n\nparity mark"), "a.txt, line 3: parity cannot be 'mark': it can be none, even or odd");
    EXPECT_EQ(Refuse("stop-bits 3"), "a.txt, line 1: stop-bits cannot be '3': it can be a number from 1 to 2");
    EXPECT_EQ(Refuse("baud"), "a.txt, line 1: a line has a setting and its value, as in 'baud 115200'");
    EXPECT_EQ(Refuse("baud 1 2"), "a.txt, line 1: a line has a setting and its value, as in 'baud 115200'");
    EXPECT_EQ(Refuse("baud fast"),
              "a.txt, line 1: baud cannot be 'fast': it can be a number from 1 to 4294967295 (0xffffffff)");
}

TEST(PortSettings, AreGivenOnceEach)
{
    for (const std::string line : {"baud 9600", "parity odd", "stop-bits 1", "bulk-mode UART"})
    {
        const std::string key = line.substr(0, line.find(' '));
        EXPECT_EQ(Refuse(line + "\n" + line), "a.txt, line 2: " + key + " is given twice");
    }
}

TEST(PortSettings, LeaveOpenWhatChangesDoNotSay)
{
    EXPECT_TRUE(Overlay(EVERYTHING, {}) == EVERYTHING);
    EXPECT_TRUE(Overlay({}, EVERYTHING) == EVERYTHING);
    EXPECT_TRUE(Overlay(EVERYTHING, {9600, {}, 1, {}}) == (PortSettings{9600, KoParityEven, 1, "UART"}));
}

TEST(PortSettings, AreTheSameWhenEachOfThemIs)
{
    EXPECT_FALSE(EVERYTHING == (PortSettings{9600, KoParityEven, 2, "UART"}));
    EXPECT_FALSE(EVERYTHING == (PortSettings{115200, {}, 2, "UART"}));
    EXPECT_FALSE(EVERYTHING == (PortSettings{115200, KoParityEven, 1, "UART"}));
    EXPECT_FALSE(EVERYTHING == (PortSettings{115200, KoParityEven, 2, "I2C"}));
}
