// What a library that checks the contract of its operations ends the process for.

#include "BusFixture.h"

#include <KoDeviceI2CBus.h>
#include <KoDeviceSPIBus.h>
#include <KoDeviceSerialPort.h>

#include <chrono>
#include <thread>

namespace
{

class ContractCheckDeathTest : public ::testing::Test
{
protected:
    ContractCheckDeathTest() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

void CloseWhileAnotherThreadReads()
{
    KoSim::SimulatedDevice device;
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    std::thread reader(
        [&port]
        {
            constexpr std::uint32_t LONG_TIME_MS = 20000;
            std::uint8_t byte = 0;
            std::uint32_t count = 0;
            EXPECT_FALSE(port.Read(&byte, 1, count, LONG_TIME_MS).IsOK());
        });
    // The reader is inside Read() before long.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    port.Close();
    reader.join();
}

TEST_F(ContractCheckDeathTest, EndsAProcessThatClosesAPortWhileAnotherThreadReads)
{
    EXPECT_DEATH(CloseWhileAnotherThreadReads(), "a port is closed while another thread still reads from it");
}

/// Opens an object on aFirst and, while it is open, on aSecond.
template <typename Object>
void OpenTwice(KoDeviceSerial aFirst, KoDeviceSerial aSecond)
{
    KoSim::SimulatedDevice device;
    Object object;
    ASSERT_TRUE(object.Open(&device, aFirst).IsOK());
    EXPECT_FALSE(object.Open(&device, aSecond).IsOK());
}

constexpr auto OPENED_TWICE = "an object that is open is opened again: close or abandon it first";

TEST_F(ContractCheckDeathTest, EndsAProcessThatOpensAnOpenPortAgain)
{
    EXPECT_DEATH(OpenTwice<KoDeviceSerialPort>(KoDeviceSerialUart0, KoDeviceSerialUart1), OPENED_TWICE);
    EXPECT_DEATH(OpenTwice<KoDeviceSerialPort>(KoDeviceSerialBulk0, KoDeviceSerialUart1), OPENED_TWICE);
    EXPECT_DEATH(OpenTwice<KoDeviceSerialPort>(KoDeviceSerialBulk3, KoDeviceSerialBulk0), OPENED_TWICE);
}

TEST_F(ContractCheckDeathTest, EndsAProcessThatOpensAnOpenBusAgain)
{
    EXPECT_DEATH(OpenTwice<KoDeviceI2CBus>(KoDeviceSerialBulk0, KoDeviceSerialBulk0), OPENED_TWICE);
    EXPECT_DEATH(OpenTwice<KoDeviceI2CBus>(KoDeviceSerialBulk1, KoDeviceSerialBulk2), OPENED_TWICE);
    EXPECT_DEATH(OpenTwice<KoDeviceSPIBus>(KoDeviceSerialBulk0, KoDeviceSerialBulk3), OPENED_TWICE);
}

TEST_F(ContractCheckDeathTest, LetsAnObjectBeOpenedAgainThatIsClosedAbandonedOrOnlyRefused)
{
    KoSim::SimulatedDevice device;
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_FALSE(port.Open(&device, KoDeviceSerialInvalid).IsOK());
    EXPECT_TRUE(port.Close().IsOK());
    EXPECT_TRUE(port.Open(&device, KoDeviceSerialBulk3).IsOK());
    port.Abandon();
    EXPECT_TRUE(port.Open(&device, KoDeviceSerialBulk3).IsOK());
    EXPECT_TRUE(port.Close().IsOK());
}

} // namespace
