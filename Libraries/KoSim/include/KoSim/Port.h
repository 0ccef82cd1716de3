#pragma once

#include <cstddef>

namespace KoSim
{

/// A serial port of a simulated device. The values are those that the device itself counts its ports by.
enum class Port : std::size_t
{
    Uart0 = 0,
    Uart1 = 1,
    Bulk0 = 2,
};

/// Number of ports of a device that has them all.
constexpr std::size_t PORT_COUNT = 3;

} // namespace KoSim
