#pragma once

#include "BulkWithI2C.h"

#include <vector>

namespace KoSerialLib
{

/// An I2C bus master on a bulk port engine: on Bulk0 the register engine where the device offers I2C there, otherwise
/// the feature engine.
class DeviceI2CBus
{
public:
    DeviceI2CBus();
    ~DeviceI2CBus();

    DeviceI2CBus(const DeviceI2CBus&) = delete;
    DeviceI2CBus& operator=(const DeviceI2CBus&) = delete;

    KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);
    KoResult Close();
    void Abandon();
    bool IsOpened();
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    KoResult BurstWrite(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength, bool aFastMode);
    KoResult IndirectBurstWrite(std::uint8_t aAddress, std::uint8_t aOffset, const std::uint8_t* aData,
                                std::uint32_t aLength, bool aFastMode);
    KoResult BurstRead(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aBytesRead,
                       bool aFastMode);
    KoResult IndirectBurstRead(std::uint8_t aAddress, std::uint8_t aOffset, std::uint8_t* aBuffer,
                               std::uint32_t aLength, std::uint32_t& aBytesRead, bool aFastMode, bool aRepeatedStart);
    KoResult MasterTransmitter(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength, bool aFastMode,
                               bool aStop);
    KoResult MasterReceiverAfterFirstByte(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength,
                                          std::uint32_t& aBytesRead, bool aFastMode, bool aStop);

    /// Most bytes of data that a write carries in one transfer; 0 when the bus is not open.
    std::uint32_t GetLongestWrite();

protected:
    BulkWithI2C* mEngine = nullptr; ///< owned, but for an engine that Open() on Bulk1 to Bulk7 has replaced
    KuUtilsLib::Logger* mLogger;

private:
    void CheckThatEngineMayBeReplaced() const;
    KoResult FailUnopened(const char* aOperation);
    std::uint32_t GetLongestPiece();
    void SetTransferOptions(bool aFastMode, bool aStop);

    std::vector<std::uint8_t> mRequest;  ///< address and data of the last write
    std::vector<std::uint8_t> mIndirect; ///< offset and data of the last indirect write
};

} // namespace KoSerialLib
