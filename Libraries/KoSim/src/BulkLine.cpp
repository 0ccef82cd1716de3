#include <KoSim/BulkLine.h>

#include <algorithm>
#include <array>

namespace KoSim
{
namespace
{

constexpr std::uint32_t RATE_SHIFT = 5;
constexpr std::uint32_t DOUBLE_TIME = 0x400;
constexpr std::uint32_t INTERFACE_SHIFT = 12;
constexpr std::uint32_t RESERVE_SHIFT = 24;
constexpr std::uint32_t FIELD_MASK = 7;

constexpr std::array<std::uint32_t, 8> UART_RATES = {9600, 14400, 19200, 28800, 38400, 57600, 115200, 230400};
constexpr std::uint32_t USRT_CLOCK_HZ = 16700000;
constexpr std::uint32_t I2C_RATE = 100000;

/// Bits on the line for each byte: with start and stop bit on a UART, with the acknowledge bit on I2C.
std::uint32_t GetBitsPerByte(BulkInterface aInterface)
{
    switch (aInterface)
    {
    case BulkInterface::Uart:
        return 10;
    case BulkInterface::I2c:
        return 9;
    case BulkInterface::Usrt:
        break;
    }
    return 8;
}

} // namespace

std::uint32_t GetBulkConfig(const BulkLine& aLine)
{
    return aLine.mRateIndex << RATE_SHIFT | (aLine.mDoubleTime ? DOUBLE_TIME : 0) |
           static_cast<std::uint32_t>(aLine.mInterface) << INTERFACE_SHIFT | aLine.mReserve << RESERVE_SHIFT;
}

BulkLine GetBulkLine(std::uint32_t aConfig)
{
    BulkLine line;
    line.mInterface = static_cast<BulkInterface>(aConfig >> INTERFACE_SHIFT & FIELD_MASK);
    line.mRateIndex = aConfig >> RATE_SHIFT & FIELD_MASK;
    line.mDoubleTime = (aConfig & DOUBLE_TIME) != 0;
    line.mReserve = aConfig >> RESERVE_SHIFT;
    return line;
}

std::optional<std::uint32_t> FindUartRateIndex(std::uint32_t aBaudRate)
{
    const auto* const found = std::find(UART_RATES.begin(), UART_RATES.end(), aBaudRate);
    if (found == UART_RATES.end())
    {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(found - UART_RATES.begin());
}

std::uint32_t GetBitRate(const BulkLine& aLine)
{
    switch (aLine.mInterface)
    {
    case BulkInterface::Uart:
        return UART_RATES.at(aLine.mRateIndex);
    case BulkInterface::I2c:
        return I2C_RATE;
    case BulkInterface::Usrt:
        break;
    }
    return USRT_CLOCK_HZ / (2U << aLine.mRateIndex);
}

Time GetByteTime(const BulkLine& aLine)
{
    const Time once = Time(std::chrono::seconds(GetBitsPerByte(aLine.mInterface))) / GetBitRate(aLine);
    return aLine.mDoubleTime ? 2 * once : once;
}

std::uint32_t GetLaterChunkSize(const BulkLine& aLine)
{
    return (aLine.mInterface == BulkInterface::I2c ? 251U : 252U) - aLine.mReserve;
}

} // namespace KoSim
