// How long BulkIPEngine waits: what it takes from the configuration of the line.

#include "BulkIPEngine.h"

#include "BulkConfig.h"
#include "Logging.h"

#include <algorithm>

namespace KoSerialLib
{
namespace
{

/// Milliseconds.
constexpr double TIME_PER_BYTE_I2C = 0.09;
constexpr double TIME_PER_BYTE_NO_DIVIDER = 0.00048000007680001227;
constexpr double TIME_PER_BYTE_SLOW_DIVIDER = 0.12239902080783353;

constexpr std::array<std::uint32_t, 10> UART_RATES = {9600,  14400,  19200,  28800,  38400,
                                                      57600, 115200, 230400, 460800, 921600};
constexpr std::uint32_t USRT_BASE_CLOCK_HZ = 16700000;

} // namespace

std::uint32_t BulkIPEngine::GetTransmitTimeout(std::uint32_t aLength)
{
    constexpr std::uint32_t SHORTEST_MS = 50;
    constexpr std::uint32_t MARGIN_MS = 100;
    const auto transferMs = static_cast<std::uint32_t>(aLength * mTimePerByte);
    const std::uint32_t timeoutMs = std::max(transferMs, SHORTEST_MS) + MARGIN_MS;
    if (!mTxOptionBit12)
    {
        return 2 * timeoutMs;
    }
    return mTxOptionBit9 ? timeoutMs : 4 * timeoutMs;
}

void BulkIPEngine::UpdateTimePerByte()
{
    if (!IsOpened())
    {
        KO_LOG(*mLogger, LOG_CRITICAL, "Unexpected state: the device should already be available.");
    }
    mTimePerByte = DEFAULT_TIME_PER_BYTE_MS;
    switch (GetInterface())
    {
    case BULK_INTERFACE_UART:
        mTimePerByte = GetTimePerByteUART();
        break;
    case BULK_INTERFACE_USRT:
        mTimePerByte = GetTimePerByteUSRT();
        break;
    case BULK_INTERFACE_I2C:
        mTimePerByte = GetTimePerByteI2C();
        break;
    default:
        KO_LOG(*mLogger, LOG_CRITICAL, "Unknown interface selected (%d).", GetInterface());
        break;
    }
    if ((mBulkConfig & BULK_CONFIG_DOUBLE_TIME) != 0)
    {
        mTimePerByte *= 2;
    }
}

double BulkIPEngine::GetTimePerByteUART()
{
    const std::uint32_t rate = UART_RATES[GetRateIndex()];
    if (rate != 0)
    {
        return 1000.0 / rate;
    }
    // GCOVR_EXCL_START: as long as no row of the table is 0
    const std::uint32_t divider = mBulkClockDivider & 0xFF;
    if (divider == 0)
    {
        return TIME_PER_BYTE_NO_DIVIDER;
    }
    const auto dividedRate = static_cast<std::uint32_t>(1.0 / (divider * 480.0 / 1000000000.0));
    return dividedRate != 0 ? 1000.0 / dividedRate : TIME_PER_BYTE_SLOW_DIVIDER;
    // GCOVR_EXCL_STOP
}

double BulkIPEngine::GetTimePerByteUSRT()
{
    const std::uint32_t rate = USRT_BASE_CLOCK_HZ / (2U << GetRateIndex());
    return 1000.0 / rate;
}

double BulkIPEngine::GetTimePerByteI2C()
{
    return TIME_PER_BYTE_I2C;
}

std::uint32_t BulkIPEngine::GetRateIndex() const
{
    return (mBulkConfig >> BULK_CONFIG_RATE_SHIFT) & BULK_CONFIG_FIELD_MASK;
}

} // namespace KoSerialLib
