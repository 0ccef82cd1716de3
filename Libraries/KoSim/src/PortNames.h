#pragma once

#include <KoSim/Port.h>

#include <cstddef>
#include <string>

namespace KoSim
{

/// The name of a port in the names of its features: "Uart0", "Bulk3".
inline std::string GetPortName(Port aPort)
{
    const auto index = static_cast<std::size_t>(aPort);
    const auto firstBulk = static_cast<std::size_t>(Port::Bulk0);
    return index < firstBulk ? "Uart" + std::to_string(index) : "Bulk" + std::to_string(index - firstBulk);
}

} // namespace KoSim
