#include <Numbers.h>

#include <Failure.h>

#include "Support/Complaint.h"

#include <gtest/gtest.h>

using namespace KoTool;

namespace
{

constexpr NumberRange ALL = {0, 0xFFFFFFFFFFFFFFFF};

} // namespace

TEST(Numbers, AreReadInDecimalHexadecimalAndBinary)
{
    EXPECT_EQ(ParseNumber("N", "0", ALL), 0U);
    EXPECT_EQ(ParseNumber("N", "80", ALL), 80U);
    EXPECT_EQ(ParseNumber("N", "0x50", ALL), 80U);
    EXPECT_EQ(ParseNumber("N", "0XfF", ALL), 255U);
    EXPECT_EQ(ParseNumber("N", "0b1010000", ALL), 80U);
    EXPECT_EQ(ParseNumber("N", "0B1", ALL), 1U);
    EXPECT_EQ(ParseNumber("N", "0x0050", ALL), 80U);
    EXPECT_EQ(ParseNumber("N", "18446744073709551615", ALL), 0xFFFFFFFFFFFFFFFF);
}

TEST(Numbers, AreNothingElse)
{
    for (const std::string text : {"", "0x", "0b", "x", "-1", "+1", " 1", "1 ", "0x-1", "0b2", "0xg", "1.5", "5a",
                                   "18446744073709551616", "0x10000000000000003"})
    {
        EXPECT_EQ(GetComplaint(STATUS_USAGE,
                               [&] {
                                   ParseNumber("N", text, {3, 9});
                               }),
                  "N cannot be '" + text + "': it can be a number from 3 to 9");
    }
}

TEST(Numbers, HaveNoLeadingZeroInDecimal)
{
    for (const std::string text : {"010", "00", "08"})
    {
        EXPECT_EQ(GetComplaint(STATUS_USAGE, [&] { ParseNumber("N", text, ALL); }),
                  "N cannot be '" + text +
                      "': it can be a number from 0 to 18446744073709551615 (0xffffffffffffffff), without a leading "
                      "zero");
    }
}

TEST(Numbers, HaveARange)
{
    EXPECT_EQ(ParseNumber("N", "8", {8, 0x77}), 8U);
    EXPECT_EQ(ParseNumber("N", "0x77", {8, 0x77}), 0x77U);
    EXPECT_EQ(GetComplaint(STATUS_USAGE,
                           [] {
                               ParseNumber("ADDR", "7", {8, 0x77});
                           }),
              "ADDR cannot be '7': it can be a number from 8 to 119 (0x77)");
    EXPECT_EQ(GetComplaint(STATUS_USAGE,
                           [] {
                               ParseNumber("ADDR", "0x78", {8, 0x77});
                           }),
              "ADDR cannot be '0x78': it can be a number from 8 to 119 (0x77)");
}
