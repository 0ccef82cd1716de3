#include <KoSim/I2cThermometer.h>

#include <gtest/gtest.h>

#include <vector>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t TEMPERATURE = 0;
constexpr std::uint8_t CONFIGURATION = 1;
constexpr std::uint8_t HYSTERESIS = 2;
constexpr std::uint8_t LIMIT = 3;

} // namespace

class I2cThermometerTest : public ::testing::Test
{
protected:
    /// Writes all bytes. Returns whether the last one was acknowledged.
    bool Send(const Bytes& aBytes)
    {
        bool acknowledged = mThermometer.Start(false, 0ms);
        for (const std::uint8_t byte : aBytes)
        {
            acknowledged = mThermometer.Write(byte);
        }
        mThermometer.Stop(0ms);
        return acknowledged;
    }

    Bytes Take(std::size_t aCount)
    {
        Bytes bytes;
        EXPECT_TRUE(mThermometer.Start(true, 0ms));
        while (bytes.size() < aCount)
        {
            bytes.push_back(mThermometer.Read());
        }
        mThermometer.Stop(0ms);
        return bytes;
    }

    Bytes TakeFrom(std::uint8_t aRegister, std::size_t aCount)
    {
        EXPECT_TRUE(Send({aRegister}));
        return Take(aCount);
    }

    I2cThermometer mThermometer;
};

TEST_F(I2cThermometerTest, StartsWithTheValuesOfItsDataSheet)
{
    EXPECT_EQ(Take(2), (Bytes{0x19, 0x00}));
    EXPECT_EQ(TakeFrom(CONFIGURATION, 1), Bytes{0x00});
    EXPECT_EQ(TakeFrom(HYSTERESIS, 2), (Bytes{0x4B, 0x00}));
    EXPECT_EQ(TakeFrom(LIMIT, 2), (Bytes{0x50, 0x00}));
}

TEST_F(I2cThermometerTest, MeasuresInHalfDegrees)
{
    mThermometer.SetTemperature(21.3);
    EXPECT_EQ(Take(2), (Bytes{0x15, 0x80}));
    mThermometer.SetTemperature(-0.5);
    EXPECT_EQ(Take(2), (Bytes{0xFF, 0x80}));
    mThermometer.SetTemperature(-25);
    EXPECT_EQ(Take(2), (Bytes{0xE7, 0x00}));
}

TEST_F(I2cThermometerTest, DoesNotLeaveItsRange)
{
    mThermometer.SetTemperature(1000);
    EXPECT_EQ(Take(2), (Bytes{0x7D, 0x00}));
    mThermometer.SetTemperature(-1000);
    EXPECT_EQ(Take(2), (Bytes{0xC9, 0x00}));
}

TEST_F(I2cThermometerTest, KeepsThePointerUntilItIsWrittenAgain)
{
    EXPECT_EQ(TakeFrom(LIMIT, 2), (Bytes{0x50, 0x00}));
    EXPECT_EQ(Take(1), Bytes{0x50});
}

TEST_F(I2cThermometerTest, UsesTwoBitsOfThePointer)
{
    EXPECT_EQ(TakeFrom(0xF0 | LIMIT, 2), (Bytes{0x50, 0x00}));
}

TEST_F(I2cThermometerTest, RepeatsARegisterThatIsReadTooFar)
{
    EXPECT_EQ(TakeFrom(LIMIT, 4), (Bytes{0x50, 0x00, 0x50, 0x00}));
    EXPECT_TRUE(Send({CONFIGURATION, 0x04}));
    EXPECT_EQ(Take(2), (Bytes{0x04, 0x04}));
}

TEST_F(I2cThermometerTest, TakesTheBitsThatARegisterHas)
{
    EXPECT_TRUE(Send({LIMIT, 0x1E, 0xFF}));
    EXPECT_EQ(Take(2), (Bytes{0x1E, 0x80}));
    EXPECT_TRUE(Send({HYSTERESIS, 0x1D, 0x80}));
    EXPECT_EQ(Take(2), (Bytes{0x1D, 0x80}));
    EXPECT_TRUE(Send({CONFIGURATION, 0xFE}));
    EXPECT_EQ(Take(1), Bytes{0x1E});
}

TEST_F(I2cThermometerTest, LeavesTheTemperatureToItsSensor)
{
    Send({TEMPERATURE, 0x55, 0x80});

    EXPECT_EQ(Take(2), (Bytes{0x19, 0x00}));
}

TEST_F(I2cThermometerTest, DoesNotAcknowledgeMoreBytesThanTheRegisterHas)
{
    EXPECT_FALSE(Send({LIMIT, 1, 0, 0}));
    EXPECT_FALSE(Send({CONFIGURATION, 0, 0}));
}

TEST_F(I2cThermometerTest, KeepsTheLastTemperatureWhileTheMeasuringIsStopped)
{
    EXPECT_TRUE(Send({CONFIGURATION, 0x01}));
    mThermometer.SetTemperature(40);
    EXPECT_EQ(TakeFrom(TEMPERATURE, 2), (Bytes{0x19, 0x00}));
    EXPECT_TRUE(Send({CONFIGURATION, 0x00}));
    EXPECT_EQ(TakeFrom(TEMPERATURE, 2), (Bytes{0x28, 0x00}));
}
