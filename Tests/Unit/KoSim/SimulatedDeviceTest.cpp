#include <KoSim/SimulatedDevice.h>

#include "Registers.h"
#include "RunInChild.h"
#include "TestEventSink.h"
#include "TestLineEnd.h"

#include <KoSim/I2cThermometer.h>
#include <KoSim/MemoryImage.h>
#include <KoSim/SpiFlash.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

using namespace KoSim;

namespace
{

/// The fields of the capabilities that are about UARTs.
constexpr std::uint32_t CAPS_UARTS = 0x80000007;

std::string GetId(SimulatedDevice& aDevice)
{
    KoString id;
    EXPECT_TRUE(aDevice.GetDeviceId(id).IsOK());
    return id.GetAscii();
}

std::uint32_t Read(SimulatedDevice& aDevice, std::uint32_t aAddress)
{
    std::uint32_t value = 0xDEADBEEF;
    EXPECT_TRUE(aDevice.ReadRegister(aAddress, &value).IsOK());
    return value;
}

void ExpectNoSuchFeature(const KoResult& aResult)
{
    EXPECT_EQ(aResult.GetCode(), KoResult::NOT_FOUND);
    EXPECT_STREQ(aResult.GetDescription().GetAscii(), "The simulated device has no such feature: Width");
}

} // namespace

TEST(SimulatedDeviceTest, IsConnectedAfterConstruction)
{
    SimulatedDevice device;

    EXPECT_TRUE(device.IsConnected());
    EXPECT_TRUE(device.IsTavricVideoInterface());
    EXPECT_TRUE(device.IsGigEVision());
    EXPECT_EQ(device.GetEventSinkCount(), 0U);
    EXPECT_EQ(device.GetUnknownAccessCount(), 0U);
}

TEST(SimulatedDeviceTest, HasAnIdentityThatNoOtherOneHasHad)
{
    std::set<std::string> ids;
    SimulatedDevice first;
    ids.insert(GetId(first));
    for (int i = 0; i < 3; ++i)
    {
        SimulatedDevice other;
        EXPECT_TRUE(ids.insert(GetId(other)).second) << GetId(other);
        EXPECT_EQ(GetId(other).rfind("sim-", 0), 0U) << GetId(other);
        EXPECT_EQ(other.GetProfile().mId, GetId(other));
    }
}

TEST(SimulatedDeviceTest, IsWhatItsProfileSays)
{
    DeviceProfile profile;
    profile.mId = "left lens";
    profile.mTavricVideoInterface = false;
    profile.mGigEVision = false;
    profile.mUartCount = 1;
    SimulatedDevice device(profile);

    EXPECT_EQ(GetId(device), "left lens");
    EXPECT_FALSE(device.IsTavricVideoInterface());
    EXPECT_FALSE(device.IsGigEVision());
    EXPECT_EQ(Read(device, REG_FUNCTION_CAPS) & CAPS_UARTS, 0x80000001);
    EXPECT_EQ(device.GetProfile().mId, "left lens");
    EXPECT_EQ(device.GetProfile().mUartCount, 1U);
}

TEST(SimulatedDeviceTest, RefusesAProfileThatNoDeviceCanHave)
{
    DeviceProfile tooManyUarts;
    tooManyUarts.mUartCount = 3;
    DeviceProfile noBaudRate;
    noBaudRate.mLines[0].mBaudRate = 0;

    EXPECT_THROW(SimulatedDevice{tooManyUarts}, std::invalid_argument);
    EXPECT_THROW(SimulatedDevice{noBaudRate}, std::invalid_argument);
}

TEST(SimulatedDeviceTest, GivesAccessToItsRegisters)
{
    SimulatedDevice device;

    EXPECT_EQ(Read(device, REG_FUNCTION_CAPS) & CAPS_UARTS, 0x80000002);
    EXPECT_TRUE(device.WriteRegister(REG_INTERRUPT_ENABLE, 0xF).IsOK());
    EXPECT_EQ(Read(device, REG_INTERRUPT_ENABLE), 0xFU);
    EXPECT_EQ(device.GetUnknownAccessCount(), 0U);
}

TEST(SimulatedDeviceTest, CountsAccessesToAddressesThatItDoesNotHave)
{
    SimulatedDevice device;

    EXPECT_EQ(Read(device, 0x1234), 0U);
    EXPECT_TRUE(device.WriteRegister(0x1234, 1).IsOK());
    EXPECT_EQ(device.GetUnknownAccessCount(), 2U);
}

TEST(SimulatedDeviceTest, FailsEveryAccessWhileItIsUnplugged)
{
    SimulatedDevice device;
    device.Disconnect();
    std::uint32_t value = 42;
    const KoResult read = device.ReadRegister(REG_FUNCTION_CAPS, &value);
    const KoResult written = device.WriteRegister(REG_INTERRUPT_ENABLE, 0xF);

    EXPECT_FALSE(device.IsConnected());
    EXPECT_EQ(read.GetCode(), KoResult::NOT_CONNECTED);
    EXPECT_STREQ(read.GetDescription().GetAscii(), "The simulated device is not connected.");
    EXPECT_EQ(value, 42U);
    EXPECT_EQ(written.GetCode(), KoResult::NOT_CONNECTED);
    device.Connect();
    EXPECT_TRUE(device.IsConnected());
    EXPECT_EQ(Read(device, REG_INTERRUPT_ENABLE), 0U);
}

TEST(SimulatedDeviceTest, KeepsItsRegistersWhileItIsUnplugged)
{
    SimulatedDevice device;
    device.WriteRegister(REG_INTERRUPT_ENABLE, 0xF);
    device.Disconnect();
    device.Connect();

    EXPECT_EQ(Read(device, REG_INTERRUPT_ENABLE), 0xFU);
}

TEST(SimulatedDeviceTest, TakesAWrongNumberOfPlugsCalmly)
{
    SimulatedDevice device;
    device.Connect();
    EXPECT_TRUE(device.IsConnected());
    device.Disconnect();
    device.Disconnect();
    device.Connect();

    EXPECT_TRUE(device.IsConnected());
}

TEST(SimulatedDeviceTest, AnswersFalseForFeaturesThatItDoesNotHave)
{
    SimulatedDevice device;

    EXPECT_FALSE(device.IsGenIntegerPresent("Width"));
    EXPECT_FALSE(device.IsGenEnumPresent("Width"));
    EXPECT_FALSE(device.IsGenRegisterPresent("Width"));
    EXPECT_FALSE(device.IsGenRegisterPresent(""));
    EXPECT_FALSE(device.IsGenEnumReadable("Width"));
    EXPECT_FALSE(device.IsGenEnumWritable("Width"));
    EXPECT_FALSE(device.IsGenEnumEntryAvailable("Width", "Full"));
}

TEST(SimulatedDeviceTest, DoesNotFindFeaturesThatItDoesNotHave)
{
    SimulatedDevice device;
    std::int64_t number = 42;
    KoString text("untouched");
    KoStringList entries;
    std::uint8_t byte = 42;

    ExpectNoSuchFeature(device.GetGenIntegerValue("Width", number));
    ExpectNoSuchFeature(device.GetGenEnumEntries("Width", entries));
    ExpectNoSuchFeature(device.GetGenEnumValue("Width", text));
    ExpectNoSuchFeature(device.SetGenEnumValue("Width", "Full"));
    ExpectNoSuchFeature(device.GetGenRegisterLength("Width", number));
    ExpectNoSuchFeature(device.GetGenRegisterData("Width", &byte, 1));
    ExpectNoSuchFeature(device.SetGenRegisterData("Width", &byte, 1));
    ExpectNoSuchFeature(device.RegisterGenInvalidator("Width"));
    ExpectNoSuchFeature(device.UnregisterGenInvalidator("Width"));
    EXPECT_EQ(number, 42);
    EXPECT_STREQ(text.GetAscii(), "untouched");
    EXPECT_EQ(entries.GetFirst(), nullptr);
    EXPECT_EQ(byte, 42);
}

TEST(SimulatedDeviceTest, IsIdleAfterEveryCall)
{
    SimulatedDevice device;

    EXPECT_TRUE(device.WaitForIdle(0).IsOK());
    EXPECT_TRUE(device.WaitForIdle(1000).IsOK());
}

TEST(SimulatedDeviceTest, LetsAByteTakeTheTimeOfTheLine)
{
    DeviceProfile profile;
    profile.mTiming = LineTiming::Real;
    profile.mLines[0] = {1000, LineParity::None, 8, 1};
    SimulatedDevice device(profile);
    TestEventSink sink;
    device.RegisterEventSink(&sink);
    device.WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_UART_TX);
    const auto start = std::chrono::steady_clock::now();
    device.WriteRegister(REG_UART0_DATA, 'A');

    ASSERT_TRUE(sink.WaitForEvents(1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));
    device.UnregisterEventSink(&sink);
}

TEST(SimulatedDeviceTest, StandsStillWhileItIsFrozen)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    TestEventSink sink;
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.RegisterEventSink(&sink);
    device.WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_UART_TX | INTERRUPT_UART_RX);
    device.Freeze(true);
    device.WriteRegister(REG_UART0_DATA, 'A');
    lineEnd->Send("B");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));

    EXPECT_TRUE(device.IsConnected());
    EXPECT_EQ(Read(device, REG_UART0_DATA), UART_DATA_TX_BUSY);
    EXPECT_TRUE(sink.GetEvents().empty());
    EXPECT_EQ(lineEnd->GetReceived(), "");

    device.Freeze(false);
    EXPECT_TRUE(sink.WaitForEvents(2));
    EXPECT_EQ(sink.GetBytes(), "B");
    EXPECT_EQ(lineEnd->GetReceived(), "A");
    device.UnregisterEventSink(&sink);
}

TEST(SimulatedDeviceTest, CanBeDestroyedWhileItIsFrozen)
{
    SimulatedDevice device;
    device.Freeze(true);
    device.WriteRegister(REG_UART0_DATA, 'A');
}

TEST(SimulatedDeviceTest, IsLeftToTheParentByAChild)
{
    std::promise<void> entered;
    std::promise<void> release;
    const auto lineEnd = std::make_shared<TestLineEnd>(
        [&](const std::string&)
        {
            entered.set_value();
            release.get_future().wait();
        });
    std::optional<SimulatedDevice> device(std::in_place);
    device->SetLineEnd(Port::Uart0, lineEnd);
    device->WriteRegister(REG_UART0_DATA, 'A');
    entered.get_future().wait();
    EXPECT_TRUE(RunInChild([&] { device.reset(); }));

    release.set_value();
    EXPECT_TRUE(lineEnd->WaitForReceived("A"));
}

TEST(SimulatedDeviceTest, RefusesAChipThatSitsInAnotherDevice)
{
    const auto i2cChip = std::make_shared<I2cThermometer>();
    const auto spiChip = std::make_shared<SpiFlash>(MemoryImage(SpiFlash::SIZE), SpiFlash::Timing());
    std::optional<SimulatedDevice> first(std::in_place);
    SimulatedDevice second;
    first->SetI2cSlave(Port::Bulk0, 0x48, i2cChip);
    first->SetI2cSlave(Port::Bulk1, 0x49, i2cChip);
    first->SetSpiSlave(Port::Bulk0, spiChip);
    EXPECT_THROW(second.SetI2cSlave(Port::Bulk0, 0x48, i2cChip), std::invalid_argument);
    EXPECT_THROW(second.SetSpiSlave(Port::Bulk0, spiChip), std::invalid_argument);

    first->SetI2cSlave(Port::Bulk0, 0x48, nullptr);
    EXPECT_THROW(second.SetI2cSlave(Port::Bulk0, 0x48, i2cChip), std::invalid_argument);
    first->SetI2cSlave(Port::Bulk1, 0x49, nullptr);
    EXPECT_NO_THROW(second.SetI2cSlave(Port::Bulk0, 0x48, i2cChip));
    first.reset();
    EXPECT_NO_THROW(second.SetSpiSlave(Port::Bulk0, spiChip));
}

TEST(SimulatedDeviceTest, DoesNotKeepAChipThatItHasRefused)
{
    const auto chip = std::make_shared<I2cThermometer>();
    SimulatedDevice first;
    SimulatedDevice second;
    EXPECT_THROW(first.SetI2cSlave(Port::Uart0, 0x48, chip), std::invalid_argument);

    EXPECT_NO_THROW(second.SetI2cSlave(Port::Bulk0, 0x48, chip));
}
