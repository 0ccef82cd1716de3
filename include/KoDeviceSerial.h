#pragma once

#include <cstdint>

/// A serial port of a device.
enum KoDeviceSerial : std::int32_t
{
    KoDeviceSerialInvalid = -1, ///< no port
    KoDeviceSerialUart0 = 0,
    KoDeviceSerialUart1 = 1,
    KoDeviceSerialBulk0 = 2, ///< the only bulk port that can also be driven through the register block
    KoDeviceSerialBulk1 = 3,
    KoDeviceSerialBulk2 = 4,
    KoDeviceSerialBulk3 = 5,
    KoDeviceSerialBulk4 = 6,
    KoDeviceSerialBulk5 = 7,
    KoDeviceSerialBulk6 = 8,
    KoDeviceSerialBulk7 = 9,
};
