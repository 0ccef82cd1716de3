#pragma once

#include <KoSim/LineSettings.h>

#include <cstdint>

namespace KoSim
{

/// A chip on an I2C bus of a simulated device. Implement it to simulate a chip of your own.
///
/// The bus calls it with the device locked, from any thread, one call at a time: it must not block and must not call
/// the device.
class II2cSlave
{
public:
    /// A start condition, first or repeated, with the address of this chip.
    /// @param aRead true when the master reads
    /// @return whether the chip acknowledges; nothing more comes until the next start when it does not
    virtual bool Start(bool aRead, Time aNow) = 0;

    /// The master writes a byte. @return whether the chip acknowledges; nothing more is written when it does not
    virtual bool Write(std::uint8_t aByte) = 0;

    /// The master reads a byte.
    virtual std::uint8_t Read() = 0;

    /// The stop condition that ends what the last start began. It does not come before a repeated start.
    virtual void Stop(Time aNow) = 0;

    virtual ~II2cSlave() = default;
};

} // namespace KoSim
