#include "BulkTest.h"

#include <array>

namespace
{

constexpr double DEFAULT_TIME_PER_BYTE = 0.03000000003;

/// An engine that counts how often it is asked whether it is open, and answers what the test says.
class AskedBulk : public TestBulk
{
public:
    bool IsOpened() override
    {
        ++mQuestions;
        return mAnswer;
    }

    bool mAnswer = true;
    int mQuestions = 0;
};

class BulkIPEngineTimingTest : public BulkTest
{
protected:
    BulkIPEngineTimingTest() { mBulk.Init(&mDevice, KoDeviceSerialBulk0, "camera"); }
    ~BulkIPEngineTimingTest() override { mBulk.mDevice = nullptr; }

    double GetTimePerByte(std::uint32_t aConfig)
    {
        mBulk.mBulkConfig = aConfig;
        mBulk.UpdateTimePerByte();
        return mBulk.mTimePerByte;
    }

    void ExpectSizes(std::uint32_t aConfig, std::uint32_t aFirst, std::uint32_t aLater)
    {
        SCOPED_TRACE(HexText(aConfig));
        mBulk.mBulkConfig = aConfig;
        mBulk.UpdateTxSizes();
        EXPECT_EQ(mBulk.mFirstChunkSize, aFirst);
        EXPECT_EQ(mBulk.mChunkSize, aLater);
    }

    std::uint32_t GetTimeout(std::uint32_t aLength, double aTimePerByte)
    {
        mBulk.mTimePerByte = aTimePerByte;
        return mBulk.GetTransmitTimeout(aLength);
    }

    void SetOptions(bool aBit9, bool aBit10, bool aBit11, bool aBit12)
    {
        mBulk.mTxOptionBit9 = aBit9;
        mBulk.mTxOptionBit10 = aBit10;
        mBulk.mTxOptionBit11 = aBit11;
        mBulk.mTxOptionBit12 = aBit12;
    }
};

TEST_F(BulkIPEngineTimingTest, TheTimePerByteOfAUartFollowsFromItsRateIndex)
{
    const std::array<double, 8> rates = {9600, 14400, 19200, 28800, 38400, 57600, 115200, 230400};
    for (std::uint32_t index = 0; index < rates.size(); ++index)
    {
        for (const std::uint32_t others : {0x1000U, 0xFFFF9B1FU})
        {
            EXPECT_EQ(GetTimePerByte(others | index << 5), 1000.0 / rates[index]) << index << ' ' << others;
            EXPECT_EQ(mBulk.GetTimePerByteUART(), 1000.0 / rates[index]);
        }
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineTimingTest, TheClockDividerDoesNotMatterToAnyRate)
{
    for (const std::uint32_t divider : {0x0U, 0x1U, 0x64U, 0xFFU, 0x100U, 0xFFFFFFFFU})
    {
        mBulk.mBulkClockDivider = divider;
        EXPECT_EQ(GetTimePerByte(UART_9600), 1000.0 / 9600);
        EXPECT_EQ(GetTimePerByte(UART_115200), 1000.0 / 115200);
        EXPECT_EQ(GetTimePerByte(USRT), 1000.0 / 8350000);
        EXPECT_EQ(GetTimePerByte(I2C), 0.09);
    }
}

TEST_F(BulkIPEngineTimingTest, TheTimePerByteOfAUsrtFollowsFromItsRateIndexInWholeHertz)
{
    const std::array<double, 8> rates = {8350000, 4175000, 2087500, 1043750, 521875, 260937, 130468, 65234};
    for (std::uint32_t index = 0; index < rates.size(); ++index)
    {
        for (const std::uint32_t others : {0x0U, 0xFFFF8B1FU})
        {
            EXPECT_EQ(GetTimePerByte(others | index << 5), 1000.0 / rates[index]) << index << ' ' << others;
            EXPECT_EQ(mBulk.GetTimePerByteUSRT(), 1000.0 / rates[index]);
        }
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineTimingTest, TheTimePerByteOfI2CIsFixed)
{
    for (const std::uint32_t config : {0x2000U, 0x20E0U, 0xFFFFABFFU})
    {
        EXPECT_EQ(GetTimePerByte(config), 0.09);
        EXPECT_EQ(mBulk.GetTimePerByteI2C(), 0.09);
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineTimingTest, AnUnknownInterfaceIsLoggedAndKeepsTheDefaultTime)
{
    for (std::uint32_t interface = 3; interface < 8; ++interface)
    {
        for (const std::uint32_t others : {0x0U, 0xFFFF8BFFU})
        {
            mHost.mLog.clear();
            EXPECT_EQ(GetTimePerByte(I2C), 0.09);
            EXPECT_EQ(GetTimePerByte(others | interface << 12), DEFAULT_TIME_PER_BYTE);
            const Texts expected = {"Unknown interface selected (" + std::to_string(interface) + ")."};
            EXPECT_EQ(mHost.GetTexts(), expected);
            EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_CRITICAL), expected);
        }
    }
}

TEST_F(BulkIPEngineTimingTest, Bit10DoublesTheTimeOfEveryInterface)
{
    EXPECT_EQ(GetTimePerByte(USRT | DOUBLE_TIME), 2000.0 / 8350000);
    EXPECT_EQ(GetTimePerByte(UART_9600 | DOUBLE_TIME), 2000.0 / 9600);
    EXPECT_EQ(GetTimePerByte(I2C | DOUBLE_TIME), 0.18);
    EXPECT_EQ(GetTimePerByte(0x5000 | DOUBLE_TIME), 2 * DEFAULT_TIME_PER_BYTE);
    EXPECT_EQ(GetTimePerByte(I2C | DOUBLE_TIME), 0.18) << "the time is taken anew, not doubled again";
}

TEST_F(BulkIPEngineTimingTest, AnEngineThatIsNotOpenSaysSoAndTakesItsTimeAllTheSame)
{
    AskedBulk bulk;
    for (const bool opened : {true, false})
    {
        mHost.mLog.clear();
        bulk.mQuestions = 0;
        bulk.mAnswer = opened;
        bulk.mBulkConfig = I2C | DOUBLE_TIME;
        bulk.UpdateTimePerByte();
        EXPECT_EQ(bulk.mTimePerByte, 0.18);
        EXPECT_EQ(bulk.mQuestions, 1);
        const Texts expected = {"Unexpected state: the device should already be available."};
        EXPECT_EQ(mHost.GetTexts(), opened ? Texts{} : expected);
        EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_CRITICAL), opened ? Texts{} : expected);
    }
}

TEST_F(BulkIPEngineTimingTest, TheChunkSizesFollowFromInterfaceAndReserve)
{
    for (std::uint32_t reserve = 0; reserve < 256; ++reserve)
    {
        for (std::uint32_t interface = 0; interface < 8; ++interface)
        {
            const std::uint32_t config = Reserve(reserve) | interface << 12;
            for (const std::uint32_t others : {0x0U, 0x00FF8FFFU})
            {
                ExpectSizes(config | others, interface == 2 ? 254 : 256, (interface == 2 ? 251U : 252U) - reserve);
            }
        }
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineTimingTest, AReserveLargerThanAChunkWrapsToAChunkWithoutLimit)
{
    ExpectSizes(UART_9600 | Reserve(251), 256, 1);
    ExpectSizes(UART_9600 | Reserve(252), 256, 0);
    ExpectSizes(UART_9600 | Reserve(253), 256, 0xFFFFFFFF);
    ExpectSizes(UART_9600 | Reserve(255), 256, 0xFFFFFFFD);
    ExpectSizes(I2C | Reserve(250), 254, 1);
    ExpectSizes(I2C | Reserve(251), 254, 0);
    ExpectSizes(I2C | Reserve(252), 254, 0xFFFFFFFF);
    ExpectSizes(I2C | Reserve(255), 254, 0xFFFFFFFC);
}

TEST_F(BulkIPEngineTimingTest, ATimeoutIsTwiceTheWholeMillisecondsPlusTheMargin)
{
    EXPECT_EQ(GetTimeout(100, 1.0), 400U);
    EXPECT_EQ(GetTimeout(1000, 1.0), 2200U);
    EXPECT_EQ(GetTimeout(256, 2000.0 / 9600), 306U);
    EXPECT_EQ(GetTimeout(101, 0.999), 400U) << "100.899 ms count as 100";
    EXPECT_EQ(GetTimeout(103, 0.5), 302U) << "51.5 ms count as 51";
}

TEST_F(BulkIPEngineTimingTest, ATimeoutIsNeverBelow300MillisecondsOnAPlainPort)
{
    EXPECT_EQ(GetTimeout(0, DEFAULT_TIME_PER_BYTE), 300U);
    EXPECT_EQ(GetTimeout(256, 1000.0 / 115200), 300U);
    EXPECT_EQ(GetTimeout(49, 1.0), 300U);
    EXPECT_EQ(GetTimeout(50, 1.0), 300U);
    EXPECT_EQ(GetTimeout(101, 0.5), 300U);
    EXPECT_EQ(GetTimeout(51, 1.0), 302U);
}

TEST_F(BulkIPEngineTimingTest, OptionBits12And9ChangeTheTimeoutAndTheOthersDoNot)
{
    for (int others = 0; others < 4; ++others)
    {
        const bool bit10 = (others & 1) != 0;
        const bool bit11 = (others & 2) != 0;
        SetOptions(false, bit10, bit11, false);
        EXPECT_EQ(GetTimeout(1000, 1.0), 2200U);
        SetOptions(true, bit10, bit11, false);
        EXPECT_EQ(GetTimeout(1000, 1.0), 2200U);
        SetOptions(false, bit10, bit11, true);
        EXPECT_EQ(GetTimeout(1000, 1.0), 4400U);
        EXPECT_EQ(GetTimeout(254, 0.09), 600U);
        SetOptions(true, bit10, bit11, true);
        EXPECT_EQ(GetTimeout(1000, 1.0), 1100U);
        EXPECT_EQ(GetTimeout(254, 0.09), 150U);
    }
}

TEST_F(BulkIPEngineTimingTest, OpenTakesTheTimingAndKeepsItUntilTheNextOpen)
{
    mBulk.mDevice = nullptr;
    Open(UART_9600 | DOUBLE_TIME | Reserve(10));
    EXPECT_EQ(mBulk.mTimePerByte, 2000.0 / 9600);
    EXPECT_EQ(mBulk.mChunkSize, 242U);

    mDevice.mRegisters[BULK_CONFIG] = {I2C | Reserve(20)};
    EXPECT_TRUE(mBulk.Reset().IsOK());
    AnswerChunks();
    EXPECT_TRUE(Write(MakeBytes(300)).IsOK());
    EXPECT_EQ(mBulk.mTimePerByte, 2000.0 / 9600);
    EXPECT_EQ(mBulk.mFirstChunkSize, 256U);
    EXPECT_EQ(mBulk.mChunkSize, 242U);

    EXPECT_TRUE(mBulk.Close().IsOK());
    Open(I2C | Reserve(20));
    EXPECT_EQ(mBulk.mTimePerByte, 0.09);
    EXPECT_EQ(mBulk.mFirstChunkSize, 254U);
    EXPECT_EQ(mBulk.mChunkSize, 231U);
    EXPECT_TRUE(mBulk.Close().IsOK());
}

TEST_F(BulkIPEngineTimingTest, OpenOnAnUnknownInterfaceLogsItOnceAndSucceeds)
{
    mBulk.mDevice = nullptr;
    mDevice.mRegisters[BULK_CONFIG] = {0x5000 | DOUBLE_TIME | Reserve(2)};
    EXPECT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    EXPECT_EQ(mHost.GetTexts(), Texts{"Unknown interface selected (5)."});
    EXPECT_EQ(mBulk.mTimePerByte, 2 * DEFAULT_TIME_PER_BYTE);
    EXPECT_EQ(mBulk.mFirstChunkSize, 256U);
    EXPECT_EQ(mBulk.mChunkSize, 250U);
    EXPECT_TRUE(mBulk.Close().IsOK());
}

} // namespace
