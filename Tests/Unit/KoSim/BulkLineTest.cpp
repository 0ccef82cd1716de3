#include <KoSim/BulkLine.h>

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

TEST(BulkLine, GoesThroughTheConfigurationRegisterUnchanged)
{
    const BulkLine line{BulkInterface::I2c, 5, true, 200};

    EXPECT_EQ(GetBulkConfig(line), 0xC80024A0U);
    const BulkLine read = GetBulkLine(0xC80024A0U);
    EXPECT_EQ(read.mInterface, BulkInterface::I2c);
    EXPECT_EQ(read.mRateIndex, 5U);
    EXPECT_TRUE(read.mDoubleTime);
    EXPECT_EQ(read.mReserve, 200U);
}

TEST(BulkLine, RunsAUartAtTheRateOfItsIndexWithTenBitsForEachByte)
{
    EXPECT_EQ(GetBitRate({BulkInterface::Uart, 0, false, 0}), 9600U);
    EXPECT_EQ(GetBitRate({BulkInterface::Uart, 7, false, 0}), 230400U);
    EXPECT_EQ(GetByteTime({BulkInterface::Uart, 6, false, 0}), Time(10s) / 115200);
}

TEST(BulkLine, DividesTheClockOfAUsrtAndSendsEightBitsForEachByte)
{
    EXPECT_EQ(GetBitRate({BulkInterface::Usrt, 0, false, 0}), 8350000U);
    EXPECT_EQ(GetBitRate({BulkInterface::Usrt, 7, false, 0}), 65234U);
    EXPECT_EQ(GetByteTime({BulkInterface::Usrt, 7, false, 0}), Time(8s) / 65234);
}

TEST(BulkLine, RunsI2cAtOneHundredKilohertzWithNineBitsForEachByte)
{
    EXPECT_EQ(GetByteTime({BulkInterface::I2c, 3, false, 0}), Time(90us));
}

TEST(BulkLine, TakesTwiceTheTimeWhenToldSo)
{
    EXPECT_EQ(GetByteTime({BulkInterface::I2c, 3, true, 0}), Time(180us));
}

TEST(BulkLine, LeavesTheReserveFreeInALaterChunk)
{
    EXPECT_EQ(GetLaterChunkSize({BulkInterface::Uart, 0, false, 124}), 128U);
    EXPECT_EQ(GetLaterChunkSize({BulkInterface::I2c, 0, false, 1}), 250U);
}

TEST(BulkLineTest, FindsTheRateIndexOfAUart)
{
    EXPECT_EQ(FindUartRateIndex(9600), 0U);
    EXPECT_EQ(FindUartRateIndex(230400), 7U);
    EXPECT_EQ(FindUartRateIndex(460800), std::nullopt);
}
