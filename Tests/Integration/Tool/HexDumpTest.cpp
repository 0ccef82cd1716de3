#include <HexDump.h>

#include <gtest/gtest.h>

using namespace KoTool;

TEST(HexDump, ShowsBytesInHexadecimalAndAsText)
{
    EXPECT_EQ(FormatHexDump(0, {0x00, 'A', '~', ' ', 0x7F, 0xFF, 'z'}),
              "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n"
              "00: 00 41 7e 20 7f ff 7a                               .A~ ..z\n");
}

TEST(HexDump, MarksWhatCouldNotBeRead)
{
    EXPECT_EQ(FormatHexDump(0, {'a', std::nullopt, 'X'}),
              "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n"
              "00: 61 XX 58                                           aXX\n");
}

TEST(HexDump, BeginsARowAtEveryMultipleOfSixteen)
{
    EXPECT_EQ(FormatHexDump(0x1E, {'a', 'b', 'c'}),
              "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n"
              "10:                                           61 62                  ab\n"
              "20: 63                                                 c\n");
}

TEST(HexDump, HasRoomForTheLastOffset)
{
    const std::string columns = "  0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n";
    const std::string cells = " 01 01" + std::string(3 * 14, ' ') + "    ..\n";
    EXPECT_EQ(FormatHexDump(0xF0, {1, 1}), "   " + columns + "f0:" + cells);
    EXPECT_EQ(FormatHexDump(0x100, {1, 1}), "     " + columns + "0100:" + cells);
    EXPECT_EQ(FormatHexDump(0xFFF0, {1, 1}), "     " + columns + "fff0:" + cells);
    EXPECT_EQ(FormatHexDump(0x10000, {1, 1}), "       " + columns + "010000:" + cells);
}

TEST(HexDump, GivesCellsAndLabelsToOtherGrids)
{
    EXPECT_EQ(FormatColumnNumbers(2), "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f");
    EXPECT_EQ(FormatRowLabel(0x50, 2), "50:");
    EXPECT_EQ(FormatCell(0x0A), " 0a");
}
