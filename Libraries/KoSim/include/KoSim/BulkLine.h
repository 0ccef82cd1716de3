#pragma once

#include <KoSim/KoSimExport.h>
#include <KoSim/LineSettings.h>

#include <cstdint>
#include <optional>

namespace KoSim
{

/// What bulk port 0 is wired as.
enum class BulkInterface : std::uint32_t
{
    Usrt = 0,
    Uart = 1,
    I2c = 2,
};

/// The settings of bulk port 0, as its configuration register holds them.
struct BulkLine
{
    BulkInterface mInterface = BulkInterface::Uart;
    std::uint32_t mRateIndex = 6; ///< 0 to 7; UART: 9600 to 230400 bit/s, USRT: 16.7 MHz divided by 2 to 256
    bool mDoubleTime = false;     ///< every byte takes twice its time
    std::uint32_t mReserve = 124; ///< bytes of the FIFO that a later chunk leaves free
};

/// The value of the configuration register for these settings.
KO_SIM_API std::uint32_t GetBulkConfig(const BulkLine& aLine);

/// The settings in a value of the configuration register.
KO_SIM_API BulkLine GetBulkLine(std::uint32_t aConfig);

/// The rate index that gives a UART that baud rate; nothing when none does.
KO_SIM_API std::optional<std::uint32_t> FindUartRateIndex(std::uint32_t aBaudRate);

/// Bits per second on the line.
KO_SIM_API std::uint32_t GetBitRate(const BulkLine& aLine);

/// Time that one byte takes on the line.
KO_SIM_API Time GetByteTime(const BulkLine& aLine);

/// The most bytes that a host hands over in one chunk after the first, so that they always find room.
KO_SIM_API std::uint32_t GetLaterChunkSize(const BulkLine& aLine);

} // namespace KoSim
