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
    Bulk1 = 3,
    Bulk2 = 4,
    Bulk3 = 5,
    Bulk4 = 6,
    Bulk5 = 7,
    Bulk6 = 8,
    Bulk7 = 9,
};

/// Number of ports of a device that has them all.
constexpr std::size_t PORT_COUNT = 10;

} // namespace KoSim
