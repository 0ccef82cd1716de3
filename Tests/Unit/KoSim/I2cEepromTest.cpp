#include <KoSim/I2cEeprom.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <vector>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

using Bytes = std::vector<std::uint8_t>;

void Send(I2cEeprom& aEeprom, const Bytes& aBytes, Time aNow)
{
    ASSERT_TRUE(aEeprom.Start(false, aNow));
    for (const std::uint8_t byte : aBytes)
    {
        EXPECT_TRUE(aEeprom.Write(byte));
    }
}

void SendAndStop(I2cEeprom& aEeprom, const Bytes& aBytes, Time aNow)
{
    Send(aEeprom, aBytes, aNow);
    aEeprom.Stop(aNow);
}

Bytes Take(I2cEeprom& aEeprom, std::size_t aCount, Time aNow)
{
    Bytes bytes;
    EXPECT_TRUE(aEeprom.Start(true, aNow));
    while (bytes.size() < aCount)
    {
        bytes.push_back(aEeprom.Read());
    }
    aEeprom.Stop(aNow);
    return bytes;
}

Bytes TakeFrom(I2cEeprom& aEeprom, const Bytes& aAddress, std::size_t aCount, Time aNow)
{
    Send(aEeprom, aAddress, aNow);
    return Take(aEeprom, aCount, aNow);
}

} // namespace

class LargeEepromTest : public ::testing::Test
{
protected:
    I2cEeprom mEeprom{I2cEeprom::LARGE, MemoryImage(I2cEeprom::LARGE.mSize)};
};

class SmallEepromTest : public ::testing::Test
{
protected:
    I2cEeprom mEeprom{I2cEeprom::SMALL, MemoryImage(I2cEeprom::SMALL.mSize)};
};

TEST_F(LargeEepromTest, KeepsWhatIsWrittenBehindATwoByteAddress)
{
    SendAndStop(mEeprom, {0x12, 0x34, 1, 2, 3}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x12, 0x33}, 5, 10ms), (Bytes{0xFF, 1, 2, 3, 0xFF}));
}

TEST_F(LargeEepromTest, IgnoresTheTopBitOfAnAddress)
{
    SendAndStop(mEeprom, {0x80, 0x05, 7}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x00, 0x05}, 1, 10ms), Bytes{7});
}

TEST_F(LargeEepromTest, WrapsAtTheEndOfAPage)
{
    SendAndStop(mEeprom, {0x00, 0x7E, 1, 2, 3}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x00, 0x7E}, 3, 10ms), (Bytes{1, 2, 0xFF}));
    EXPECT_EQ(TakeFrom(mEeprom, {0x00, 0x40}, 1, 10ms), Bytes{3});
}

TEST_F(LargeEepromTest, KeepsTheLastBytesOfMoreThanAPage)
{
    Bytes request = {0x00, 0x00};
    for (int i = 0; i < 65; ++i)
    {
        request.push_back(static_cast<std::uint8_t>(i));
    }
    SendAndStop(mEeprom, request, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x00, 0x00}, 2, 10ms), (Bytes{64, 1}));
}

TEST_F(LargeEepromTest, AcknowledgesNothingDuringAWriteCycle)
{
    SendAndStop(mEeprom, {0x00, 0x00, 1}, 1ms);

    EXPECT_FALSE(mEeprom.Start(false, 1ms));
    EXPECT_FALSE(mEeprom.Start(true, 6ms - 1ns));
    EXPECT_TRUE(mEeprom.Start(true, 6ms));
}

TEST_F(LargeEepromTest, NeedsNoWriteCycleWithoutData)
{
    SendAndStop(mEeprom, {0x00, 0x00}, 1ms);

    EXPECT_TRUE(mEeprom.Start(true, 1ms));
}

TEST_F(LargeEepromTest, DropsDataThatARepeatedStartFollows)
{
    Send(mEeprom, {0x00, 0x00, 1}, 0ms);
    Send(mEeprom, {0x00, 0x00}, 0ms);
    mEeprom.Stop(0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x00, 0x00}, 1, 0ms), Bytes{0xFF});
}

TEST_F(LargeEepromTest, GoesOnReadingWhereItStopped)
{
    SendAndStop(mEeprom, {0x00, 0x00, 1, 2, 3, 4}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x00, 0x00}, 2, 10ms), (Bytes{1, 2}));
    EXPECT_EQ(Take(mEeprom, 2, 10ms), (Bytes{3, 4}));
}

TEST_F(LargeEepromTest, WrapsAtTheEndOfTheMemoryWhenItIsRead)
{
    SendAndStop(mEeprom, {0x00, 0x00, 5}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x7F, 0xFF}, 2, 10ms), (Bytes{0xFF, 5}));
}

TEST_F(SmallEepromTest, KeepsWhatIsWrittenBehindAOneByteAddress)
{
    SendAndStop(mEeprom, {0xF8, 1, 2}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0xF8}, 3, 10ms), (Bytes{1, 2, 0xFF}));
}

TEST_F(SmallEepromTest, WrapsAtTheEndOfAPageOf8Bytes)
{
    SendAndStop(mEeprom, {0x0F, 1, 2}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0x0F}, 2, 10ms), (Bytes{1, 0xFF}));
    EXPECT_EQ(TakeFrom(mEeprom, {0x08}, 1, 10ms), Bytes{2});
}

TEST_F(SmallEepromTest, WrapsAtTheEndOfTheMemoryWhenItIsRead)
{
    SendAndStop(mEeprom, {0x00, 5}, 0ms);

    EXPECT_EQ(TakeFrom(mEeprom, {0xFF}, 2, 10ms), (Bytes{0xFF, 5}));
}

TEST(I2cEepromTest, IsAsBusyAsItIsTold)
{
    I2cEeprom eeprom(I2cEeprom::SMALL, MemoryImage(256), 0ms);
    SendAndStop(eeprom, {0x00, 1}, 1ms);

    EXPECT_TRUE(eeprom.Start(true, 1ms));
}

TEST(I2cEepromTest, RefusesContentsOfAnotherSize)
{
    EXPECT_THROW(I2cEeprom(I2cEeprom::LARGE, MemoryImage(256)), std::invalid_argument);
}
