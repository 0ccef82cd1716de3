#include "HexText.h"
#include "UartTest.h"

#include <FunctionCaps.h>
#include <PortMap.h>

#include <memory>
#include <utility>

namespace
{

using KoSerialLib::IsFunctionCapsNS;
using KoSerialLib::SerialPortIPEngine;
using KoSerialLib::sPortMap;

class SerialPortIPEngineTest : public UartTest
{
protected:
    /// Asks for UART0; expects the answer "no", exactly these device calls, and one entry or none.
    void ExpectUnsupported(const Texts& aCalls, KuUtilsLib::PriorityLevel aLevel, const Texts& aEntries)
    {
        mHost.mLog.clear();
        EXPECT_FALSE(SerialPortIPEngine::IsSupported(&mDevice, KoDeviceSerialUart0));
        EXPECT_EQ(mDevice.TakeCalls(), aCalls);
        EXPECT_EQ(mHost.GetTexts(), aEntries);
        EXPECT_EQ(mHost.GetTexts(aLevel), aEntries);
    }

    bool IsSupported(KoDeviceSerial aPort, std::uint32_t aCaps)
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {aCaps};
        return SerialPortIPEngine::IsSupported(&mDevice, aPort);
    }
};

TEST_F(SerialPortIPEngineTest, IsNotSupportedWithoutADevice)
{
    EXPECT_FALSE(SerialPortIPEngine::IsSupported(nullptr, KoDeviceSerialUart0));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{"Device pointer is NULL."});
    EXPECT_EQ(mHost.mLog.size(), 1U);
}

TEST_F(SerialPortIPEngineTest, IsNotSupportedOnADisconnectedDevice)
{
    mDevice.mConnected = false;
    ExpectUnsupported({"IsConnected"}, KuUtilsLib::LOG_ERROR, {"The device is not currently connected."});
}

TEST_F(SerialPortIPEngineTest, IsNotSupportedOnAForeignVideoInterface)
{
    mDevice.mTavricVideoInterface = false;
    ExpectUnsupported({"IsConnected", "IsTavricVideoInterface"}, KuUtilsLib::LOG_INFO,
                      {"The device is not on a Tavric video interface."});
}

TEST_F(SerialPortIPEngineTest, IsNotSupportedOnADeviceThatIsNoGigEVisionDevice)
{
    mDevice.mGigEVision = false;
    ExpectUnsupported({"IsConnected", "IsTavricVideoInterface", "GetDeviceId", "IsGigEVision"}, KuUtilsLib::LOG_INFO,
                      {"The device is not a GigE Vision device."});
}

TEST_F(SerialPortIPEngineTest, AFailedReadOfTheCapabilitiesIsRememberedForThisDeviceOnly)
{
    const Texts allCalls = {"IsConnected", "IsTavricVideoInterface", "GetDeviceId", "IsGigEVision",
                            "ReadRegister 0xB8FC"};
    mDevice.FailCall("ReadRegister");
    ExpectUnsupported(allCalls, KuUtilsLib::LOG_INFO, {"Could not read device function capabilities register."});
    EXPECT_TRUE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));

    // From now on the answer comes from memory, before the kind of device is asked for.
    mDevice.mGigEVision = false;
    for (int i = 0; i < 2; ++i)
    {
        ExpectUnsupported({"IsConnected", "IsTavricVideoInterface", "GetDeviceId"}, KuUtilsLib::LOG_INFO,
                          {"Not reading DEV_REG_FUNCTION_CAPS, already know it is now supported."});
    }

    ScriptedAdapter other(NewIdentity());
    EXPECT_TRUE(SerialPortIPEngine::IsSupported(&other, KoDeviceSerialUart0));
    EXPECT_EQ(other.TakeCalls(), allCalls);
}

TEST_F(SerialPortIPEngineTest, AnAbsentPortIsNotRememberedAndNotLogged)
{
    const Texts allCalls = {"IsConnected", "IsTavricVideoInterface", "GetDeviceId", "IsGigEVision",
                            "ReadRegister 0xB8FC"};
    for (const std::uint32_t caps : {0x00000002U, 0x80000000U})
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {caps};
        ExpectUnsupported(allCalls, KuUtilsLib::LOG_INFO, {});
    }
    EXPECT_FALSE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));
    EXPECT_TRUE(IsSupported(KoDeviceSerialUart0, 0x80000002));
}

TEST_F(SerialPortIPEngineTest, TheNumberOfUartsDecidesWhichOnesAreSupported)
{
    for (std::uint32_t count = 0; count < 8; ++count)
    {
        for (const std::uint32_t others : {0x80000000U, 0xFFFFFFF8U})
        {
            EXPECT_EQ(IsSupported(KoDeviceSerialUart0, others | count), count >= 1) << count;
            EXPECT_EQ(IsSupported(KoDeviceSerialUart1, others | count), count >= 2) << count;
            EXPECT_FALSE(IsSupported(KoDeviceSerialUart0, (others | count) & 0x7FFFFFFF)) << count;
        }
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortIPEngineTest, AnyOtherPortIsNotSupported)
{
    for (const int port : {-1, 2, 3, 9, 10})
    {
        mHost.mLog.clear();
        EXPECT_FALSE(SerialPortIPEngine::IsSupported(&mDevice, static_cast<KoDeviceSerial>(port)));
        EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_CRITICAL), Texts{"The specified port is not supported"});
        EXPECT_EQ(mHost.mLog.size(), 1U);
    }
}

TEST_F(SerialPortIPEngineTest, OpenChecksLocksSubscribesAndEnablesInThisOrder)
{
    EXPECT_FALSE(mUart.IsOpened());
    EXPECT_TRUE(mUart.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "IsConnected", "IsTavricVideoInterface", "GetDeviceId",
                                          "IsGigEVision", "ReadRegister 0xB8FC", "GetDeviceId", "RegisterEventSink",
                                          "ReadRegister 0xB838", "WriteRegister 0xB838 0x3"}));
    EXPECT_TRUE(mUart.IsOpened());
    EXPECT_EQ(mUart.mDevice, &mDevice);
    EXPECT_EQ(mUart.mPort, KoDeviceSerialUart0);
    EXPECT_STREQ(mUart.mPortName.GetAscii(), mDevice.mIdentity.c_str());
    EXPECT_EQ(mDevice.mSinks, std::vector<IKoDeviceEventSink*>{&mUart});
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortIPEngineTest, OpenTakesThePortBeforeItSubscribesAndCloseGivesItBackBeforeItUnsubscribes)
{
    Texts seen;
    mDevice.mOnCall = [&](const std::string& aCall)
    {
        if (aCall == "RegisterEventSink" || aCall == "UnregisterEventSink")
        {
            const char* const identity = mDevice.mIdentity.c_str();
            const bool isFree =
                sPortMap.Lock(identity, KoDeviceSerialUart0) && sPortMap.Release(identity, KoDeviceSerialUart0);
            seen.push_back(aCall + (mUart.IsOpened() ? " open" : " closed") + (isFree ? " free" : " held"));
        }
    };
    EXPECT_TRUE(mUart.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(mUart.Close().IsOK());
    EXPECT_EQ(seen, (Texts{"RegisterEventSink open held", "UnregisterEventSink open free"}));
}

TEST_F(SerialPortIPEngineTest, BothItsEventsStaySetUntilTheyAreReset)
{
    EXPECT_EQ(mHost.mEventsMade, (std::vector<bool>{true, true}));
}

TEST_F(SerialPortIPEngineTest, OpenResetsTheStatistics)
{
    mUart.mBytesSent = 5;
    mUart.mBytesReceived = 6;
    Open(KoDeviceSerialUart0);
    EXPECT_EQ(mUart.mBytesSent, 0U);
    EXPECT_EQ(mUart.mBytesReceived, 0U);
}

TEST_F(SerialPortIPEngineTest, OpenFailsOnADisconnectedDevice)
{
    mDevice.mConnected = false;
    ExpectFailure(mUart.Open(&mDevice, KoDeviceSerialUart0), KoResult::NOT_CONNECTED, "Open",
                  "The device is not currently connected.");
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    EXPECT_FALSE(mUart.IsOpened());
}

TEST_F(SerialPortIPEngineTest, OpenFailsOnUart1OfADeviceWithOneUart)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {0x80000001};
    ExpectFailure(mUart.Open(&mDevice, KoDeviceSerialUart1), KoResult::NOT_SUPPORTED, "Open",
                  "The specified port is not supported by this device.");
    EXPECT_EQ(mDevice.TakeCalls().back(), "ReadRegister 0xB8FC");
    EXPECT_FALSE(mUart.IsOpened());
    EXPECT_TRUE(mUart.Open(&mDevice, KoDeviceSerialUart0).IsOK());
}

TEST_F(SerialPortIPEngineTest, OpenFailsOnAPortThatAnotherEngineHolds)
{
    Open(KoDeviceSerialUart0);
    TestUart second;
    ExpectFailure(second.Open(&mDevice, KoDeviceSerialUart0), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
    EXPECT_EQ(mDevice.TakeCalls().back(), "GetDeviceId");
    EXPECT_FALSE(second.IsOpened());
    EXPECT_EQ(mDevice.mSinks.size(), 1U);
}

TEST_F(SerialPortIPEngineTest, BothUartsAndTheUartsOfTwoDevicesOpenSideBySide)
{
    Open(KoDeviceSerialUart0);
    TestUart sameDevice;
    TestUart otherDevice;
    ScriptedAdapter other(NewIdentity());
    EXPECT_TRUE(sameDevice.Open(&mDevice, KoDeviceSerialUart1).IsOK());
    EXPECT_TRUE(otherDevice.Open(&other, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(sameDevice.Close().IsOK());
    EXPECT_TRUE(otherDevice.Close().IsOK());
}

TEST_F(SerialPortIPEngineTest, OpenIgnoresARefusedSubscriptionAndAMissingIdentity)
{
    mDevice.FailEvery("RegisterEventSink");
    mDevice.FailEvery("GetDeviceId");
    EXPECT_TRUE(mUart.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_STREQ(mUart.mPortName.GetAscii(), "");
    EXPECT_TRUE(mUart.Close().IsOK());
}

TEST_F(SerialPortIPEngineTest, OpenThatCannotReadTheInterruptBitsLeavesThePortHalfOpen)
{
    mUart.mBytesSent = 5;
    mDevice.FailCall("ReadRegister 0xB838");
    ExpectFailure(mUart.Open(&mDevice, KoDeviceSerialUart0), KoResult::GENERIC_ERROR, "EnableInterrupts",
                  "Failed while attempting to read interrupt enable register.");
    EXPECT_TRUE(mUart.IsOpened());
    EXPECT_EQ(mDevice.mSinks.size(), 1U);
    EXPECT_EQ(mUart.mBytesSent, 5U);
    TestUart second;
    EXPECT_EQ(second.Open(&mDevice, KoDeviceSerialUart0).GetCode(), KoResult::GENERIC_ERROR);

    EXPECT_TRUE(mUart.Close().IsOK());
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_TRUE(mUart.Open(&mDevice, KoDeviceSerialUart0).IsOK());
}

TEST_F(SerialPortIPEngineTest, OpenThatCannotWriteTheInterruptBitsLeavesThePortHalfOpen)
{
    mDevice.mRegisters[INTENABLE] = {0x1A00};
    mDevice.FailCall("WriteRegister 0xB838");
    ExpectFailure(mUart.Open(&mDevice, KoDeviceSerialUart1), KoResult::GENERIC_ERROR, "EnableInterrupts",
                  "Failed while attempting to write value 1a0c to interrupt enable register.");
    EXPECT_TRUE(mUart.IsOpened());
    EXPECT_TRUE(mUart.Close().IsOK());
    EXPECT_TRUE(mUart.Open(&mDevice, KoDeviceSerialUart1).IsOK());
}

TEST_F(SerialPortIPEngineTest, OpenEnablesTheInterruptsOfItsPortAndLeavesTheOthersAsTheyAre)
{
    for (const auto& [port, bits] : {std::pair{KoDeviceSerialUart0, 0x3U}, std::pair{KoDeviceSerialUart1, 0xCU}})
    {
        for (const std::uint32_t before : {0x0U, 0x3U, 0xCU, 0xFFFFFFF0U, 0x00001F05U})
        {
            mDevice.mRegisters[INTENABLE] = {before};
            ASSERT_TRUE(mUart.Open(&mDevice, port).IsOK());
            EXPECT_EQ(mDevice.TakeCalls().back(), "WriteRegister 0xB838 " + HexText(before | bits));
            mUart.Close();
        }
    }
}

TEST_F(SerialPortIPEngineTest, CloseRestoresReleasesAndUnsubscribesInThisOrder)
{
    mDevice.mRegisters[INTENABLE] = {0x0, 0x1F0F};
    Open(KoDeviceSerialUart0);
    EXPECT_TRUE(mUart.Close().IsOK());
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "ReadRegister 0xB838", "WriteRegister 0xB838 0x1F0C",
                                          "GetDeviceId", "UnregisterEventSink"}));
    EXPECT_FALSE(mUart.IsOpened());
    EXPECT_EQ(mUart.mPort, KoDeviceSerialInvalid);
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_TRUE(mUart.Open(&mDevice, KoDeviceSerialUart0).IsOK());
}

TEST_F(SerialPortIPEngineTest, CloseOfUart0RestoresTheBitsThatOpenFound)
{
    for (std::uint32_t saved = 0; saved < 4; ++saved)
    {
        for (const std::uint32_t atClose : {0x0U, 0xFU, 0x1F00U, 0xFFFFFFFFU})
        {
            mDevice.mRegisters[INTENABLE] = {0xC | saved, atClose};
            Open(KoDeviceSerialUart0);
            mUart.Close();
            EXPECT_EQ(mDevice.TakeCalls()[2], "WriteRegister 0xB838 " + HexText((atClose & ~0x3U) | saved));
        }
    }
}

TEST_F(SerialPortIPEngineTest, CloseOfUart1RestoresItsBitsFromThoseThatUart0HadAtOpen)
{
    for (std::uint32_t found = 0; found < 16; ++found)
    {
        for (const std::uint32_t atClose : {0x0U, 0xFU, 0x1F00U, 0xFFFFFFFFU})
        {
            mDevice.mRegisters[INTENABLE] = {found, atClose};
            Open(KoDeviceSerialUart1);
            mUart.Close();
            const std::uint32_t expected = (atClose & ~0xCU) | (found & 0x3) << 2;
            EXPECT_EQ(mDevice.TakeCalls()[2], "WriteRegister 0xB838 " + HexText(expected));
        }
    }
}

TEST_F(SerialPortIPEngineTest, CloseFailsWithoutADevice)
{
    ExpectFailure(mUart.Close(), KoResult::NOT_CONNECTED, "Close", "Device pointer is NULL.");
}

TEST_F(SerialPortIPEngineTest, CloseUndoesNothingOnADisconnectedDevice)
{
    Open(KoDeviceSerialUart0);
    mDevice.mConnected = false;
    ExpectFailure(mUart.Close(), KoResult::NOT_CONNECTED, "Close", "The device is not currently connected.");
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    EXPECT_TRUE(mUart.IsOpened());
    EXPECT_EQ(mDevice.mSinks.size(), 1U);

    mDevice.mConnected = true;
    TestUart second;
    EXPECT_EQ(second.Open(&mDevice, KoDeviceSerialUart0).GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_TRUE(mUart.Close().IsOK());
}

TEST_F(SerialPortIPEngineTest, CloseIgnoresInterruptBitsAndSubscriptionsThatCannotBeUndone)
{
    for (const char* const failing : {"ReadRegister 0xB838", "WriteRegister 0xB838", "UnregisterEventSink"})
    {
        Open(KoDeviceSerialUart0);
        mDevice.FailCall(failing);
        EXPECT_TRUE(mUart.Close().IsOK()) << failing;
        EXPECT_FALSE(mUart.IsOpened());
        EXPECT_EQ(mDevice.TakeCalls().back(), "UnregisterEventSink");
    }
}

TEST_F(SerialPortIPEngineTest, CloseKeepsTheStatistics)
{
    Open(KoDeviceSerialUart0);
    mUart.mBytesSent = 5;
    mUart.mBytesReceived = 6;
    mUart.Close();
    EXPECT_EQ(mUart.mBytesSent, 5U);
    EXPECT_EQ(mUart.mBytesReceived, 6U);
}

TEST_F(SerialPortIPEngineTest, DestructionOfAnOpenEngineUndoesNothing)
{
    auto engine = std::make_unique<TestUart>();
    ASSERT_TRUE(engine->Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.TakeCalls();
    engine.reset();
    EXPECT_TRUE(mDevice.TakeCalls().empty());
    EXPECT_EQ(mUart.Open(&mDevice, KoDeviceSerialUart0).GetCode(), KoResult::GENERIC_ERROR);
}

TEST_F(SerialPortIPEngineTest, InterruptsOfAnyOtherPortAreNotSupported)
{
    mUart.Init(&mDevice, KoDeviceSerialBulk0, "camera");
    mDevice.mRegisters[INTENABLE] = {0x3};
    ExpectBareFailure(mUart.EnableInterrupts(true), KoResult::NOT_SUPPORTED);
    ExpectBareFailure(mUart.EnableInterrupts(false), KoResult::NOT_SUPPORTED);
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"ReadRegister 0xB838", "ReadRegister 0xB838"}));
    EXPECT_TRUE(mHost.mLog.empty());

    // The bits were kept all the same.
    mUart.Init(&mDevice, KoDeviceSerialUart1, "camera");
    mDevice.mRegisters[INTENABLE] = {0x0};
    EXPECT_TRUE(mUart.EnableInterrupts(true).IsOK());
    EXPECT_EQ(mDevice.TakeCalls().back(), "WriteRegister 0xB838 0xC");
    mUart.mDevice = nullptr;
}

TEST_F(SerialPortIPEngineTest, RestoringBeforeAnythingWasSavedDisablesTheInterrupts)
{
    mUart.Init(&mDevice, KoDeviceSerialUart0, "camera");
    mDevice.mRegisters[INTENABLE] = {0x1FFF};
    EXPECT_TRUE(mUart.EnableInterrupts(true).IsOK());
    EXPECT_EQ(mDevice.TakeCalls().back(), "WriteRegister 0xB838 0x1FFC");
    mUart.mDevice = nullptr;
}

TEST_F(SerialPortIPEngineTest, EveryPortButUart1HasTheDataRegisterOfUart0)
{
    for (int port = -1; port < 10; ++port)
    {
        mUart.mPort = static_cast<KoDeviceSerial>(port);
        EXPECT_EQ(mUart.GetPortAddress(), port == 1 ? UART1_DATA : UART0_DATA) << port;
    }
}

} // namespace
