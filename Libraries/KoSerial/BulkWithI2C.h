#pragma once

#include "DeviceSerialPort.h"

namespace KoSerialLib
{

/// A bulk port engine, on which an I2C or SPI bus can run.
///
/// The option flags travel with every transfer to the device; each is named after its bit in the command word of the
/// register engine. A bus sets them before a transfer; on a plain serial port they stay false.
class BulkWithI2C : public DeviceSerialPort
{
public:
    bool mTxOptionBit9 = false;
    bool mTxOptionBit10 = false;
    bool mTxOptionBit11 = false;
    bool mTxOptionBit12 = false;
};

} // namespace KoSerialLib
