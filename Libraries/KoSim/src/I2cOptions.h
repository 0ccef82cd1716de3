#pragma once

#include <cstdint>
#include <optional>

namespace KoSim
{

/// What a host asks of an I2C transfer beside its bytes.
struct I2cOptions
{
    bool mFast; ///< 400 kHz and not 100 kHz
    bool mStop; ///< a stop condition ends the transfer
};

/// The options in a word whose bits mean fast, stop, and, if all of aTransfer are set, that it goes with an I2C
/// transfer.
inline std::optional<I2cOptions> GetI2cOptions(std::uint32_t aWord, std::uint32_t aFast, std::uint32_t aStop,
                                               std::uint32_t aTransfer)
{
    if ((aWord & aTransfer) != aTransfer)
    {
        return std::nullopt;
    }
    return I2cOptions{(aWord & aFast) != 0, (aWord & aStop) != 0};
}

/// The options in the command word of a block for the register block, or nothing when the block is no I2C transfer.
inline std::optional<I2cOptions> GetI2cOptionsOfCommand(std::uint32_t aCommand)
{
    return GetI2cOptions(aCommand, 0x0200, 0x0400, 0x1800);
}

/// The options in the control word of a frame, or nothing when the frame is no I2C transfer.
inline std::optional<I2cOptions> GetI2cOptionsOfControl(std::uint32_t aControl)
{
    return GetI2cOptions(aControl, 0x80000000, 0x40000000, 0x30000000);
}

} // namespace KoSim
