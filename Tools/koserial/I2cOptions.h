#pragma once

#include "Bytes.h"

#include <KoDeviceSerial.h>

#include <cstdint>
#include <optional>

namespace CLI
{
class App;
}

namespace KoTool
{

/// What several commands for an I2C bus ask for.
struct I2cOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    bool mFastMode = false;
    std::uint8_t mAddress = 0;
    std::optional<std::uint32_t> mRegister;
    std::uint32_t mOffsetSize = 1; ///< bytes of a register offset, 1 or 2
    bool mJson = false;
};

/// @name Options of the commands for an I2C bus
/// @{
void AddI2cBus(CLI::App& aCommand, I2cOptions& aOptions);        ///< PORT, --fast
void AddI2cAddress(CLI::App& aCommand, I2cOptions& aOptions);    ///< ADDR
void AddI2cOffsetSize(CLI::App& aCommand, I2cOptions& aOptions); ///< --reg-bytes
void AddI2cRegister(CLI::App& aCommand, I2cOptions& aOptions);   ///< --reg, --reg-bytes
/// @}

/// Number of registers that offsets of that many bytes tell apart.
std::uint32_t GetRegisterCount(std::uint32_t aOffsetSize);

/// The offset of a register as it goes over the bus: the most significant byte first.
Bytes MakeRegisterOffset(std::uint32_t aRegister, std::uint32_t aOffsetSize);

/// The offset of the register that is asked for; empty when none is.
/// @throws Failure with STATUS_USAGE for a register that such an offset does not reach
Bytes MakeRegisterOffset(const I2cOptions& aOptions);

} // namespace KoTool
