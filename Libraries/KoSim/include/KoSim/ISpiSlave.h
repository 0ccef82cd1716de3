#pragma once

#include <KoSim/LineSettings.h>

#include <cstdint>

namespace KoSim
{

/// A chip on an SPI bus of a simulated device. Implement it to simulate a chip of your own.
///
/// The bus calls it with the device locked, from any thread, one call at a time: it must not block and must not call
/// the device.
class ISpiSlave
{
public:
    /// Chip select becomes active.
    virtual void Select() = 0;

    /// A byte goes in while another one comes out.
    virtual std::uint8_t Exchange(std::uint8_t aByte, Time aNow) = 0;

    /// Chip select becomes inactive.
    virtual void Deselect(Time aNow) = 0;

    virtual ~ISpiSlave() = default;
};

} // namespace KoSim
