#pragma once

#include <KoDeviceSerial.h>

#include <array>
#include <string>

namespace KoTool
{

/// All ports that a device can have, in the order of their names.
constexpr std::array<KoDeviceSerial, 10> ALL_PORTS = {
    KoDeviceSerialUart0, KoDeviceSerialUart1, KoDeviceSerialBulk0, KoDeviceSerialBulk1, KoDeviceSerialBulk2,
    KoDeviceSerialBulk3, KoDeviceSerialBulk4, KoDeviceSerialBulk5, KoDeviceSerialBulk6, KoDeviceSerialBulk7};

/// The name of a port on the command line: "uart0", ..., "bulk7".
const char* GetPortName(KoDeviceSerial aPort);

/// The port of that name, in upper or lower case; KoDeviceSerialInvalid when there is none.
KoDeviceSerial FindPort(const std::string& aName);

/// As FindPort().
/// @throws Failure with STATUS_USAGE for an unknown name
KoDeviceSerial ParsePortName(const std::string& aName);

/// As ParsePortName(), but the port must be one that can run a bus: "bulk0", ..., "bulk7".
KoDeviceSerial ParseBulkPortName(const std::string& aName);

} // namespace KoTool
