#include "BulkTest.h"
#include "FeaturePortTest.h"

#include <KoDeviceI2CBus.h>
#include <KoDeviceSPIBus.h>
#include <KoDeviceSerialPort.h>

#include <type_traits>

namespace
{

/// A class of the library on one port.
struct Kind
{
    std::string mName;
    std::function<void(ScriptedAdapter& aDevice)> mRun;
};

void PrintTo(const Kind& aKind, std::ostream* aStream)
{
    *aStream << aKind.mName;
}

/// A device that offers everything.
void Equip(ScriptedAdapter& aDevice)
{
    for (int i = 0; i < 8; ++i)
    {
        AddBulkPort(aDevice, i);
    }
    AddEventFeatures(aDevice);
    aDevice.mEnumerations["BulkMode"].mEntries = {"UART", "I2C", "SPI"};
    aDevice.mRegisters[FUNCTION_CAPS] = {0x80000032};
    aDevice.mRegisters[BULK_0_3_CONFIG] = {3};
}

/// Opens an object, unplugs the device, abandons the object and plugs the device in again.
template <typename Object>
void UnplugAndAbandon(ScriptedAdapter& aDevice, KoDeviceSerial aPort)
{
    Object object;
    object.Abandon();
    EXPECT_EQ(aDevice.TakeCalls(), Texts{}) << "an object that was never opened has nothing to give up";

    ASSERT_TRUE(object.Open(&aDevice, aPort).IsOK());
    aDevice.mConnected = false;
    EXPECT_EQ(object.Close().GetCode(), KoResult::NOT_CONNECTED);
    EXPECT_TRUE(object.IsOpened());
    aDevice.TakeCalls();
    object.Abandon();
    EXPECT_EQ(aDevice.TakeCalls(), Texts{"UnregisterEventSink"}) << "nothing else is asked";
    EXPECT_FALSE(object.IsOpened());
    EXPECT_TRUE(aDevice.mSinks.empty());

    aDevice.mConnected = true;
    Object next;
    EXPECT_TRUE(next.Open(&aDevice, aPort).IsOK()) << "the port is still held";
    EXPECT_TRUE(next.Close().IsOK());
    aDevice.TakeCalls();
    object.Abandon();
    EXPECT_EQ(aDevice.TakeCalls(), Texts{}) << "once is enough";
    // An I2C bus on these ports never frees the engine of an earlier opening.
    if (!std::is_same_v<Object, KoDeviceI2CBus> || aPort == KoDeviceSerialBulk0)
    {
        EXPECT_TRUE(object.Open(&aDevice, aPort).IsOK()) << "an abandoned object can be opened again";
        EXPECT_TRUE(object.Close().IsOK());
    }
}

template <typename Object>
Kind MakeKind(const char* aName, KoDeviceSerial aPort)
{
    return {aName, [aPort](ScriptedAdapter& aDevice) { UnplugAndAbandon<Object>(aDevice, aPort); }};
}

class AbandonTest : public BareHostTest, public ::testing::WithParamInterface<Kind>
{
};

TEST_P(AbandonTest, GivesUpThePortOfADeviceThatIsGoneWithoutAskingIt)
{
    Equip(mDevice);
    GetParam().mRun(mDevice);
}

INSTANTIATE_TEST_SUITE_P(Abandon, AbandonTest,
                         ::testing::Values(MakeKind<KoDeviceSerialPort>("SerialPortOnUart0", KoDeviceSerialUart0),
                                           MakeKind<KoDeviceSerialPort>("SerialPortOnBulk0", KoDeviceSerialBulk0),
                                           MakeKind<KoDeviceSerialPort>("SerialPortOnBulk2", KoDeviceSerialBulk2),
                                           MakeKind<KoDeviceI2CBus>("I2CBusOnBulk0", KoDeviceSerialBulk0),
                                           MakeKind<KoDeviceI2CBus>("I2CBusOnBulk2", KoDeviceSerialBulk2),
                                           MakeKind<KoDeviceSPIBus>("SPIBusOnBulk0", KoDeviceSerialBulk0),
                                           MakeKind<KoDeviceSPIBus>("SPIBusOnBulk2", KoDeviceSerialBulk2)),
                         [](const ::testing::TestParamInfo<Kind>& aInfo) { return aInfo.param.mName; });

/// The identity text may be unknown by then: the hold is given back under the text that it was taken with.
TEST_F(BareHostTest, AbandonGivesBackTheHoldThatWasTakenWhateverTheDeviceIsCalledNow)
{
    Equip(mDevice);
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&mDevice, KoDeviceSerialUart1).IsOK());
    const std::string identity = std::exchange(mDevice.mIdentity, "");
    port.Abandon();
    mDevice.mIdentity = identity;
    EXPECT_TRUE(port.Open(&mDevice, KoDeviceSerialUart1).IsOK());
    EXPECT_TRUE(port.Close().IsOK());
}

TEST_F(BareHostTest, AbandonKeepsTheRingAndTheStatisticsAndForgetsUnreadBytes)
{
    Equip(mDevice);
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    port.SetRxBufferSize(100);
    mDevice.SendWords(SERIAL_INTERRUPT, {2, 0x41, 0x42});
    std::uint8_t byte = 0;
    std::uint32_t count = 0;
    ASSERT_TRUE(port.Read(&byte, 1, count, 0).IsOK());
    port.Abandon();
    EXPECT_EQ(port.GetBytesReceived(), 1U);
    port.GetRxBufferSize(count);
    EXPECT_EQ(count, 100U);
    port.GetRxBytesReady(count);
    EXPECT_EQ(count, 0U);
}

/// A port whose opening has failed half-way, on a device that is gone before Close() could clean up.
TEST_F(BareHostTest, AbandonEndsAnOpeningThatHasFailedHalfWay)
{
    Equip(mDevice);
    KoDeviceSerialPort port;
    mDevice.FailCall("ReadRegister 0xB838");
    ASSERT_FALSE(port.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.mConnected = false;
    EXPECT_TRUE(port.IsOpened());
    EXPECT_FALSE(port.Close().IsOK());
    port.Abandon();
    EXPECT_TRUE(mDevice.mSinks.empty());
    mDevice.mConnected = true;
    EXPECT_TRUE(port.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(port.Close().IsOK());
}

} // namespace
