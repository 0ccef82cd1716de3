#include "RecordingSink.h"
#include "TestPort.h"

using KoSerialLib::SerialPort;

namespace
{

class SerialPortEchoTest : public BareHostTest
{
protected:
    SerialPortEchoTest() { mPort.Init(&mDevice, KoDeviceSerialUart0, "camera"); }

    TestPort mPort;
    const std::uint8_t mData[2] = {0xAB, 0x01};
};

TEST_F(SerialPortEchoTest, RegisteringASinkTwiceFails)
{
    RecordingSink sink;
    ExpectFailure(SerialPort::RegisterEchoSink(&sink), KoResult::NOT_SUPPORTED, "RegisterEchoSink",
                  "Sink already registered: registering the same sink twice is not supported");
    mPort.EchoTransmit(mData, 2);
    EXPECT_EQ(sink.mCalls.size(), 1U);
}

TEST_F(SerialPortEchoTest, UnregisteringASinkTwiceFails)
{
    KoDeviceSerialPortEchoSink sink;
    EXPECT_TRUE(SerialPort::RegisterEchoSink(&sink).IsOK());
    EXPECT_TRUE(SerialPort::UnregisterEchoSink(&sink).IsOK());
    ExpectFailure(SerialPort::UnregisterEchoSink(&sink), KoResult::NOT_FOUND, "UnregisterEchoSink",
                  "Sink not found in registered echo sinks");
}

TEST_F(SerialPortEchoTest, ASinkCanBeRegisteredAgainAfterItWasUnregistered)
{
    {
        const RecordingSink first;
        EXPECT_TRUE(mHost.mLog.empty());
    }
    const RecordingSink second;
    mPort.EchoReceive(mData, 1);
    EXPECT_EQ(second.mCalls.size(), 1U);
}

TEST_F(SerialPortEchoTest, TheListIsChangedUnderItsOwnLock)
{
    const auto* const listMutex = GetSinkListMutex();
    mHost.mTaken.clear();
    {
        const RecordingSink sink;
    }
    EXPECT_EQ(mHost.mTaken, (HostRecorder::Locks{listMutex, listMutex}));
    EXPECT_NE(listMutex, &mPort.mMutex);
}

TEST_F(SerialPortEchoTest, SinksSeeNamePortBytesAndTime)
{
    const RecordingSink sink;
    mPort.EchoTransmit(mData, 2);
    mPort.EchoReceive(mData, 1);
    EXPECT_TRUE(mPort.NotifyReadComplete().IsOK());
    EXPECT_EQ(sink.mCalls, (Texts{"OnTransmitted camera 0 [AB 01] 1000", "OnRead camera 0 [AB] 1000",
                                  "OnReadComplete camera 0 1000"}));
}

TEST_F(SerialPortEchoTest, EchoesOfZeroLengthAreShown)
{
    const RecordingSink sink;
    mPort.EchoTransmit(nullptr, 0);
    mPort.EchoReceive(nullptr, 0);
    EXPECT_EQ(sink.mCalls, (Texts{"OnTransmitted camera 0 [] 1000", "OnRead camera 0 [] 1000"}));
}

TEST_F(SerialPortEchoTest, SinksAreCalledInTheOrderOfRegistrationWithOneTimestamp)
{
    Texts order;
    RecordingSink first;
    RecordingSink second;
    RecordingSink third;
    first.mOnCall = [&] { order.push_back("first"); };
    second.mOnCall = [&] { order.push_back("second"); };
    third.mOnCall = [&] { order.push_back("third"); };
    EXPECT_TRUE(SerialPort::UnregisterEchoSink(&first).IsOK());
    EXPECT_TRUE(SerialPort::RegisterEchoSink(&first).IsOK());
    const Texts expected = {"second", "third", "first"};
    mHost.mTickStep = 10;

    mPort.EchoTransmit(mData, 1);
    EXPECT_EQ(order, expected);
    order.clear();
    mPort.EchoReceive(mData, 1);
    EXPECT_EQ(order, expected);
    order.clear();
    mPort.NotifyReadComplete();
    EXPECT_EQ(order, expected);

    EXPECT_EQ(mHost.mClockReads, 3U);
    EXPECT_EQ(first.mCalls,
              (Texts{"OnTransmitted camera 0 [AB] 1000", "OnRead camera 0 [AB] 1010", "OnReadComplete camera 0 1020"}));
    EXPECT_EQ(second.mCalls, first.mCalls);
    EXPECT_EQ(third.mCalls, first.mCalls);
}

TEST_F(SerialPortEchoTest, SinksAreCalledWithTheSinkListLockedAndThePortUnlocked)
{
    const HostRecorder::Locks onlyTheSinkList{GetSinkListMutex()};
    const RecordingSink sink;
    mPort.EchoTransmit(mData, 1);
    mPort.EchoReceive(mData, 1);
    mPort.NotifyReadComplete();
    EXPECT_EQ(sink.mHeld, (std::vector<HostRecorder::Locks>(3, onlyTheSinkList)));
}

TEST_F(SerialPortEchoTest, TheTimeIsTakenWithTheSinkListLocked)
{
    const RecordingSink sink;
    // While the lock is not to be had, time goes by.
    mHost.mBeforeNextLock = [this] { mHost.Sleep(5); };
    mPort.EchoTransmit(mData, 1);
    EXPECT_EQ(sink.mCalls, Texts{"OnTransmitted camera 0 [AB] 1005"});
}

TEST_F(SerialPortEchoTest, ASinkSeesEveryPortOfEveryDevice)
{
    const RecordingSink sink;
    TestPort sameDevice;
    sameDevice.Init(&mDevice, KoDeviceSerialBulk7, "camera");
    TestPort otherDevice;
    ScriptedAdapter other(NewIdentity());
    otherDevice.Init(&other, KoDeviceSerialUart0, "other camera");
    mPort.EchoTransmit(mData, 1);
    sameDevice.EchoTransmit(mData, 1);
    otherDevice.EchoTransmit(mData, 1);
    EXPECT_EQ(sink.mCalls, (Texts{"OnTransmitted camera 0 [AB] 1000", "OnTransmitted camera 9 [AB] 1000",
                                  "OnTransmitted other camera 0 [AB] 1000"}));
}

TEST_F(SerialPortEchoTest, ASinkThatWasUnregisteredSeesNothingMore)
{
    const RecordingSink stays;
    RecordingSink leaves;
    EXPECT_TRUE(SerialPort::UnregisterEchoSink(&leaves).IsOK());
    mPort.EchoTransmit(mData, 1);
    EXPECT_EQ(stays.mCalls.size(), 1U);
    EXPECT_TRUE(leaves.mCalls.empty());
    EXPECT_TRUE(SerialPort::RegisterEchoSink(&leaves).IsOK());
}

TEST_F(SerialPortEchoTest, AClosedPortEchoesWithoutANameAndAPort)
{
    const RecordingSink sink;
    mPort.Close();
    EXPECT_TRUE(mPort.NotifyReadComplete().IsOK());
    EXPECT_EQ(sink.mCalls, Texts{"OnReadComplete  -1 1000"});
}

} // namespace
