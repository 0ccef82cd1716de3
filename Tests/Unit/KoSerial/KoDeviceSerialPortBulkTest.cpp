#include "BareHostTest.h"

#include <FunctionCaps.h>
#include <KoDeviceSerialPort.h>

#include <memory>

namespace
{

constexpr auto PORT_10 = static_cast<KoDeviceSerial>(10);

const Texts REGISTER_QUESTIONS = {"IsConnected", "IsTavricVideoInterface", "GetDeviceId", "IsGigEVision",
                                  "ReadRegister 0xB8FC"};
const Texts FEATURE_QUESTIONS = {"IsConnected", "IsTavricVideoInterface", "IsGenRegisterPresent Bulk0DownstreamData",
                                 "IsGenIntegerPresent EventBulk0UpstreamDataLength",
                                 "IsGenRegisterPresent EventBulk0UpstreamDataBuffer"};

bool Contains(const Texts& aTexts, const std::string& aText)
{
    for (const std::string& text : aTexts)
    {
        if (text == aText)
        {
            return true;
        }
    }
    return false;
}

/// Bulk port 0, which the device may offer through its registers, its features, both or not at all.
class KoDeviceSerialPortBulkTest : public BareHostTest
{
protected:
    ~KoDeviceSerialPortBulkTest() override
    {
        mDevice.mConnected = true;
        mPort.Close();
    }

    void OfferRegisters() { mDevice.mRegisters[FUNCTION_CAPS] = {0x80000032}; }

    void OfferFeatures(const std::string& aIndex = "0")
    {
        mDevice.mGenRegisters["Bulk" + aIndex + "DownstreamData"] = Bytes(64);
        mDevice.mGenRegisters["EventBulk" + aIndex + "UpstreamDataBuffer"] = Bytes(64);
        mDevice.mIntegers["EventBulk" + aIndex + "UpstreamDataLength"] = 0;
        mDevice.mEnumerations["EventSelector"].mValue = "Trigger";
        mDevice.mEnumerations["EventNotification"].mValue = "Off";
    }

    void WithdrawEverything()
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {0x80000002};
        mDevice.mGenRegisters.clear();
    }

    /// Opens the port and returns the calls that this took.
    Texts Open(KoDeviceSerial aPort = KoDeviceSerialBulk0)
    {
        mDevice.TakeCalls();
        EXPECT_TRUE(mPort.Open(&mDevice, aPort).IsOK());
        EXPECT_TRUE(mPort.IsOpened());
        mHost.mLog.clear();
        return mDevice.TakeCalls();
    }

    /// Writes one byte to a device that answers it; returns the call that brought it there.
    std::string WriteByte()
    {
        mDevice.TakeCalls();
        const std::uint8_t byte = 0x41;
        mHost.At(1, [this] { mDevice.SendWords(0x9000, {0x800}); });
        EXPECT_TRUE(mPort.Write(&byte, 1, mCount).IsOK());
        const Texts calls = mDevice.TakeCalls();
        return calls.size() < 2 ? "" : calls[1];
    }

    bool AskIsSupported(const Texts& aCalls)
    {
        mDevice.TakeCalls();
        const bool answer = KoDeviceSerialPort::IsSupported(&mDevice, KoDeviceSerialBulk0);
        EXPECT_EQ(mDevice.TakeCalls(), aCalls);
        return answer;
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

TEST_F(KoDeviceSerialPortBulkTest, OpenAsksForTheRegistersFirstAndForTheFeaturesAlways)
{
    const Texts both = REGISTER_QUESTIONS + FEATURE_QUESTIONS;
    EXPECT_EQ(mPort.Open(&mDevice, KoDeviceSerialBulk0).GetCode(), KoResult::NOT_SUPPORTED);
    EXPECT_EQ(mDevice.TakeCalls(), both);
    OfferRegisters();
    const Texts calls = Open();
    EXPECT_EQ(Texts(calls.begin(), calls.begin() + 10), both);
}

TEST_F(KoDeviceSerialPortBulkTest, OpenPrefersTheRegisterEngine)
{
    OfferRegisters();
    OfferFeatures();
    const Texts calls = Open();
    EXPECT_TRUE(Contains(calls, "WriteRegister 0xB838 0x1F00"));
    EXPECT_FALSE(Contains(calls, "RegisterGenInvalidator EventBulk0UpstreamDataBuffer"));
    EXPECT_EQ(WriteByte(), "BulkTransmit 0x80000000 41");
}

TEST_F(KoDeviceSerialPortBulkTest, OpenUsesTheFeatureEngineOnADeviceWithoutTheRegisters)
{
    OfferFeatures();
    const Texts calls = Open();
    EXPECT_TRUE(Contains(calls, "RegisterGenInvalidator EventBulk0UpstreamDataBuffer"));
    EXPECT_FALSE(Contains(calls, "ReadRegister 0xB838"));
    EXPECT_EQ(WriteByte(), "GetGenRegisterLength Bulk0DownstreamData");
}

TEST_F(KoDeviceSerialPortBulkTest, OpenUsesTheFeatureEngineWhenTheCapabilitiesCannotBeRead)
{
    OfferRegisters();
    OfferFeatures();
    KoSerialLib::ReportFunctionCapsNS(mDevice.mIdentity.c_str());
    const Texts calls = Open();
    EXPECT_FALSE(Contains(calls, "ReadRegister 0xB8FC"));
    EXPECT_TRUE(Contains(calls, "RegisterGenInvalidator EventBulk0UpstreamDataBuffer"));
}

TEST_F(KoDeviceSerialPortBulkTest, OpenKeepsTheEngineWithoutAWordWhenNeitherIsSupported)
{
    OfferRegisters();
    Open();
    mPort.SetRxBufferSize(64);
    WithdrawEverything();
    ExpectBareFailure(mPort.Open(&mDevice, KoDeviceSerialBulk0), KoResult::NOT_SUPPORTED);
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_EQ(GetRingSize(), 64U);
    EXPECT_EQ(WriteByte(), "BulkTransmit 0x80000000 41");
}

TEST_F(KoDeviceSerialPortBulkTest, OpenWithoutADeviceIsNotSupported)
{
    ExpectBareFailure(mPort.Open(nullptr, KoDeviceSerialBulk0), KoResult::NOT_SUPPORTED);
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts(2, "Device pointer is NULL."));
    EXPECT_EQ(mHost.mLog.size(), 2U);
}

TEST_F(KoDeviceSerialPortBulkTest, OpenOfAPortThatDoesNotExistKeepsTheOpenEngine)
{
    OfferRegisters();
    Open();
    EXPECT_EQ(mPort.Open(&mDevice, PORT_10).GetCode(), KoResult::NOT_SUPPORTED);
    EXPECT_EQ(mPort.Open(&mDevice, KoDeviceSerialInvalid).GetCode(), KoResult::INVALID_PARAMETER);
    EXPECT_TRUE(mDevice.TakeCalls().empty());
    EXPECT_EQ(WriteByte(), "BulkTransmit 0x80000000 41");
}

TEST_F(KoDeviceSerialPortBulkTest, OpenOfAnOpenObjectFindsItsOwnPortInUse)
{
    OfferRegisters();
    Open();
    ExpectFailure(mPort.Open(&mDevice, KoDeviceSerialBulk0), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
    const Texts calls = mDevice.TakeCalls();
    EXPECT_FALSE(Contains(calls, "UnregisterEventSink"));
    EXPECT_FALSE(Contains(calls, "ReadRegister 0xB838"));
    EXPECT_EQ(mDevice.mSinks.size(), 1U) << "the replaced engine stays subscribed";
    EXPECT_FALSE(mPort.IsOpened());
}

TEST_F(KoDeviceSerialPortBulkTest, OpenReplacesTheEngineEvenWhenItFails)
{
    OfferRegisters();
    mPort.SetRxBufferSize(64);
    mDevice.FailCall("ReadRegister 0xB898");
    mDevice.mRefusal = KoResult(77, KoString("busy"));
    const KoResult result = mPort.Open(&mDevice, KoDeviceSerialBulk0);
    EXPECT_EQ(result.GetCode(), 77U);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "busy");
    EXPECT_EQ(GetRingSize(), 16384U);
    EXPECT_TRUE(mPort.IsOpened()) << "half open";
    EXPECT_TRUE(mPort.Close().IsOK());
    Open();
}

TEST_F(KoDeviceSerialPortBulkTest, AClosedObjectOpensOnAnyPortWithAnyEngine)
{
    OfferRegisters();
    OfferFeatures();
    OfferFeatures("1");
    Open();
    EXPECT_TRUE(mPort.Close().IsOK());
    Open(KoDeviceSerialUart0);
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_TRUE(Contains(Open(KoDeviceSerialBulk1), "RegisterGenInvalidator EventBulk1UpstreamDataBuffer"));
    EXPECT_TRUE(mPort.Close().IsOK());
    Open();
    EXPECT_EQ(WriteByte(), "BulkTransmit 0x80000000 41");
}

TEST_F(KoDeviceSerialPortBulkTest, BulkPort0AndAUartOfOneDeviceAreOpenSideBySide)
{
    OfferRegisters();
    Open();
    KoDeviceSerialPort uart;
    EXPECT_TRUE(uart.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.SendWords(0x9000, {0x2, 0x41});
    mDevice.SendWords(0x9001, {0x100, 0x45444342});
    EXPECT_TRUE(uart.GetRxBytesReady(mCount).IsOK());
    EXPECT_EQ(mCount, 1U);
    EXPECT_TRUE(mPort.Read(mBuffer, 8, mCount, 0).IsOK());
    EXPECT_EQ(Bytes(mBuffer, mBuffer + mCount), (Bytes{0x42, 0x43, 0x44, 0x45}));
    EXPECT_TRUE(uart.Close().IsOK());
}

TEST_F(KoDeviceSerialPortBulkTest, ForwardsToTheRegisterEngine)
{
    OfferRegisters();
    Open();
    EXPECT_EQ(WriteByte(), "BulkTransmit 0x80000000 41");
    EXPECT_EQ(mCount, 1U);
    std::uint32_t total = 0;
    EXPECT_TRUE(mPort.GetWriteProgress(mCount, total).IsOK());
    EXPECT_EQ(mCount, 1U);
    EXPECT_EQ(total, 1U);
    EXPECT_EQ(mPort.GetBytesSent(), 1U);
    mDevice.mConnected = false;
    ExpectFailure(mPort.Write(mBuffer, 1, mCount), KoResult::NOT_CONNECTED, "Write",
                  "The device is not currently connected.");
    mDevice.mConnected = true;
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_FALSE(mPort.IsOpened());
    ExpectFailure(mPort.Write(mBuffer, 1, mCount), KoResult::NOT_CONNECTED, "Write", "Device pointer is NULL.");
}

TEST_F(KoDeviceSerialPortBulkTest, DestructionClosesAnOpenObjectWithAWarning)
{
    OfferRegisters();
    auto port = std::make_unique<KoDeviceSerialPort>();
    ASSERT_TRUE(port->Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    mDevice.TakeCalls();
    port.reset();
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_WARNING), Texts{"SerialPort not closed before deleting. Will close"});
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "ReadRegister 0xB838", "WriteRegister 0xB838 0x0",
                                          "GetDeviceId", "UnregisterEventSink"}));
    Open();
}

TEST_F(KoDeviceSerialPortBulkTest, IsSupportedAsksForTheFeaturesFirstAndForTheRegistersOnlyWithoutThem)
{
    EXPECT_FALSE(AskIsSupported(FEATURE_QUESTIONS + REGISTER_QUESTIONS));
    OfferRegisters();
    EXPECT_TRUE(AskIsSupported(FEATURE_QUESTIONS + REGISTER_QUESTIONS));
    OfferFeatures();
    EXPECT_TRUE(AskIsSupported(FEATURE_QUESTIONS));
    mDevice.mRegisters[FUNCTION_CAPS] = {0x80000002};
    EXPECT_TRUE(AskIsSupported(FEATURE_QUESTIONS));
}

} // namespace
