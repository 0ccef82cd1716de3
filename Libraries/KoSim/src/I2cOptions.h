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

/// The options in the command word of a block for the register block, or nothing when the block is no I2C transfer.
inline std::optional<I2cOptions> GetI2cOptionsOfCommand(std::uint32_t aCommand)
{
    constexpr std::uint32_t FAST = 0x0200;
    constexpr std::uint32_t STOP = 0x0400;
    constexpr std::uint32_t I2C_TRANSFER = 0x1800;
    if ((aCommand & I2C_TRANSFER) != I2C_TRANSFER)
    {
        return std::nullopt;
    }
    return I2cOptions{(aCommand & FAST) != 0, (aCommand & STOP) != 0};
}

/// The options in the control word of a frame, or nothing when the frame is no I2C transfer.
inline std::optional<I2cOptions> GetI2cOptionsOfControl(std::uint32_t aControl)
{
    constexpr std::uint32_t FAST = 0x80000000;
    constexpr std::uint32_t STOP = 0x40000000;
    constexpr std::uint32_t I2C_TRANSFER = 0x30000000;
    if ((aControl & I2C_TRANSFER) != I2C_TRANSFER)
    {
        return std::nullopt;
    }
    return I2cOptions{(aControl & FAST) != 0, (aControl & STOP) != 0};
}

} // namespace KoSim
