#include "FeaturePortTest.h"

#include <DeviceSPIBus.h>

#include <memory>

namespace
{

using KoSerialLib::DeviceSPIBus;

const char* const UNOPENED_SPI = "%s failed SPI. You must first call Open before using this function";
const char* const TOO_LONG = "SPI read and write only support up to 255 bytes";

class TestSPIBus : public DeviceSPIBus
{
public:
    using DeviceSPIBus::mEngine;
    using DeviceSPIBus::mLogger;
};

/// A bus on a device whose bulk mode offers SPI, and whose bulk port 2 has registers of 300 bytes down.
class DeviceSPIBusTest : public BareHostTest
{
protected:
    DeviceSPIBusTest()
    {
        AddBulkPort(mDevice, 2, 300);
        AddEventFeatures(mDevice);
        mDevice.mEnumerations["BulkMode"].mEntries = {"UART", "SPI"};
    }

    void Open(KoDeviceSerial aPort = BULK2)
    {
        ASSERT_TRUE(mBus.Open(&mDevice, aPort).IsOK());
        mDevice.TakeCalls();
        mHost.mLog.clear();
        mHost.mWaits.clear();
    }

    KoResult Transfer(const Bytes& aBytes, std::uint32_t aReadLength, bool aSimultaneous = false, bool aControl = false)
    {
        Bytes bytes = aBytes;
        const auto count = static_cast<std::uint32_t>(bytes.size());
        return mBus.BurstWriteAndRead(bytes.data(), count, aReadLength, aSimultaneous, aControl);
    }

    KoResult Read(std::uint32_t aLength, std::uint32_t aTimeoutMs)
    {
        return mBus.BurstRead(mBuffer.data(), aLength, mCount, aTimeoutMs);
    }

    Texts TakeFrames()
    {
        const std::string write = "SetGenRegisterData Bulk2DownstreamData ";
        Texts frames;
        for (const std::string& call : mDevice.TakeCalls())
        {
            if (call.compare(0, write.size(), write) == 0)
            {
                frames.push_back(call.substr(write.size()));
            }
        }
        return frames;
    }

    void Deliver(const Bytes& aBytes)
    {
        mDevice.mGenRegisters[UPSTREAM_BUFFER] = aBytes;
        mDevice.mIntegers[UPSTREAM_LENGTH] = static_cast<std::int64_t>(aBytes.size());
        mDevice.Invalidate(UPSTREAM_BUFFER);
    }

    Bytes GetBytes() const { return Bytes(mBuffer.begin(), mBuffer.begin() + mCount); }

    TestSPIBus mBus;
    Bytes mBuffer = Bytes(512);
    std::uint32_t mCount = 99;
};

TEST_F(DeviceSPIBusTest, SupportAsksForSPIAmongTheBulkModes)
{
    EXPECT_TRUE(DeviceSPIBus::IsSupported(&mDevice, BULK2));
    EXPECT_EQ(mDevice.TakeCalls(),
              (Texts{"IsConnected", "IsConnected", "IsTavricVideoInterface", "IsGenRegisterPresent Bulk2DownstreamData",
                     "IsGenIntegerPresent EventBulk2UpstreamDataLength",
                     "IsGenRegisterPresent EventBulk2UpstreamDataBuffer", "IsGenEnumEntryAvailable BulkMode SPI"}));
    EXPECT_FALSE(DeviceSPIBus::IsSupported(&mDevice, KoDeviceSerialBulk3));
    EXPECT_FALSE(DeviceSPIBus::IsSupported(nullptr, BULK2));
    mDevice.mEnumerations["BulkMode"].mEntries = {"UART", "I2C"};
    EXPECT_FALSE(DeviceSPIBus::IsSupported(&mDevice, BULK2));
}

TEST_F(DeviceSPIBusTest, OpenFailsWhereTheDeviceOffersNoSPI)
{
    const std::string text = "SPI Bus is not supported with this device";
    for (const auto port : {KoDeviceSerialUart0, KoDeviceSerialUart1, KoDeviceSerialBulk3, KoDeviceSerialInvalid})
    {
        ExpectFailure(mBus.Open(&mDevice, port), 26, "Open", text);
    }
    mDevice.mEnumerations["BulkMode"].mEntries = {"I2C"};
    ExpectFailure(mBus.Open(&mDevice, BULK2), 26, "Open", text);
    ExpectFailure(mBus.Open(nullptr, BULK2), 26, "Open", text);
    EXPECT_EQ(mBus.mEngine, nullptr);
}

TEST_F(DeviceSPIBusTest, APortThatIsNoBulkPortIsInvalidEvenIfTheDeviceClaimsSPIThere)
{
    Open();
    mDevice.mGenRegisters[""] = {};
    mDevice.mIntegers[""] = 0;
    for (const auto port :
         {KoDeviceSerialUart0, KoDeviceSerialUart1, KoDeviceSerialInvalid, static_cast<KoDeviceSerial>(10)})
    {
        ExpectFailure(mBus.Open(&mDevice, port), 16385, "Open", "The specified port is not supported by this device.");
        EXPECT_EQ(mDevice.TakeCalls().back(), "IsGenEnumEntryAvailable BulkMode SPI");
    }
    EXPECT_TRUE(mBus.IsOpened());
}

TEST_F(DeviceSPIBusTest, EveryBulkPortOpensOnceTheOneBeforeIsClosedAndReplacesItsEngine)
{
    const int loggers = mHost.mHeapLoggers;
    for (int i = 0; i <= 7; ++i)
    {
        AddBulkPort(mDevice, i);
        Open(static_cast<KoDeviceSerial>(KoDeviceSerialBulk0 + i));
        EXPECT_TRUE(mBus.IsOpened());
        EXPECT_TRUE(Transfer({}, 4).IsOK());
        EXPECT_EQ(mDevice.TakeCalls().at(3),
                  "SetGenRegisterData Bulk" + std::to_string(i) + "DownstreamData 00 00 00 00 00 00 00 04 00 04 00 00");
        EXPECT_TRUE(mBus.Close().IsOK());
        EXPECT_EQ(mHost.mHeapLoggers, loggers + 1);
    }
    Open(KoDeviceSerialBulk0);
}

TEST_F(DeviceSPIBusTest, AnOpenBusThatIsOpenedAgainLeavesItsPortInUseAndItsSinkRegistered)
{
    AddBulkPort(mDevice, 3);
    Open();
    const int loggers = mHost.mHeapLoggers;
    ExpectFailure(mBus.Open(&mDevice, BULK2), 16384, "Open", "The specified port is already in use.");
    for (const std::string& call : mDevice.TakeCalls())
    {
        EXPECT_EQ(call.find("Unregister"), std::string::npos) << call;
    }
    EXPECT_EQ(mDevice.mSinks.size(), 1U);
    EXPECT_EQ(mHost.mHeapLoggers, loggers);
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_TRUE(mBus.Open(&mDevice, KoDeviceSerialBulk3).IsOK());
    EXPECT_EQ(mHost.mHeapLoggers, loggers);
}

TEST_F(DeviceSPIBusTest, TheOldEngineIsGoneWhenTheNewOneOpens)
{
    Open();
    EXPECT_TRUE(mBus.Close().IsOK());
    int subscriptions = 0;
    mDevice.mOnCall = [&, loggers = mHost.mHeapLoggers](const std::string& aCall)
    {
        if (aCall == "RegisterEventSink")
        {
            ++subscriptions;
            EXPECT_EQ(mHost.mHeapLoggers, loggers);
        }
    };
    EXPECT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
    EXPECT_EQ(subscriptions, 1);
}

TEST_F(DeviceSPIBusTest, AnEngineThatDoesNotOpenIsKeptAndItsResultReturned)
{
    mDevice.mEnumerations.erase("EventSelector");
    ExpectBareFailure(mBus.Open(&mDevice, BULK2), 16384);
    EXPECT_NE(mBus.mEngine, nullptr);
    mHost.mLog.clear();
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_TRUE(mHost.mLog.empty());
    ExpectFailure(Transfer({1}, 0), 23, "WriteAndRead", "Device pointer is NULL.");
    ExpectFailure(mBus.Close(), 23, "Close", "Device pointer is NULL.");
}

TEST_F(DeviceSPIBusTest, EveryOperationBeforeTheFirstOpenFailsWithItsNameInTheEntryAlone)
{
    ExpectFailure(mBus.Close(), 1541, "Close", UNOPENED_SPI);
    ExpectFailure(Transfer({1}, 1), 1541, "BurstWriteAndRead", UNOPENED_SPI);
    ExpectFailure(Read(4, 10), 1541, "BurstRead", UNOPENED_SPI);
    EXPECT_EQ(mHost.mLog.size(), 3U);
    EXPECT_TRUE(mHost.mWaits.empty());
}

TEST_F(DeviceSPIBusTest, AnUnopenedBusRefusesTooLongTransfersAsUnopened)
{
    ExpectFailure(Transfer(Bytes(256), 0), 1541, "BurstWriteAndRead", UNOPENED_SPI);
    ExpectFailure(Transfer({}, 256), 1541, "BurstWriteAndRead", UNOPENED_SPI);
}

TEST_F(DeviceSPIBusTest, AnUnopenedBusIsNotOpenAndSaysSoWhereErrorsAreLogged)
{
    EXPECT_FALSE(mBus.IsOpened());
    ASSERT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mHost.mLog[0].mLevel, 3);
    EXPECT_EQ(mHost.mLog[0].mCode, 0U);
    EXPECT_EQ(mHost.mLog[0].mFunction, "IsOpened");
    EXPECT_EQ(mHost.mLog[0].mText, UNOPENED_SPI);
    mHost.mEnabledLevel = KuUtilsLib::LOG_ERROR;
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_EQ(mHost.mLog.size(), 2U);
    mHost.mEnabledLevel = KuUtilsLib::LOG_CRITICAL;
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_EQ(mHost.mLog.size(), 2U);
}

TEST_F(DeviceSPIBusTest, ABusWithoutALoggerIsJustNotOpen)
{
    KuUtilsLib::Logger::Free(mBus.mLogger);
    mBus.mLogger = nullptr;
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(DeviceSPIBusTest, ATransferOf255BytesEachWayIsAccepted)
{
    Open();
    EXPECT_TRUE(Transfer(Bytes(255, 7), 255, true).IsOK());
    EXPECT_TRUE(Transfer(Bytes(255, 7), 255).IsOK());
    const Texts frames = TakeFrames();
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0].substr(0, 38), "00 00 00 00 00 00 01 03 00 00 FF 00 07");
    EXPECT_EQ(frames[1].substr(0, 38), "00 00 00 00 00 00 01 03 FF FF 00 00 07");
    EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_WARNING).empty());
}

TEST_F(DeviceSPIBusTest, ATransferOf256BytesEitherWayIsRefusedWithoutTheDevice)
{
    Open();
    ExpectFailure(Transfer(Bytes(256), 0), 16385, "BurstWriteAndRead", TOO_LONG);
    ExpectFailure(Transfer({}, 256), 16385, "BurstWriteAndRead", TOO_LONG);
    ExpectFailure(Transfer({1}, 0xFFFFFFFF, true), 16385, "BurstWriteAndRead", TOO_LONG);
    EXPECT_EQ(mDevice.TakeCalls(), Texts{});
    EXPECT_EQ(mHost.mLog.size(), 3U);
}

TEST_F(DeviceSPIBusTest, AClosedBusRefusesTooLongTransfersBeforeItsEngineDoes)
{
    Open();
    EXPECT_TRUE(mBus.Close().IsOK());
    ExpectFailure(Transfer(Bytes(256), 0), 16385, "BurstWriteAndRead", TOO_LONG);
    ExpectFailure(Transfer(Bytes(255), 0), 23, "WriteAndRead", "Device pointer is NULL.");
}

TEST_F(DeviceSPIBusTest, ATransferIsOneFrameThatTellsItsArguments)
{
    Open();
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 2).IsOK());
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 2, false, true).IsOK());
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 3, true, false).IsOK());
    EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_WARNING).empty());
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 2, true, true).IsOK());
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_WARNING), Texts{"Simultaneous readwrite but read 2 != write 3"});
    EXPECT_EQ(
        TakeFrames(),
        (Texts{"00 00 00 00 00 00 00 07 03 02 00 00 41 42 43 00", "00 00 00 00 00 00 00 07 03 02 00 01 41 42 43 00",
               "00 00 00 00 00 00 00 07 00 00 03 00 41 42 43 00", "00 00 00 00 00 00 00 07 00 00 03 01 41 42 43 00"}));
}

TEST_F(DeviceSPIBusTest, APureReadIsAFrameOfTheHeaderAloneAndThenABurstRead)
{
    Open();
    EXPECT_TRUE(mBus.BurstWriteAndRead(nullptr, 0, 4, false, false).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 00 00 00 04 00 04 00 00"});
    mHost.At(10, [this] { Deliver({1, 2, 3, 4}); });
    EXPECT_TRUE(Read(4, 70).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(mHost.mWaits, std::vector<std::uint32_t>{70});
}

TEST_F(DeviceSPIBusTest, AReadReturnsWhatIsThereAndTimesOutOnlyWithoutAByte)
{
    Open();
    Deliver({1, 2});
    EXPECT_TRUE(Read(4, 70).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2}));
    EXPECT_TRUE(mHost.mWaits.empty());
    const std::uint64_t start = mHost.Now();
    ExpectBareFailure(Read(4, 70), KoResult::TIMEOUT);
    EXPECT_EQ(mCount, 0U);
    EXPECT_EQ(mHost.Now() - start, 70U);
    ExpectBareFailure(Read(4, 0), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.mWaits.size(), 1U);
}

TEST_F(DeviceSPIBusTest, AReadMayBeLongerThan255Bytes)
{
    Open();
    Deliver(Bytes(300, 7));
    EXPECT_TRUE(Read(500, 0).IsOK());
    EXPECT_EQ(GetBytes(), Bytes(300, 7));
}

TEST_F(DeviceSPIBusTest, FailuresOfTheEngineComeBackUnchanged)
{
    Open();
    mDevice.mRefusal = KoResult(4711, KoString("The device is on fire."));
    mDevice.FailCall("SetGenRegisterData");
    const KoResult result = Transfer({1}, 1);
    EXPECT_EQ(result.GetCode(), 4711U);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "The device is on fire.");
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{});
    mDevice.mConnected = false;
    ExpectFailure(Transfer({1}, 1), 23, "WriteAndRead", "The device is not currently connected.");
    ExpectFailure(mBus.Close(), 23, "Close", "The device is not currently connected.");
    mDevice.mConnected = true;
}

TEST_F(DeviceSPIBusTest, CloseKeepsTheEngineWhichThenDecides)
{
    Open();
    EXPECT_TRUE(mBus.Close().IsOK());
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_NE(mBus.mEngine, nullptr);
    mHost.mLog.clear();
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_TRUE(mHost.mLog.empty());
    ExpectBareFailure(Read(4, 30), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.mWaits, std::vector<std::uint32_t>{30});
    ExpectFailure(mBus.Close(), 23, "Close", "Device pointer is NULL.");
}

TEST_F(DeviceSPIBusTest, TheEndOfABusClosesItAndFreesItsLoggers)
{
    const int loggers = mHost.mHeapLoggers;
    for (const bool closed : {false, true})
    {
        TestSPIBus bus;
        EXPECT_EQ(mHost.mHeapLoggers, loggers + 1);
        EXPECT_TRUE(bus.Open(&mDevice, BULK2).IsOK());
        EXPECT_EQ(mDevice.mSinks.size(), 1U);
        EXPECT_TRUE(!closed || bus.Close().IsOK());
        mHost.mLog.clear();
    }
    EXPECT_EQ(mHost.mHeapLoggers, loggers);
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{});
    Open();
}

TEST_F(DeviceSPIBusTest, TheLongestWriteIsWhatFitsAFrameAndTheCountOfIt)
{
    EXPECT_EQ(mBus.GetLongestWrite(), 0U);
    Open();
    for (const auto& [length, longest] :
         {std::pair<std::int64_t, std::uint32_t>{512, 255}, {266, 254}, {13, 1}, {12, 0}, {0, 0}})
    {
        mDevice.mGenRegisterLengths["Bulk2DownstreamData"] = length;
        EXPECT_EQ(mBus.GetLongestWrite(), longest) << "register of " << length;
    }
    EXPECT_TRUE(mBus.Close().IsOK());
    EXPECT_EQ(mBus.GetLongestWrite(), 0U);
}

} // namespace
