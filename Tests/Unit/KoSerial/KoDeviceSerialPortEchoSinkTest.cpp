#include "RecordingSink.h"
#include "SlotOf.h"

#include <KoDeviceSerialPort.h>

#include <type_traits>

static_assert(std::has_virtual_destructor_v<KoDeviceSerialPortEchoSink>);

namespace
{

/// Overrides one operation and leaves the others as they are.
class ReadCounter : public KoDeviceSerialPortEchoSink
{
public:
    void OnRead(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/, const std::uint8_t* /*aData*/,
                std::uint32_t /*aLength*/, std::uint64_t /*aTimestamp*/) override
    {
        ++mCount;
    }

    int mCount = 0;
};

class KoDeviceSerialPortEchoSinkTest : public BareHostTest
{
protected:
    /// Opens a UART, sends one byte, receives two, reads them and marks the end of the read.
    void Converse(KoDeviceSerial aPort)
    {
        const std::uint32_t confirm = aPort == KoDeviceSerialUart1 ? 0x4 : 0x1;
        KoDeviceSerialPort port;
        ASSERT_TRUE(port.Open(&mDevice, aPort).IsOK());
        mDevice.mOnWriteRegister = [this, confirm](std::uint32_t, std::uint32_t) {
            mDevice.SendWords(0x9000, {confirm | confirm << 1, 0x61, 0x62});
        };
        const std::uint8_t byte = 0x41;
        std::uint8_t buffer[4] = {};
        std::uint32_t count = 0;
        EXPECT_TRUE(port.Write(&byte, 1, count).IsOK());
        EXPECT_TRUE(port.Read(buffer, 4, count, 0).IsOK());
        EXPECT_TRUE(port.NotifyReadComplete().IsOK());
        mDevice.mOnWriteRegister = nullptr;
        EXPECT_TRUE(port.Close().IsOK());
    }
};

TEST_F(KoDeviceSerialPortEchoSinkTest, OperationsKeepTheirPlacesBehindTheDestructor)
{
    EXPECT_EQ(SlotOf(&KoDeviceSerialPortEchoSink::OnTransmitted), 2U);
    EXPECT_EQ(SlotOf(&KoDeviceSerialPortEchoSink::OnRead), 3U);
    EXPECT_EQ(SlotOf(&KoDeviceSerialPortEchoSink::OnReadComplete), 4U);
}

TEST_F(KoDeviceSerialPortEchoSinkTest, DoesNothingByDefault)
{
    KoDeviceSerialPortEchoSink sink;
    const std::uint8_t data[] = {1};
    sink.OnTransmitted(KoString("camera"), KoDeviceSerialUart0, data, 1, 2);
    sink.OnRead(KoString("camera"), KoDeviceSerialUart0, data, 1, 2);
    sink.OnReadComplete(KoString("camera"), KoDeviceSerialUart0, 2);
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mHost.mTaken.empty());
}

TEST_F(KoDeviceSerialPortEchoSinkTest, NeedsToOverrideOnlyWhatItIsInterestedIn)
{
    ReadCounter sink;
    EXPECT_TRUE(KoDeviceSerialPort::RegisterEchoSink(&sink).IsOK());
    Converse(KoDeviceSerialUart0);
    EXPECT_TRUE(KoDeviceSerialPort::UnregisterEchoSink(&sink).IsOK());
    EXPECT_EQ(sink.mCount, 1);
}

TEST_F(KoDeviceSerialPortEchoSinkTest, SeesAConversationUnderTheIdentityOfTheDevice)
{
    const RecordingSink sink;
    Converse(KoDeviceSerialUart1);
    const std::string name = mDevice.mIdentity;
    EXPECT_EQ(sink.mCalls, (Texts{"OnTransmitted " + name + " 1 [41] 1000", "OnRead " + name + " 1 [61 62] 1000",
                                  "OnReadComplete " + name + " 1 1000"}));
}

TEST_F(KoDeviceSerialPortEchoSinkTest, SeesTheEndOfAReadOnlyWhenTheApplicationMarksIt)
{
    const RecordingSink sink;
    Converse(KoDeviceSerialUart0);
    int marks = 0;
    for (const std::string& call : sink.mCalls)
    {
        marks += call.find("OnReadComplete") == 0 ? 1 : 0;
    }
    EXPECT_EQ(marks, 1);
}

} // namespace
