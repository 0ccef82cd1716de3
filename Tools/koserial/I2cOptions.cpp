#include "I2cOptions.h"

#include "CommonOptions.h"
#include "Failure.h"
#include "I2cMessages.h"

#include <CLI/CLI.hpp>

namespace KoTool
{

void AddI2cBus(CLI::App& aCommand, I2cOptions& aOptions)
{
    AddBulkPort(aCommand, aOptions.mPort);
    aCommand.add_flag("--fast", aOptions.mFastMode, "Run the bus at 400 kHz instead of 100 kHz");
}

void AddI2cAddress(CLI::App& aCommand, I2cOptions& aOptions)
{
    AddNumber(aCommand, "ADDR", "The address of the slave, 0x00 to 0x7f", I2C_ADDRESSES, aOptions.mAddress)->required();
}

void AddI2cOffsetSize(CLI::App& aCommand, I2cOptions& aOptions)
{
    AddNumber(aCommand, "--reg-bytes", "How many bytes the slave takes for the offset of a register: 1 or 2", {1, 2},
              aOptions.mOffsetSize)
        ->default_str("1");
}

void AddI2cRegister(CLI::App& aCommand, I2cOptions& aOptions)
{
    AddNumber(aCommand, "--reg", "The register to begin with; without it none is sent", {0, 0xFFFF}, aOptions.mRegister)
        ->type_name("R");
    AddI2cOffsetSize(aCommand, aOptions);
}

std::uint32_t GetRegisterCount(std::uint32_t aOffsetSize)
{
    return 1U << (8 * aOffsetSize);
}

Bytes MakeRegisterOffset(std::uint32_t aRegister, std::uint32_t aOffsetSize)
{
    const auto low = static_cast<std::uint8_t>(aRegister);
    return aOffsetSize == 1 ? Bytes{low} : Bytes{static_cast<std::uint8_t>(aRegister >> 8), low};
}

Bytes MakeRegisterOffset(const I2cOptions& aOptions)
{
    if (!aOptions.mRegister)
    {
        return {};
    }
    if (*aOptions.mRegister >= GetRegisterCount(aOptions.mOffsetSize))
    {
        throw MakeUsageFailure("register " + std::to_string(*aOptions.mRegister) + " needs --reg-bytes 2");
    }
    return MakeRegisterOffset(*aOptions.mRegister, aOptions.mOffsetSize);
}

} // namespace KoTool
