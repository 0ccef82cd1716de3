#include "BulkTest.h"
#include "FeaturePortTest.h"
#include "TestI2CBus.h"

#include <DeviceI2CBus.h>

#include <cstring>

namespace
{

constexpr auto BULK2_BUFFER = "EventBulk2UpstreamDataBuffer";

/// An engine that records the transfers, with the option flags 9 to 12, and has its results set.
class RecordingEngine : public KoSerialLib::BulkWithI2C
{
public:
    KoResult Open(IKoDeviceAdapter* /*aDevice*/, KoDeviceSerial /*aPort*/) override { return KoResult(KoResult::OK); }
    bool IsOpened() override { return true; }

    KoResult FlushRxBuffer() override
    {
        mStory.push_back("Flush " + GetFlags());
        return mFlushResult;
    }

    KoResult Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten) override
    {
        EXPECT_EQ(aBytesWritten, 0U);
        mStory.push_back("Write " + GetFlags() + ' ' + HexText(aData, aSize));
        return mWriteResult;
    }

    std::string GetFlags() const
    {
        std::string flags;
        for (const bool flag : {mTxOptionBit9, mTxOptionBit10, mTxOptionBit11, mTxOptionBit12})
        {
            flags += flag ? '1' : '0';
        }
        return flags;
    }

    Texts TakeStory() { return std::exchange(mStory, {}); }

    Texts mStory;
    KoResult mFlushResult{KoResult::OK};
    KoResult mWriteResult{KoResult::OK};
};

/// Transfers of a bus, on bulk port 2 with the feature engine, on bulk port 0 with the register engine or on an engine
/// that only records.
class DeviceI2CBusTest : public BareHostTest
{
protected:
    void Open()
    {
        AddBulkPort(mDevice, 2);
        AddEventFeatures(mDevice);
        mDevice.mEnumerations["BulkMode"].mEntries = {"UART", "I2C"};
        ASSERT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
        Forget();
    }

    /// The device confirms every chunk after 3 ms.
    void OpenRegisters()
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {0x80000011};
        mDevice.mRegisters[BULK_0_3_CONFIG] = {3};
        mDevice.mRegisters[BULK_CONFIG] = {I2C};
        ASSERT_TRUE(mBus.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
        Forget();
        mDevice.mOnCall = [this](const std::string& aCall)
        {
            if (aCall.compare(0, 13, "BulkTransmit ") == 0)
            {
                mHost.At(3, [this] { mDevice.SendWords(SERIAL_INTERRUPT, {TX_EMPTY}); });
            }
        };
    }

    RecordingEngine& Record()
    {
        auto* const engine = new RecordingEngine;
        mBus.mEngine = engine;
        return *engine;
    }

    void Forget()
    {
        mDevice.TakeCalls();
        mHost.mLog.clear();
        mHost.mWaits.clear();
    }

    /// What was written or transmitted since the last time, without the words of aOperation.
    Texts Take(const std::string& aOperation)
    {
        Texts texts;
        for (const std::string& call : mDevice.TakeCalls())
        {
            if (call.compare(0, aOperation.size(), aOperation) == 0)
            {
                texts.push_back(call.substr(aOperation.size()));
            }
        }
        return texts;
    }

    Texts TakeFrames() { return Take("SetGenRegisterData Bulk2DownstreamData "); }
    Texts TakeChunks() { return Take("BulkTransmit "); }

    /// Bulk port 2 receives these bytes.
    void Deliver(const Bytes& aBytes)
    {
        mDevice.mGenRegisters[BULK2_BUFFER] = aBytes;
        mDevice.mIntegers["EventBulk2UpstreamDataLength"] = static_cast<std::int64_t>(aBytes.size());
        mDevice.Invalidate(BULK2_BUFFER);
    }

    void DeliverIn(std::uint32_t aDelayMs, const Bytes& aBytes)
    {
        mHost.At(aDelayMs, [this, aBytes] { Deliver(aBytes); });
    }

    KoResult Read(std::uint32_t aLength, bool aFastMode = false)
    {
        return mBus.BurstRead(0x50, mBuffer.data(), aLength, mCount, aFastMode);
    }

    /// The time-out of the one read call of a read of that many bytes, none of which comes.
    std::uint32_t GetTimeout(std::uint32_t aLength, bool aFastMode)
    {
        mHost.mWaits.clear();
        EXPECT_EQ(Read(aLength, aFastMode).GetCode(), KoResult::TIMEOUT);
        EXPECT_EQ(mCount, 0U);
        EXPECT_EQ(mHost.mWaits.size(), 1U);
        return mHost.mWaits.empty() ? 0 : mHost.mWaits[0];
    }

    Bytes GetBytes() const { return Bytes(mBuffer.begin(), mBuffer.begin() + mCount); }

    static KoResult FailureOfDevice() { return KoResult(4711, KoString("The device is on fire.")); }

    static void ExpectFailureOfDevice(const KoResult& aResult)
    {
        EXPECT_EQ(aResult.GetCode(), 4711U);
        EXPECT_STREQ(aResult.GetDescription().GetAscii(), "The device is on fire.");
    }

    TestI2CBus mBus;
    Bytes mBuffer = Bytes(512);
    std::uint32_t mCount = 99;
};

TEST_F(DeviceI2CBusTest, EveryTransferBeforeTheFirstOpenFailsWithTheOperationNamedByTheEntryAlone)
{
    const auto expect = [this](const KoResult& aResult, const char* aFunction)
    {
        ExpectFailure(aResult, 1541, aFunction, UNOPENED);
        EXPECT_EQ(mHost.mLog.size(), 1U);
        EXPECT_EQ(mHost.mLog.back().mFormat, UNOPENED);
        EXPECT_EQ(mCount, 99U);
        mHost.mLog.clear();
    };
    std::uint8_t* const bytes = mBuffer.data();
    expect(mBus.BurstWrite(0x50, bytes, 2, false), "MasterTransmitter");
    expect(mBus.IndirectBurstWrite(0x50, 1, bytes, 2, false), "MasterTransmitter");
    expect(mBus.MasterTransmitter(0x50, bytes, 2, false, true), "MasterTransmitter");
    expect(mBus.IndirectBurstRead(0x50, 1, bytes, 2, mCount, false, true), "MasterTransmitter");
    expect(mBus.BurstRead(0x50, bytes, 2, mCount, false), "MasterReceiverAfterFirstByte");
    expect(mBus.MasterReceiverAfterFirstByte(0x50, bytes, 2, mCount, false, true), "MasterReceiverAfterFirstByte");
    expect(mBus.Close(), "Close");
}

TEST_F(DeviceI2CBusTest, AWriteIsTheAddressWithAClearLowBitAndThenTheData)
{
    RecordingEngine& engine = Record();
    const Bytes data = {0x00, 0x10};
    EXPECT_TRUE(mBus.BurstWrite(0x50, data.data(), 2, false).IsOK());
    EXPECT_TRUE(mBus.BurstWrite(0x7F, data.data(), 1, true).IsOK());
    EXPECT_TRUE(mBus.BurstWrite(0x00, nullptr, 0, false).IsOK());
    EXPECT_EQ(engine.TakeStory(), (Texts{"Write 0111 A0 00 10", "Write 1111 FE 00", "Write 0111 00"}));
}

TEST_F(DeviceI2CBusTest, AnAddressLosesItsTopBit)
{
    RecordingEngine& engine = Record();
    const std::uint8_t byte = 0x41;
    EXPECT_TRUE(mBus.BurstWrite(0xD0, &byte, 1, false).IsOK());
    EXPECT_TRUE(mBus.IndirectBurstWrite(0xFF, 2, &byte, 1, false).IsOK());
    EXPECT_TRUE(mBus.BurstRead(0xD0, mBuffer.data(), 0, mCount, false).IsOK());
    EXPECT_TRUE(mCount == 0 && mHost.mWaits.empty());
    EXPECT_EQ(engine.TakeStory(),
              (Texts{"Write 0111 A0 41", "Write 0111 FE 02 41", "Flush 0111", "Write 0111 A1 00 00"}));
}

TEST_F(DeviceI2CBusTest, AnIndirectWriteSendsTheOffsetRightAfterTheAddress)
{
    RecordingEngine& engine = Record();
    const Bytes data = {1, 2, 3};
    EXPECT_TRUE(mBus.IndirectBurstWrite(0x50, 0x08, data.data(), 3, false).IsOK());
    EXPECT_TRUE(mBus.IndirectBurstWrite(0x51, 0xFF, data.data(), 1, true).IsOK());
    EXPECT_TRUE(mBus.IndirectBurstWrite(0x51, 0x09, nullptr, 0, true).IsOK());
    EXPECT_EQ(engine.TakeStory(), (Texts{"Write 0111 A0 08 01 02 03", "Write 1111 A2 FF 01", "Write 1111 A2 09"}));
}

TEST_F(DeviceI2CBusTest, EveryTransferSetsAllFourFlagsAndLeavesThemSet)
{
    RecordingEngine& engine = Record();
    const std::uint8_t byte = 0x41;
    for (const bool fast : {false, true})
    {
        for (const bool stop : {true, false})
        {
            const std::string flags = std::string(fast ? "1" : "0") + (stop ? '1' : '0') + "11";
            engine.mTxOptionBit11 = false;
            engine.mTxOptionBit12 = false;
            EXPECT_TRUE(mBus.MasterTransmitter(0x50, &byte, 1, fast, stop).IsOK());
            EXPECT_EQ(engine.TakeStory(), Texts{"Write " + flags + " A0 41"});
            EXPECT_EQ(engine.GetFlags(), flags);
            engine.mTxOptionBit9 = !fast;
            engine.mTxOptionBit10 = !stop;
            engine.mTxOptionBit11 = false;
            engine.mTxOptionBit12 = false;
            EXPECT_TRUE(mBus.MasterReceiverAfterFirstByte(0x50, &mBuffer[0], 0, mCount, fast, stop).IsOK());
            EXPECT_EQ(engine.TakeStory(), (Texts{"Flush " + flags, "Write " + flags + " A1 00 00"}));
            EXPECT_EQ(engine.GetFlags(), flags);
        }
    }
}

TEST_F(DeviceI2CBusTest, AReadRequestCarriesTheLow16BitsOfTheLength)
{
    RecordingEngine& engine = Record();
    EXPECT_EQ(Read(300, true).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.mWaits, std::vector<std::uint32_t>{50});
    EXPECT_EQ(Read(0x12345).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(engine.TakeStory(), (Texts{"Flush 1111", "Write 1111 A1 2C 01", "Flush 0111", "Write 0111 A1 45 23"}));
}

TEST_F(DeviceI2CBusTest, AnIndirectReadWritesTheOffsetAndThenReads)
{
    RecordingEngine& engine = Record();
    for (const bool repeatedStart : {true, false})
    {
        EXPECT_TRUE(mBus.IndirectBurstRead(0x50, 0x08, &mBuffer[0], 0, mCount, false, repeatedStart).IsOK());
        EXPECT_EQ(engine.TakeStory(), (Texts{repeatedStart ? "Write 0011 A0 08" : "Write 0111 A0 08", "Flush 0111",
                                             "Write 0111 A1 00 00"}));
    }
    EXPECT_TRUE(mBus.IndirectBurstRead(0x50, 0x08, &mBuffer[0], 0, mCount, true, true).IsOK());
    EXPECT_EQ(engine.TakeStory(), (Texts{"Write 1011 A0 08", "Flush 1111", "Write 1111 A1 00 00"}));
}

TEST_F(DeviceI2CBusTest, AFailedWriteIsReturnedUnchangedAndWithoutAnEntryOfTheBus)
{
    RecordingEngine& engine = Record();
    engine.mWriteResult = FailureOfDevice();
    ExpectFailureOfDevice(mBus.BurstWrite(0x50, mBuffer.data(), 2, false));
    ExpectFailureOfDevice(mBus.IndirectBurstWrite(0x50, 1, mBuffer.data(), 2, false));
    engine.TakeStory();
    ExpectFailureOfDevice(Read(4));
    EXPECT_EQ(engine.TakeStory(), (Texts{"Flush 0111", "Write 0111 A1 04 00"}));
    ExpectFailureOfDevice(mBus.IndirectBurstRead(0x50, 8, mBuffer.data(), 4, mCount, false, true));
    EXPECT_EQ(engine.TakeStory(), Texts{"Write 0011 A0 08"});
    EXPECT_EQ(mCount, 99U);
    EXPECT_EQ(mHost.GetTexts(), Texts{});
    EXPECT_TRUE(mHost.mWaits.empty());
}

TEST_F(DeviceI2CBusTest, AFailedFlushIsReturnedUnchangedBeforeTheRequestGoesOut)
{
    RecordingEngine& engine = Record();
    engine.mFlushResult = FailureOfDevice();
    ExpectFailureOfDevice(Read(4));
    EXPECT_EQ(engine.TakeStory(), Texts{"Flush 0111"});
    ExpectFailureOfDevice(mBus.IndirectBurstRead(0x50, 8, mBuffer.data(), 4, mCount, false, false));
    EXPECT_EQ(engine.TakeStory(), (Texts{"Write 0111 A0 08", "Flush 0111"}));
    EXPECT_EQ(mCount, 99U);
    EXPECT_EQ(mHost.GetTexts(), Texts{});
}

TEST_F(DeviceI2CBusTest, AReadDropsWhatWasReceivedBeforeItButNothingThatAnswersIt)
{
    Open();
    Deliver({9, 9, 9});
    mDevice.mOnCall = [this](const std::string& aCall)
    {
        if (aCall.compare(0, 18, "SetGenRegisterData") == 0)
        {
            Deliver({1, 2, 3, 4});
        }
    };
    EXPECT_TRUE(Read(4).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2, 3, 4}));
    EXPECT_TRUE(mHost.mWaits.empty());
}

TEST_F(DeviceI2CBusTest, AReadCollectsThePiecesInOrderAndTakesNoMoreThanItWants)
{
    Open();
    DeliverIn(40, {1, 2});
    DeliverIn(85, {3, 4, 5, 6});
    EXPECT_TRUE(Read(4).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(mHost.mWaits, (std::vector<std::uint32_t>{50, 50}));
    std::uint32_t left = 0;
    EXPECT_TRUE(mBus.mEngine->GetRxBytesReady(left).IsOK());
    EXPECT_EQ(left, 2U);
}

TEST_F(DeviceI2CBusTest, AShortReadTimesOutOneTimeoutAfterTheLastByteAndTellsWhatCame)
{
    Open();
    const std::uint64_t start = mHost.Now();
    DeliverIn(40, {1, 2});
    DeliverIn(60, {3});
    ExpectBareFailure(Read(4), KoResult::TIMEOUT);
    EXPECT_EQ(GetBytes(), (Bytes{1, 2, 3}));
    EXPECT_EQ(mHost.Now() - start, 110U);
    EXPECT_EQ(mHost.mWaits, (std::vector<std::uint32_t>{50, 50, 50}));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{});
}

TEST_F(DeviceI2CBusTest, TheReadTimeoutGrowsByWholeSecondsOfBusTimeOnly)
{
    Open();
    EXPECT_EQ(GetTimeout(1, false), 50U);
    EXPECT_EQ(GetTimeout(11111, false), 50U);
    EXPECT_EQ(GetTimeout(11112, false), 1050U);
    EXPECT_EQ(GetTimeout(22223, false), 2050U);
    EXPECT_EQ(GetTimeout(44444, true), 50U);
    EXPECT_EQ(GetTimeout(44445, true), 1050U);
}

TEST_F(DeviceI2CBusTest, TheReadTimeoutOfHugeLengthsWrapsAt32Bits)
{
    Open();
    EXPECT_EQ(GetTimeout(477218588, false), 42949050U);
    EXPECT_EQ(GetTimeout(477218589, false), 50U);
    EXPECT_EQ(GetTimeout(0x40000000, false), 10737050U);
    EXPECT_EQ(GetTimeout(0x40000000, true), 2684050U);
}

TEST_F(DeviceI2CBusTest, EveryReadCallHasTheTimeoutOfTheWholeLength)
{
    Open();
    DeliverIn(1000, Bytes(300, 1));
    EXPECT_EQ(Read(11112).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mCount, 300U);
    EXPECT_EQ(mHost.mWaits, (std::vector<std::uint32_t>{1050, 1050}));
}

TEST_F(DeviceI2CBusTest, TheFeatureEngineSendsTheFlagsInTheHeaderOfItsFrames)
{
    Open();
    const Bytes data = {0x00, 0x10};
    EXPECT_TRUE(mBus.BurstWrite(0x50, data.data(), 2, false).IsOK());
    EXPECT_TRUE(mBus.MasterTransmitter(0x50, data.data(), 2, true, false).IsOK());
    DeliverIn(10, {5, 6, 7, 8});
    EXPECT_TRUE(mBus.IndirectBurstRead(0x50, 0x08, mBuffer.data(), 4, mCount, false, true).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{5, 6, 7, 8}));
    EXPECT_EQ(TakeFrames(), (Texts{"70 00 00 00 00 00 00 03 A0 00 10 00", "B0 00 00 00 00 00 00 03 A0 00 10 00",
                                   "30 00 00 00 00 00 00 02 A0 08 10 00", "70 00 00 00 00 00 00 03 A1 04 00 00"}));
}

TEST_F(DeviceI2CBusTest, TheRegisterEngineSendsTheFlagsInItsCommandWord)
{
    OpenRegisters();
    const Bytes data = {0x00, 0x10};
    EXPECT_TRUE(mBus.BurstWrite(0x50, data.data(), 2, false).IsOK());
    EXPECT_TRUE(mBus.MasterTransmitter(0x50, data.data(), 2, true, false).IsOK());
    EXPECT_EQ(TakeChunks(), (Texts{"0x80001C00 A0 00 10", "0x80001A00 A0 00 10"}));
    Bytes answer = {0, 0, 0, 0, 5, 6, 7, 8};
    std::memcpy(answer.data(), &RX, sizeof(RX));
    mHost.At(20, [this, &answer] { mDevice.SendEvent(BULK_INTERRUPT, answer.data(), 8); });
    EXPECT_TRUE(mBus.IndirectBurstRead(0x50, 0x08, mBuffer.data(), 4, mCount, false, true).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{5, 6, 7, 8}));
    EXPECT_EQ(mHost.mWaits.back(), 50U);
    EXPECT_EQ(TakeChunks(), (Texts{"0x80001800 A0 08", "0x80001C00 A1 04 00"}));
}

TEST_F(DeviceI2CBusTest, ATransferAfterCloseIsFailedByTheEngine)
{
    Open();
    EXPECT_TRUE(mBus.Close().IsOK());
    ExpectFailure(mBus.BurstWrite(0x50, mBuffer.data(), 2, false), 23, "WriteAndRead", "Device pointer is NULL.");
    ExpectFailure(Read(4), 23, "WriteAndRead", "Device pointer is NULL.");
    delete std::exchange(mBus.mEngine, nullptr);
    OpenRegisters();
    EXPECT_TRUE(mBus.Close().IsOK());
    ExpectFailure(Read(4), 23, "Write", "Device pointer is NULL.");
}

/// An engine that takes no memory for a transfer.
class QuietEngine : public KoSerialLib::BulkWithI2C
{
public:
    KoResult Open(IKoDeviceAdapter*, KoDeviceSerial) override { return KoResult(KoResult::OK); }
    bool IsOpened() override { return true; }
    KoResult FlushRxBuffer() override { return KoResult(KoResult::OK); }
    KoResult Write(const std::uint8_t*, std::uint32_t, std::uint32_t&) override { return KoResult(KoResult::OK); }
};

TEST_F(DeviceI2CBusTest, ATransferAllocatesNothingOnceTheBuffersHaveGrown)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    mHost.Reserve();
    mBus.mEngine = new QuietEngine;
    Bytes bytes(200);
    std::uint32_t count = 0;
    const auto transfer = [&]
    {
        EXPECT_TRUE(mBus.BurstWrite(0x50, bytes.data(), 200, true).IsOK());
        EXPECT_TRUE(mBus.IndirectBurstWrite(0x50, 1, bytes.data(), 200, true).IsOK());
        EXPECT_EQ(mBus.BurstRead(0x50, bytes.data(), 200, count, true).GetCode(), KoResult::TIMEOUT);
        EXPECT_EQ(mBus.IndirectBurstRead(0x50, 1, bytes.data(), 200, count, true, true).GetCode(), KoResult::TIMEOUT);
    };
    transfer();
    StartCountingAllocations();
    transfer();
    EXPECT_EQ(StopCountingAllocations().mCount, 0U);
}

TEST_F(DeviceI2CBusTest, InFeaturesTheLongestWriteIsWhatFitsAFrameBehindTheAddress)
{
    Open();
    for (const auto& [length, longest] :
         {std::pair<std::int64_t, std::uint32_t>{512, 503}, {9, 0}, {8, 0}, {-1, 0}, {TWO_TO_32, 16375}})
    {
        mDevice.mGenRegisterLengths["Bulk2DownstreamData"] = length;
        EXPECT_EQ(mBus.GetLongestWrite(), longest) << "register of " << length;
    }
    mDevice.mGenRegisterLengths["Bulk2DownstreamData"] = 20;
    EXPECT_TRUE(mBus.BurstWrite(0x50, Bytes(mBus.GetLongestWrite()).data(), mBus.GetLongestWrite(), false).IsOK());
    EXPECT_EQ(TakeFrames().size(), 1U);
}

TEST_F(DeviceI2CBusTest, InRegistersTheLongestWriteIsTheFirstChunkLessTheAddress)
{
    OpenRegisters();
    EXPECT_EQ(mBus.GetLongestWrite(), 253U);
    EXPECT_TRUE(mBus.BurstWrite(0x50, Bytes(253).data(), 253, false).IsOK());
    EXPECT_EQ(TakeChunks().size(), 1U);
}

TEST_F(DeviceI2CBusTest, AClosedBusWritesNothing)
{
    EXPECT_EQ(mBus.GetLongestWrite(), 0U);
    Open();
    EXPECT_TRUE(mBus.Close().IsOK());
    EXPECT_EQ(mBus.GetLongestWrite(), 0U);
}

} // namespace
