#include "RecordingSink.h"
#include "UartTest.h"

namespace
{

class SerialPortIPEngineWriteTest : public UartTest
{
protected:
    /// Opens a UART of a device that confirms each byte aDelayMs after it was written.
    void OpenConfirming(KoDeviceSerial aPort, std::uint32_t aDelayMs = 3)
    {
        Open(aPort);
        mDevice.mOnWriteRegister = [this, aPort, aDelayMs](std::uint32_t aAddress, std::uint32_t)
        {
            if (aAddress != INTENABLE)
            {
                mHost.At(aDelayMs, [this, aPort]
                         { mDevice.SendWords(SERIAL_INTERRUPT, {aPort == KoDeviceSerialUart1 ? 0x4U : 0x1U}); });
            }
        };
    }

    KoResult Write(const Bytes& aBytes)
    {
        mWritten = 99;
        return mUart.Write(aBytes.data(), static_cast<std::uint32_t>(aBytes.size()), mWritten);
    }

    std::uint32_t mWritten = 0;
};

TEST_F(SerialPortIPEngineWriteTest, WriteFailsWithoutADevice)
{
    ExpectFailure(Write({1}), KoResult::NOT_CONNECTED, "Write", "Device pointer is NULL.");
    EXPECT_EQ(mHost.mLog.size(), 1U);
}

TEST_F(SerialPortIPEngineWriteTest, WriteFailsOnADisconnectedDevice)
{
    Open(KoDeviceSerialUart0);
    mDevice.mConnected = false;
    ExpectFailure(Write({1}), KoResult::NOT_CONNECTED, "Write", "The device is not currently connected.");
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    EXPECT_EQ(mWritten, 99U);
    std::uint32_t ignored = 0;
    EXPECT_EQ(mUart.GetWriteProgress(ignored, ignored).GetCode(), KoResult::STATE_ERROR);
}

TEST_F(SerialPortIPEngineWriteTest, WriteIsLoggedWhateverLevelIsEnabled)
{
    Open(KoDeviceSerialUart0);
    mHost.mEnabledLevel = KuUtilsLib::LOG_CRITICAL;
    EXPECT_TRUE(Write({}).IsOK());
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_INFO), Texts{"Writing 0 bytes of data"});
}

TEST_F(SerialPortIPEngineWriteTest, WriteSendsOneByteAfterTheOtherAndWaitsForEachConfirmation)
{
    OpenConfirming(KoDeviceSerialUart0);
    EXPECT_TRUE(Write({0x41, 0x00, 0xFF}).IsOK());
    EXPECT_EQ(mWritten, 3U);
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "WriteRegister 0xB84C 0x41", "WriteRegister 0xB84C 0x0",
                                          "WriteRegister 0xB84C 0xFF"}));
    EXPECT_EQ(mHost.mWaits, (std::vector<std::uint32_t>{1020, 1020, 1020}));
    EXPECT_EQ(mHost.Now(), 1009U);
    EXPECT_TRUE(mHost.mSleeps.empty());
    mUart.ExpectProgress(3, 3);
}

TEST_F(SerialPortIPEngineWriteTest, WriteToUart1UsesItsDataRegister)
{
    OpenConfirming(KoDeviceSerialUart1);
    EXPECT_TRUE(Write({0x41}).IsOK());
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "WriteRegister 0xB850 0x41"}));
}

TEST_F(SerialPortIPEngineWriteTest, WriteLogsTheTransferAndTracesEachByte)
{
    OpenConfirming(KoDeviceSerialUart0);
    Write({0x0A, 0xFF});
    EXPECT_EQ(mHost.GetTexts(),
              (Texts{"Writing 2 bytes of data", "Writing byte 0 with value 0x0A", "Tx confirmation received",
                     "Writing byte 1 with value 0xFF", "Tx confirmation received"}));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_INFO), Texts{"Writing 2 bytes of data"});
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_DEBUG).size(), 4U);
}

TEST_F(SerialPortIPEngineWriteTest, WriteResetsTheConfirmationBeforeItTracesTheByte)
{
    OpenConfirming(KoDeviceSerialUart0);
    mHost.mEventResets.clear();
    Write({0x0A, 0xFF});
    EXPECT_EQ(GetResetsBefore("Writing byte 0 with value 0x0A"), 1U);
    EXPECT_EQ(GetResetsBefore("Writing byte 1 with value 0xFF"), 2U);
}

TEST_F(SerialPortIPEngineWriteTest, WriteTracesNoByteWhenTracingIsOff)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    OpenConfirming(KoDeviceSerialUart0);
    Write({0x0A, 0xFF});
    EXPECT_EQ(mHost.GetTexts(), Texts{"Writing 2 bytes of data"});
}

TEST_F(SerialPortIPEngineWriteTest, WriteOfNothingTouchesNoRegisterAndEchoesZeroBytes)
{
    OpenConfirming(KoDeviceSerialUart0);
    const RecordingSink sink;
    mWritten = 99;
    EXPECT_TRUE(mUart.Write(nullptr, 0, mWritten).IsOK());
    EXPECT_EQ(mWritten, 0U);
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    EXPECT_EQ(sink.mCalls, Texts{"OnTransmitted " + mDevice.mIdentity + " 0 [] 1000"});
    EXPECT_EQ(mHost.GetTexts(), Texts{"Writing 0 bytes of data"});
    std::uint32_t ignored = 0;
    EXPECT_EQ(mUart.GetWriteProgress(ignored, ignored).GetCode(), KoResult::STATE_ERROR);
}

TEST_F(SerialPortIPEngineWriteTest, WriteEchoesTheBytesBeforeItCountsThem)
{
    OpenConfirming(KoDeviceSerialUart0);
    RecordingSink sink;
    sink.mOnCall = [this] { EXPECT_EQ(mUart.mBytesSent, 0U); };
    Write({0x41, 0x42});
    EXPECT_EQ(sink.mCalls, Texts{"OnTransmitted " + mDevice.mIdentity + " 0 [41 42] 1006"});
    EXPECT_EQ(sink.mHeld, std::vector<HostRecorder::Locks>{{GetSinkListMutex()}});
    EXPECT_EQ(mUart.mBytesSent, 2U);
    sink.mOnCall = nullptr;
    Write({0x43});
    EXPECT_EQ(mUart.mBytesSent, 3U);
    EXPECT_EQ(mUart.mBytesReceived, 0U);
}

TEST_F(SerialPortIPEngineWriteTest, WriteProgressAdvancesWithEachByteThatWentOut)
{
    Open(KoDeviceSerialUart0);
    std::uint32_t sent = 0;
    mDevice.mOnWriteRegister = [&](std::uint32_t aAddress, std::uint32_t)
    {
        if (aAddress == UART0_DATA)
        {
            mUart.ExpectProgress(sent, 3);
            EXPECT_EQ(mWritten, sent);
            ++sent;
            mHost.At(1,
                     [&]
                     {
                         mUart.ExpectProgress(sent, 3);
                         EXPECT_EQ(mWritten, sent);
                         mDevice.SendWords(SERIAL_INTERRUPT, {0x1});
                     });
        }
    };
    EXPECT_TRUE(Write({1, 2, 3}).IsOK());
    EXPECT_EQ(sent, 3U);
    mDevice.mOnWriteRegister = nullptr;
}

TEST_F(SerialPortIPEngineWriteTest, WriteFailsAfter1020MillisecondsOnByte0WhenNoConfirmationComes)
{
    Open(KoDeviceSerialUart0);
    const RecordingSink sink;
    ExpectFailure(Write({1, 2}), KoResult::GENERIC_ERROR, "Write",
                  "Failed while waiting for the event from the device after writing byte 0.");
    EXPECT_EQ(mWritten, 1U);
    mUart.ExpectProgress(1, 2);
    EXPECT_EQ(mHost.mWaits, std::vector<std::uint32_t>{1020});
    EXPECT_EQ(mHost.Now(), 2020U);
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "WriteRegister 0xB84C 0x1", "ReadRegister 0xB84C"}));
    EXPECT_TRUE(sink.mCalls.empty());
    EXPECT_EQ(mUart.mBytesSent, 0U);
}

TEST_F(SerialPortIPEngineWriteTest, WriteStillSucceedsWhenTheConfirmationComesInTheLastMillisecond)
{
    OpenConfirming(KoDeviceSerialUart0, 1019);
    EXPECT_TRUE(Write({1, 2}).IsOK());
}

TEST_F(SerialPortIPEngineWriteTest, WriteFailsWhenTheConfirmationComesTooLate)
{
    OpenConfirming(KoDeviceSerialUart0, 1021);
    EXPECT_EQ(Write({1, 2}).GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_EQ(mWritten, 1U);
}

TEST_F(SerialPortIPEngineWriteTest, AConfirmationFromBeforeDoesNotConfirmTheNextByte)
{
    Open(KoDeviceSerialUart0);
    mDevice.SendWords(SERIAL_INTERRUPT, {0x1});
    EXPECT_EQ(Write({1}).GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_EQ(mHost.Now(), 2020U);
}

TEST_F(SerialPortIPEngineWriteTest, AConfirmationDuringTheRegisterWriteIsNotLost)
{
    Open(KoDeviceSerialUart0);
    mDevice.mOnWriteRegister = [this](std::uint32_t, std::uint32_t) { mDevice.SendWords(SERIAL_INTERRUPT, {0x1}); };
    EXPECT_TRUE(Write({1, 2, 3}).IsOK());
    EXPECT_EQ(mHost.Now(), 1000U);
}

TEST_F(SerialPortIPEngineWriteTest, WriteThatTheDeviceRefusesDrainsBeforeItReportsTheByte)
{
    OpenConfirming(KoDeviceSerialUart0);
    const RecordingSink sink;
    mDevice.FailCall("WriteRegister 0xB84C", 3);
    mDevice.mRegisters[UART0_DATA] = {0x00010055};
    ExpectFailure(Write({1, 2, 3, 4}), KoResult::GENERIC_ERROR, "Write", "Failed to write byte 2.");
    EXPECT_EQ(mWritten, 2U);
    mUart.ExpectProgress(2, 4);
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "WriteRegister 0xB84C 0x1", "WriteRegister 0xB84C 0x2",
                                          "WriteRegister 0xB84C 0x3", "ReadRegister 0xB84C"}));
    EXPECT_EQ(mHost.mLog[mHost.mLog.size() - 2].mText, "RxBuffer Head: 1 Tail 0");
    EXPECT_TRUE(sink.mCalls.empty());
    EXPECT_EQ(mUart.mBytesSent, 0U);
    EXPECT_EQ(mUart.ReadAll(), Bytes{0x55});
}

TEST_F(SerialPortIPEngineWriteTest, WriteThatIsNotConfirmedDrainsBeforeItReportsTheByte)
{
    Open(KoDeviceSerialUart1);
    mDevice.mRegisters[UART1_DATA] = {0x00010055};
    ExpectFailure(Write({1}), KoResult::GENERIC_ERROR, "Write",
                  "Failed while waiting for the event from the device after writing byte 0.");
    EXPECT_EQ(mHost.mLog[mHost.mLog.size() - 2].mText, "RxBuffer Head: 1 Tail 0");
    EXPECT_EQ(mUart.ReadAll(), Bytes{0x55});
}

TEST_F(SerialPortIPEngineWriteTest, TheDrainPollReadsOnceWhenTheTransmitterIsIdle)
{
    Open(KoDeviceSerialUart0);
    mDevice.mRegisters[UART0_DATA] = {0x00000055};
    mUart.WaitForTxReadyPoll();
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"ReadRegister 0xB84C"});
    EXPECT_TRUE(mHost.mSleeps.empty());
    EXPECT_TRUE(mHost.mTaken.empty());
    EXPECT_TRUE(mUart.ReadAll().empty());
}

TEST_F(SerialPortIPEngineWriteTest, TheDrainPollPicksUpAByteUnderThePortsMutex)
{
    Open(KoDeviceSerialUart1);
    mDevice.mRegisters[UART1_DATA] = {0xFF7F1234};
    mUart.WaitForTxReadyPoll();
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"ReadRegister 0xB850"});
    EXPECT_EQ(mHost.mTaken, HostRecorder::Locks{&mUart.mMutex});
    EXPECT_EQ(mUart.ReadAll(), Bytes{0x34});
}

TEST_F(SerialPortIPEngineWriteTest, TheDrainPollEndsAsSoonAsTheClockHasMoved)
{
    Open(KoDeviceSerialUart0);
    mDevice.mRegisters[UART0_DATA] = {0x00810041, 0x00010042};
    mUart.WaitForTxReadyPoll();
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"ReadRegister 0xB84C"});
    EXPECT_EQ(mHost.mSleeps, std::vector<std::uint32_t>{100});
    EXPECT_EQ(mUart.ReadAll(), Bytes{0x41});
}

TEST_F(SerialPortIPEngineWriteTest, TheDrainPollGoesOnAsLongAsTheClockStandsStill)
{
    Open(KoDeviceSerialUart0);
    mHost.mSleepMovesClock = false;
    mDevice.mRegisters[UART0_DATA] = {0x00810041, 0x00800000, 0x00010042, 0x00010043};
    mUart.WaitForTxReadyPoll();
    EXPECT_EQ(mDevice.TakeCalls(), Texts(3, "ReadRegister 0xB84C"));
    EXPECT_EQ(mHost.mSleeps, (std::vector<std::uint32_t>{100, 100}));
    EXPECT_EQ(mUart.ReadAll(), (Bytes{0x41, 0x42}));
}

TEST_F(SerialPortIPEngineWriteTest, TheDrainPollReadsNothingWhenTheClockMovesBeforeTheFirstRead)
{
    Open(KoDeviceSerialUart0);
    mHost.mTickStep = 1;
    mDevice.mRegisters[UART0_DATA] = {0x00010041};
    mUart.WaitForTxReadyPoll();
    EXPECT_TRUE(mDevice.TakeCalls().empty());
    EXPECT_TRUE(mHost.mSleeps.empty());
    EXPECT_EQ(mHost.mClockReads, 2U);
}

TEST_F(SerialPortIPEngineWriteTest, TheDrainPollBearsAClockThatHasGoneBackBy1020Milliseconds)
{
    Open(KoDeviceSerialUart0);
    mHost.mSleepMovesClock = false;
    mDevice.mRegisters[UART0_DATA] = {0x00010041};
    for (const std::uint64_t step : {1020, 1021})
    {
        mHost.mTickStep = 0 - step;
        mUart.WaitForTxReadyPoll();
        EXPECT_EQ(mDevice.TakeCalls().size(), step == 1020 ? 1U : 0U);
    }
}

TEST_F(SerialPortIPEngineWriteTest, TheDrainPollStopsWhenAReadFails)
{
    Open(KoDeviceSerialUart0);
    mHost.mSleepMovesClock = false;
    mDevice.mRegisters[UART0_DATA] = {0x00810041};
    mDevice.FailCall("ReadRegister 0xB84C", 2);
    mUart.WaitForTxReadyPoll();
    EXPECT_EQ(mDevice.TakeCalls().size(), 2U);
    EXPECT_EQ(mHost.mSleeps.size(), 1U);
    EXPECT_EQ(mUart.ReadAll(), Bytes{0x41});
}

} // namespace
