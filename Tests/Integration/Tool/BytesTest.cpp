#include <Bytes.h>

#include <Failure.h>

#include "Support/Complaint.h"

#include <gtest/gtest.h>

using namespace KoTool;

TEST(Bytes, AreReadWithAndWithoutSeparators)
{
    EXPECT_EQ(ParseHexBytes("--write", ""), Bytes());
    EXPECT_EQ(ParseHexBytes("--write", "9f"), Bytes({0x9F}));
    EXPECT_EQ(ParseHexBytes("--write", "9F00a1"), Bytes({0x9F, 0x00, 0xA1}));
    EXPECT_EQ(ParseHexBytes("--write", "9f 00 a1"), Bytes({0x9F, 0x00, 0xA1}));
    EXPECT_EQ(ParseHexBytes("--write", "9f:00"), Bytes({0x9F, 0x00}));
}

TEST(Bytes, HaveTwoHexadecimalDigitsEach)
{
    for (const std::string text : {"9", "9f0", "9f 0", "9 f", "0x9f", "9g", "9f,00", "-1", "9f-1"})
    {
        EXPECT_EQ(GetComplaint(STATUS_USAGE, [&] { ParseHexBytes("--write", text); }),
                  "--write cannot be '" + text +
                      "': it can be bytes of two hexadecimal digits each, such as 9f0010 or '9f 00 10'");
    }
}

TEST(Bytes, ArePrintedAsNumbers)
{
    EXPECT_EQ(FormatByte(0x5F), "0x5f");
    EXPECT_EQ(FormatBytes({}), "");
    EXPECT_EQ(FormatBytes({0x00, 0x10, 0xFF}), "0x00 0x10 0xff");
}
