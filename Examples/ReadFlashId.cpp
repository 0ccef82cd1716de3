// Asks a flash on the SPI bus of a device who it is and prints its JEDEC identification.
//
// The device is a simulated one. With your own, pass your IKoDeviceAdapter to Open() and leave out the first block; the
// device's "BulkMode" must be "SPI".

#include <KoDeviceSPIBus.h>
#include <KoSim/MemoryImage.h>
#include <KoSim/SimulatedDevice.h>
#include <KoSim/SpiFlash.h>

#include <array>
#include <cstdio>
#include <memory>

namespace
{

constexpr std::uint8_t READ_ID = 0x9F;
constexpr std::uint32_t TIMEOUT_MS = 100;

int Fail(const char* aWhat, const KoResult& aResult)
{
    std::fprintf(stderr, "%s: %s %s\n", aWhat, aResult.GetCodeString(), aResult.GetDescription().GetAscii());
    return 1;
}

/// Sends the command, has three bytes clocked in after it and collects them; they may arrive in several pieces.
KoResult ReadId(KoDeviceSPIBus& aBus, std::array<std::uint8_t, 3>& aId)
{
    std::uint8_t command = READ_ID;
    KoResult result = aBus.BurstWriteAndRead(&command, 1, static_cast<std::uint32_t>(aId.size()), false, false);
    std::uint32_t done = 0;
    while (result.IsOK() && done < aId.size())
    {
        std::uint32_t count = 0;
        result = aBus.BurstRead(aId.data() + done, static_cast<std::uint32_t>(aId.size()) - done, count, TIMEOUT_MS);
        done += count;
    }
    return result;
}

} // namespace

int main()
{
    KoSim::SimulatedDevice device;
    device.SetSpiSlave(KoSim::Port::Bulk0, std::make_shared<KoSim::SpiFlash>(KoSim::MemoryImage(KoSim::SpiFlash::SIZE),
                                                                             KoSim::SpiFlash::Timing()));
    device.SetGenEnumValue("BulkMode", "SPI");

    KoDeviceSPIBus bus;
    const KoResult opened = bus.Open(&device, KoDeviceSerialBulk0);
    if (!opened.IsOK())
    {
        return Fail("cannot open the bus", opened);
    }

    std::array<std::uint8_t, 3> id{};
    const KoResult read = ReadId(bus, id);
    if (!read.IsOK())
    {
        return Fail("the flash does not answer", read);
    }
    std::printf("manufacturer %02X, type %02X, capacity 2^%u bytes\n", id[0], id[1], id[2]);

    const KoResult closed = bus.Close();
    return closed.IsOK() ? 0 : Fail("cannot close the bus", closed);
}
