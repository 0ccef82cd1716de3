// Reads the temperature from a digital thermometer on the I2C bus of a device and prints it.
//
// The device is a simulated one. With your own, pass your IKoDeviceAdapter to Open() and leave out the first block; the
// device's "BulkMode" must be "I2C".

#include <KoDeviceI2CBus.h>
#include <KoSim/I2cThermometer.h>
#include <KoSim/SimulatedDevice.h>

#include <array>
#include <cstdio>
#include <memory>

namespace
{

constexpr std::uint8_t THERMOMETER = 0x48;
constexpr std::uint8_t TEMPERATURE_REGISTER = 0;
constexpr bool FAST_MODE = true;
constexpr bool REPEATED_START = true;

int Fail(const char* aWhat, const KoResult& aResult)
{
    std::fprintf(stderr, "%s: %s %s\n", aWhat, aResult.GetCodeString(), aResult.GetDescription().GetAscii());
    return 1;
}

} // namespace

int main()
{
    KoSim::SimulatedDevice device;
    const auto thermometer = std::make_shared<KoSim::I2cThermometer>();
    thermometer->SetTemperature(-7.5);
    device.SetI2cSlave(KoSim::Port::Bulk0, THERMOMETER, thermometer);
    device.SetGenEnumValue("BulkMode", "I2C");

    KoDeviceI2CBus bus;
    const KoResult opened = bus.Open(&device, KoDeviceSerialBulk0);
    if (!opened.IsOK())
    {
        return Fail("cannot open the bus", opened);
    }

    std::array<std::uint8_t, 2> bytes{};
    std::uint32_t count = 0;
    const KoResult read = bus.IndirectBurstRead(THERMOMETER, TEMPERATURE_REGISTER, bytes.data(), bytes.size(), count,
                                                FAST_MODE, REPEATED_START);
    if (!read.IsOK())
    {
        return Fail("the thermometer does not answer", read);
    }
    // Sign and degrees in the first byte, half a degree in the top bit of the second.
    const double celsius = static_cast<std::int8_t>(bytes[0]) + bytes[1] / 256.0;
    std::printf("%.1f degrees\n", celsius);

    const KoResult closed = bus.Close();
    return closed.IsOK() ? 0 : Fail("cannot close the bus", closed);
}
