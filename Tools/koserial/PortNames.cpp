#include "PortNames.h"

#include "Failure.h"

#include <strings.h>

namespace KoTool
{
namespace
{

constexpr std::array<const char*, ALL_PORTS.size()> NAMES = {"uart0", "uart1", "bulk0", "bulk1", "bulk2",
                                                             "bulk3", "bulk4", "bulk5", "bulk6", "bulk7"};

std::string ListNames()
{
    std::string list = NAMES.front();
    for (std::size_t i = 1; i < NAMES.size(); ++i)
    {
        list += std::string(i + 1 == NAMES.size() ? " and " : ", ") + NAMES[i];
    }
    return list;
}

} // namespace

const char* GetPortName(KoDeviceSerial aPort)
{
    return NAMES.at(static_cast<std::size_t>(aPort));
}

KoDeviceSerial FindPort(const std::string& aName)
{
    for (std::size_t i = 0; i < NAMES.size(); ++i)
    {
        if (::strcasecmp(aName.c_str(), NAMES[i]) == 0)
        {
            return ALL_PORTS[i];
        }
    }
    return KoDeviceSerialInvalid;
}

KoDeviceSerial ParsePortName(const std::string& aName)
{
    const KoDeviceSerial port = FindPort(aName);
    if (port == KoDeviceSerialInvalid)
    {
        throw MakeUsageFailure("unknown port '" + aName + "': the ports are " + ListNames());
    }
    return port;
}

KoDeviceSerial ParseBulkPortName(const std::string& aName)
{
    const KoDeviceSerial port = ParsePortName(aName);
    if (port < KoDeviceSerialBulk0)
    {
        throw MakeUsageFailure(std::string(GetPortName(port)) + " is a UART: buses run on the ports bulk0 to bulk7");
    }
    return port;
}

} // namespace KoTool
