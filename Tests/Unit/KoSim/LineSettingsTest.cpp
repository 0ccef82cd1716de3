#include <KoSim/LineSettings.h>

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

TEST(LineSettingsTest, HaveEightDataBitsNoParityAndOneStopBitUnlessToldOtherwise)
{
    // 10 bits at 115200 bit/s
    EXPECT_EQ(GetByteTime(LineSettings()), Time(10s) / 115200);
}

TEST(LineSettingsTest, GiveAByteTheTimeOfItsBits)
{
    EXPECT_EQ(GetByteTime({1000, LineParity::None, 8, 1}), 10ms);
    EXPECT_EQ(GetByteTime({1000, LineParity::Even, 8, 1}), 11ms);
    EXPECT_EQ(GetByteTime({1000, LineParity::Odd, 8, 1}), 11ms);
    EXPECT_EQ(GetByteTime({1000, LineParity::None, 8, 2}), 11ms);
    EXPECT_EQ(GetByteTime({1000, LineParity::None, 7, 1}), 9ms);
    EXPECT_EQ(GetByteTime({1000, LineParity::Odd, 7, 2}), 11ms);
}

TEST(LineSettingsTest, MakeBytesFasterWithTheBaudRate)
{
    EXPECT_EQ(GetByteTime({10000, LineParity::None, 8, 1}), 1ms);
    EXPECT_EQ(GetByteTime({1000000, LineParity::None, 8, 1}), 10us);
}

TEST(LineSettingsTest, AreTheSameWhenEverySettingIs)
{
    const LineSettings settings = {9600, LineParity::Even, 7, 2};
    EXPECT_TRUE(settings == (LineSettings{9600, LineParity::Even, 7, 2}));
    EXPECT_FALSE(settings == (LineSettings{9601, LineParity::Even, 7, 2}));
    EXPECT_FALSE(settings == (LineSettings{9600, LineParity::Odd, 7, 2}));
    EXPECT_FALSE(settings == (LineSettings{9600, LineParity::Even, 8, 2}));
    EXPECT_FALSE(settings == (LineSettings{9600, LineParity::Even, 7, 1}));
}
