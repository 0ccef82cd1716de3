// Copies the contents of an EEPROM of 32 KiB on the I2C bus of a device into the file that the command line names.
//
// The device is a simulated one. With your own, pass your IKoDeviceAdapter to Open() and leave out the first block; the
// device's "BulkMode" must be "I2C".

#include <KoDeviceI2CBus.h>
#include <KoSim/I2cEeprom.h>
#include <KoSim/SimulatedDevice.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

namespace
{

constexpr std::uint8_t EEPROM = 0x50;
constexpr std::uint32_t EEPROM_SIZE = 32768;

/// Well within what a bus object holds of bytes that have arrived and wait to be read.
constexpr std::uint32_t PIECE_SIZE = 1024;

constexpr bool FAST_MODE = true;
constexpr bool STOP = true;

int Fail(const char* aWhat, const KoResult& aResult)
{
    std::fprintf(stderr, "%s: %s %s\n", aWhat, aResult.GetCodeString(), aResult.GetDescription().GetAscii());
    return 1;
}

/// Sets the address counter of the EEPROM and reads from there, without a stop condition in between.
KoResult ReadPiece(KoDeviceI2CBus& aBus, std::uint32_t aAddress, std::uint8_t* aBuffer)
{
    const std::array<std::uint8_t, 2> address = {static_cast<std::uint8_t>(aAddress >> 8),
                                                 static_cast<std::uint8_t>(aAddress)};
    KoResult addressed = aBus.MasterTransmitter(EEPROM, address.data(), address.size(), FAST_MODE, !STOP);
    if (!addressed.IsOK())
    {
        return addressed;
    }
    std::uint32_t count = 0;
    return aBus.BurstRead(EEPROM, aBuffer, PIECE_SIZE, count, FAST_MODE);
}

/// The simulated EEPROM starts with a pattern instead of all ones.
std::shared_ptr<KoSim::I2cEeprom> MakeEeprom()
{
    KoSim::MemoryImage contents(EEPROM_SIZE);
    for (std::uint32_t i = 0; i < EEPROM_SIZE; ++i)
    {
        contents.Set(i, static_cast<std::uint8_t>(i ^ i >> 8));
    }
    return std::make_shared<KoSim::I2cEeprom>(KoSim::I2cEeprom::LARGE, std::move(contents));
}

} // namespace

int main(int aArgumentCount, char** aArguments)
{
    if (aArgumentCount != 2)
    {
        std::fprintf(stderr, "usage: CopyEeprom FILE\n");
        return 2;
    }
    KoSim::SimulatedDevice device;
    device.SetI2cSlave(KoSim::Port::Bulk0, EEPROM, MakeEeprom());
    device.SetGenEnumValue("BulkMode", "I2C");

    KoDeviceI2CBus bus;
    const KoResult opened = bus.Open(&device, KoDeviceSerialBulk0);
    if (!opened.IsOK())
    {
        return Fail("cannot open the bus", opened);
    }

    std::vector<std::uint8_t> contents(EEPROM_SIZE);
    for (std::uint32_t address = 0; address < EEPROM_SIZE; address += PIECE_SIZE)
    {
        const KoResult read = ReadPiece(bus, address, contents.data() + address);
        if (!read.IsOK())
        {
            return Fail("the EEPROM does not answer", read);
        }
    }
    std::ofstream file(aArguments[1], std::ios::binary);
    file.write(reinterpret_cast<const char*>(contents.data()), EEPROM_SIZE);
    if (!file.flush())
    {
        std::fprintf(stderr, "cannot write %s\n", aArguments[1]);
        return 1;
    }
    std::printf("%u bytes, the first ones are %02X %02X %02X %02X\n", EEPROM_SIZE, contents[0], contents[1],
                contents[2], contents[3]);

    const KoResult closed = bus.Close();
    return closed.IsOK() ? 0 : Fail("cannot close the bus", closed);
}
