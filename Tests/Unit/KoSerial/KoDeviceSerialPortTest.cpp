#include "BareHostTest.h"

#include <KoDeviceSerialPort.h>
#include <KoDeviceSerialPortEchoSink.h>

#include <memory>
#include <type_traits>

static_assert(std::has_virtual_destructor_v<KoDeviceSerialPort>);

namespace
{

constexpr auto PORT_MINUS_2 = static_cast<KoDeviceSerial>(-2);
constexpr auto PORT_10 = static_cast<KoDeviceSerial>(10);

class KoDeviceSerialPortTest : public BareHostTest
{
protected:
    ~KoDeviceSerialPortTest() override
    {
        mDevice.mConnected = true;
        mPort.Close();
    }

    void Open(KoDeviceSerial aPort)
    {
        ASSERT_TRUE(mPort.Open(&mDevice, aPort).IsOK());
        mDevice.TakeCalls();
        mHost.mLog.clear();
    }

    /// Sends one byte through UART0 of a device that confirms it and answers with two.
    void Converse()
    {
        mDevice.mOnWriteRegister = [this](std::uint32_t, std::uint32_t) {
            mDevice.SendWords(0x9000, {0x3, 0x61, 0x62});
        };
        const std::uint8_t byte = 0x41;
        EXPECT_TRUE(mPort.Write(&byte, 1, mCount).IsOK());
        EXPECT_EQ(mCount, 1U);
        mDevice.mOnWriteRegister = nullptr;
    }

    std::uint32_t GetRingSize()
    {
        std::uint32_t size = 0;
        EXPECT_TRUE(mPort.GetRxBufferSize(size).IsOK());
        return size;
    }

    KoDeviceSerialPort mPort;
    std::uint8_t mBuffer[8] = {};
    std::uint32_t mCount = 0;
};

TEST_F(KoDeviceSerialPortTest, ThatWasNeverOpenedAnswersAsAClosedUart)
{
    EXPECT_FALSE(mPort.IsOpened());
    ExpectFailure(mPort.Close(), KoResult::NOT_CONNECTED, "Close", "Device pointer is NULL.");
    ExpectFailure(mPort.Write(mBuffer, 1, mCount), KoResult::NOT_CONNECTED, "Write", "Device pointer is NULL.");
    EXPECT_EQ(mPort.GetWriteProgress(mCount, mCount).GetCode(), KoResult::STATE_ERROR);
    EXPECT_EQ(mPort.GetBytesSent(), 0U);
    EXPECT_EQ(mPort.GetBytesReceived(), 0U);
}

TEST_F(KoDeviceSerialPortTest, ThatWasNeverOpenedHasAnEmptyRing)
{
    mCount = 99;
    EXPECT_TRUE(mPort.GetRxBytesReady(mCount).IsOK());
    EXPECT_EQ(mCount, 0U);
    EXPECT_TRUE(mPort.FlushRxBuffer().IsOK());
    EXPECT_EQ(GetRingSize(), 16384U);
    EXPECT_TRUE(mPort.SetRxBufferSize(64).IsOK());
    EXPECT_EQ(GetRingSize(), 64U);
    EXPECT_EQ(mPort.SetRxBufferSize(0).GetCode(), KoResult::INVALID_PARAMETER);
    EXPECT_EQ(GetRingSize(), 64U);
}

TEST_F(KoDeviceSerialPortTest, ThatWasNeverOpenedReadsNothingWithinTheWholeTimeout)
{
    EXPECT_EQ(mPort.Read(mBuffer, 8, mCount, 0).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.Now(), 1000U);
    EXPECT_EQ(mPort.Read(mBuffer, 8, mCount, 300).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.Now(), 1300U);
}

TEST_F(KoDeviceSerialPortTest, ThatWasClosedAnswersLikeOneThatWasNeverOpened)
{
    Open(KoDeviceSerialUart0);
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_FALSE(mPort.IsOpened());
    ExpectFailure(mPort.Close(), KoResult::NOT_CONNECTED, "Close", "Device pointer is NULL.");
    ExpectFailure(mPort.Write(mBuffer, 1, mCount), KoResult::NOT_CONNECTED, "Write", "Device pointer is NULL.");
    EXPECT_EQ(mPort.Read(mBuffer, 8, mCount, 0).GetCode(), KoResult::TIMEOUT);
}

TEST_F(KoDeviceSerialPortTest, ForwardsToTheEngineOfItsUart)
{
    mDevice.mRegisters[0xB84C] = {0};
    Open(KoDeviceSerialUart0);
    EXPECT_TRUE(mPort.IsOpened());
    Converse();
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "WriteRegister 0xB84C 0x41"}));
    std::uint32_t total = 0;
    EXPECT_TRUE(mPort.GetWriteProgress(mCount, total).IsOK());
    EXPECT_EQ(mCount, 1U);
    EXPECT_EQ(total, 1U);
    EXPECT_TRUE(mPort.GetRxBytesReady(mCount).IsOK());
    EXPECT_EQ(mCount, 2U);
    EXPECT_TRUE(mPort.Read(mBuffer, 1, mCount, 0).IsOK());
    EXPECT_EQ(mBuffer[0], 0x61);
    EXPECT_TRUE(mPort.FlushRxBuffer().IsOK());
    EXPECT_EQ(mPort.Read(mBuffer, 1, mCount, 0).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mPort.GetBytesSent(), 1U);
    EXPECT_EQ(mPort.GetBytesReceived(), 1U);
    mPort.ResetStatistics();
    EXPECT_EQ(mPort.GetBytesSent(), 0U);
    EXPECT_EQ(mPort.GetBytesReceived(), 0U);
}

TEST_F(KoDeviceSerialPortTest, KeepsTheStatisticsOverCloseAndForgetsTheWriteProgress)
{
    Open(KoDeviceSerialUart0);
    Converse();
    EXPECT_TRUE(mPort.Read(mBuffer, 8, mCount, 0).IsOK());
    mPort.Close();
    EXPECT_EQ(mPort.GetBytesSent(), 1U);
    EXPECT_EQ(mPort.GetBytesReceived(), 2U);
    EXPECT_EQ(mPort.GetWriteProgress(mCount, mCount).GetCode(), KoResult::STATE_ERROR);
    Open(KoDeviceSerialUart0);
    EXPECT_EQ(mPort.GetBytesSent(), 0U);
    EXPECT_EQ(mPort.GetBytesReceived(), 0U);
}

TEST_F(KoDeviceSerialPortTest, CanBeOpenedOnAnotherPortAfterClose)
{
    Open(KoDeviceSerialUart0);
    mPort.Close();
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart1).IsOK());
    EXPECT_EQ(mDevice.TakeCalls().back(), "WriteRegister 0xB838 0xC");
    mPort.Close();
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
}

TEST_F(KoDeviceSerialPortTest, OpenOfTheInvalidPortFailsAndKeepsTheOpenEngine)
{
    Open(KoDeviceSerialUart0);
    mPort.SetRxBufferSize(64);
    ExpectFailure(mPort.Open(&mDevice, KoDeviceSerialInvalid), KoResult::INVALID_PARAMETER, "Open",
                  "The specified port is invalid.");
    EXPECT_TRUE(mDevice.TakeCalls().empty());
    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_EQ(GetRingSize(), 64U);
    Converse();
}

TEST_F(KoDeviceSerialPortTest, OpenOfAnUnknownPortFailsAndKeepsTheOpenEngine)
{
    Open(KoDeviceSerialUart0);
    mPort.SetRxBufferSize(64);
    for (const KoDeviceSerial port : {PORT_10, PORT_MINUS_2, static_cast<KoDeviceSerial>(0x7FFFFFFF)})
    {
        mHost.mLog.clear();
        EXPECT_EQ(mPort.Open(&mDevice, port).GetCode(), KoResult::NOT_SUPPORTED);
        EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_CRITICAL), Texts{"Unknown port."});
        EXPECT_EQ(mHost.mLog.size(), 1U);
    }
    EXPECT_TRUE(mDevice.TakeCalls().empty());
    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_EQ(GetRingSize(), 64U);
    Converse();
}

TEST_F(KoDeviceSerialPortTest, OpenOfBulk0OnADeviceWithoutItFailsAndKeepsTheEngine)
{
    mPort.SetRxBufferSize(64);
    ExpectBareFailure(mPort.Open(&mDevice, KoDeviceSerialBulk0), KoResult::NOT_SUPPORTED);
    EXPECT_FALSE(mPort.IsOpened());
    EXPECT_EQ(GetRingSize(), 64U);
}

TEST_F(KoDeviceSerialPortTest, OpenOfAnyOtherBulkPortOnADeviceWithoutItFails)
{
    for (int port = KoDeviceSerialBulk1; port <= KoDeviceSerialBulk7; ++port)
    {
        EXPECT_EQ(mPort.Open(&mDevice, static_cast<KoDeviceSerial>(port)).GetCode(), KoResult::NOT_SUPPORTED) << port;
        EXPECT_FALSE(mPort.IsOpened());
    }
}

TEST_F(KoDeviceSerialPortTest, OpenReplacesTheEngineEvenWhenItFails)
{
    mPort.SetRxBufferSize(64);
    Open(KoDeviceSerialUart0);
    EXPECT_EQ(GetRingSize(), 16384U);
    mPort.Close();

    mPort.SetRxBufferSize(64);
    mDevice.mConnected = false;
    ExpectFailure(mPort.Open(&mDevice, KoDeviceSerialUart0), KoResult::NOT_CONNECTED, "Open",
                  "The device is not currently connected.");
    EXPECT_FALSE(mPort.IsOpened());
    EXPECT_EQ(GetRingSize(), 16384U);
}

TEST_F(KoDeviceSerialPortTest, TheNewEngineIsInPlaceAndTheOldOneGoneWhileItOpens)
{
    mPort.SetRxBufferSize(64);
    const int loggers = mHost.mHeapLoggers;
    int subscriptions = 0;
    mDevice.mOnCall = [&](const std::string& aCall)
    {
        if (aCall == "RegisterEventSink")
        {
            ++subscriptions;
            EXPECT_EQ(mHost.mHeapLoggers, loggers);
            EXPECT_EQ(GetRingSize(), 16384U);
            EXPECT_TRUE(mPort.IsOpened());
        }
    };
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_EQ(subscriptions, 1);
}

TEST_F(KoDeviceSerialPortTest, ReturnsTheFailuresOfItsEngineUnchanged)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {0x80000001};
    ExpectFailure(mPort.Open(&mDevice, KoDeviceSerialUart1), KoResult::NOT_SUPPORTED, "Open",
                  "The specified port is not supported by this device.");
    Open(KoDeviceSerialUart0);
    ExpectFailure(mPort.Write(mBuffer, 1, mCount), KoResult::GENERIC_ERROR, "Write",
                  "Failed while waiting for the event from the device after writing byte 0.");
    EXPECT_EQ(mCount, 1U);
}

TEST_F(KoDeviceSerialPortTest, OpenThatFailsHalfWayCanBeClosed)
{
    mDevice.FailCall("ReadRegister 0xB838");
    EXPECT_EQ(mPort.Open(&mDevice, KoDeviceSerialUart0).GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
}

TEST_F(KoDeviceSerialPortTest, OpenOfAnOpenObjectFindsItsOwnPortInUse)
{
    Open(KoDeviceSerialUart0);
    ExpectFailure(mPort.Open(&mDevice, KoDeviceSerialUart0), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
    for (const std::string& call : mDevice.TakeCalls())
    {
        EXPECT_NE(call, "UnregisterEventSink");
    }
    EXPECT_EQ(mDevice.mSinks.size(), 1U) << "the replaced engine stays subscribed";
    EXPECT_FALSE(mPort.IsOpened());
    KoDeviceSerialPort other;
    EXPECT_EQ(other.Open(&mDevice, KoDeviceSerialUart0).GetCode(), KoResult::GENERIC_ERROR);
}

TEST_F(KoDeviceSerialPortTest, TwoObjectsCannotHoldOnePortButThePortsOfTwoDevices)
{
    Open(KoDeviceSerialUart0);
    KoDeviceSerialPort second;
    ScriptedAdapter other(NewIdentity());
    EXPECT_EQ(second.Open(&mDevice, KoDeviceSerialUart0).GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_TRUE(second.Open(&other, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(second.Close().IsOK());
}

TEST_F(KoDeviceSerialPortTest, DestructionClosesAnOpenObjectWithAWarning)
{
    auto port = std::make_unique<KoDeviceSerialPort>();
    ASSERT_TRUE(port->Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.TakeCalls();
    port.reset();
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_WARNING), Texts{"SerialPort not closed before deleting. Will close"});
    EXPECT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "ReadRegister 0xB838", "WriteRegister 0xB838 0x0",
                                          "GetDeviceId", "UnregisterEventSink"}));
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
}

TEST_F(KoDeviceSerialPortTest, DestructionClosesWithoutAWarningWhenWarningsAreOff)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_ERROR;
    auto port = std::make_unique<KoDeviceSerialPort>();
    ASSERT_TRUE(port->Open(&mDevice, KoDeviceSerialUart0).IsOK());
    port.reset();
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mDevice.mSinks.empty());
}

TEST_F(KoDeviceSerialPortTest, DestructionOfAClosedObjectIsSilent)
{
    auto port = std::make_unique<KoDeviceSerialPort>();
    ASSERT_TRUE(port->Open(&mDevice, KoDeviceSerialUart0).IsOK());
    port->Close();
    mDevice.TakeCalls();
    port.reset();
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(KoDeviceSerialPortTest, DestructionIgnoresAFailureToClose)
{
    auto port = std::make_unique<KoDeviceSerialPort>();
    ASSERT_TRUE(port->Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.mConnected = false;
    mDevice.TakeCalls();
    port.reset();
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    mDevice.mSinks.clear();
}

TEST_F(KoDeviceSerialPortTest, IsSupportedAnswersForPortsThatDoNotExistWithoutTheDevice)
{
    for (const KoDeviceSerial port : {KoDeviceSerialInvalid, PORT_MINUS_2, PORT_10})
    {
        EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&mDevice, port));
        EXPECT_FALSE(KoDeviceSerialPort::IsSupported(nullptr, port));
    }
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(KoDeviceSerialPortTest, IsSupportedAsksTheEngineOfAUart)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {0x80000001};
    EXPECT_TRUE(KoDeviceSerialPort::IsSupported(&mDevice, KoDeviceSerialUart0));
    EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&mDevice, KoDeviceSerialUart1));
    EXPECT_EQ(mDevice.TakeCalls().back(), "ReadRegister 0xB8FC");
    EXPECT_FALSE(KoDeviceSerialPort::IsSupported(nullptr, KoDeviceSerialUart0));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{"Device pointer is NULL."});
}

TEST_F(KoDeviceSerialPortTest, IsSupportedIsFalseForBulkPortsThatTheDeviceDoesNotHave)
{
    for (int port = KoDeviceSerialBulk0; port <= KoDeviceSerialBulk7; ++port)
    {
        EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&mDevice, static_cast<KoDeviceSerial>(port))) << port;
    }
}

TEST_F(KoDeviceSerialPortTest, AMissingEchoSinkIsRefused)
{
    ExpectFailure(KoDeviceSerialPort::RegisterEchoSink(nullptr), KoResult::INVALID_PARAMETER, "RegisterEchoSink",
                  "aSink cannot be NULL");
    ExpectFailure(KoDeviceSerialPort::UnregisterEchoSink(nullptr), KoResult::INVALID_PARAMETER, "UnregisterEchoSink",
                  "aSink cannot be NULL");
    EXPECT_EQ(mHost.mTaken.size(), 1U) << "only the ring of mPort was locked, by its construction";
}

TEST_F(KoDeviceSerialPortTest, AnEchoSinkIsRegisteredAndUnregisteredOnce)
{
    KoDeviceSerialPortEchoSink sink;
    EXPECT_TRUE(KoDeviceSerialPort::RegisterEchoSink(&sink).IsOK());
    ExpectFailure(KoDeviceSerialPort::RegisterEchoSink(&sink), KoResult::NOT_SUPPORTED, "RegisterEchoSink",
                  "Sink already registered: registering the same sink twice is not supported");
    EXPECT_TRUE(KoDeviceSerialPort::UnregisterEchoSink(&sink).IsOK());
    ExpectFailure(KoDeviceSerialPort::UnregisterEchoSink(&sink), KoResult::NOT_FOUND, "UnregisterEchoSink",
                  "Sink not found in registered echo sinks");
}

} // namespace
