#include <KoSerialPortConfiguration.h>

#include "Logging.h"

#include <algorithm>
#include <array>

namespace
{

constexpr std::array<std::uint32_t, 10> BAUD_RATES = {9600,  14400,  19200,  28800,  38400,
                                                      57600, 115200, 230400, 460800, 921600};

} // namespace

KoSerialPortConfiguration::KoSerialPortConfiguration(std::uint32_t aBaudRate, KoParity aParity, std::uint32_t aByteSize,
                                                     std::uint32_t aStopBits)
    : mBaudRate(aBaudRate),
      mParity(aParity),
      mByteSize(aByteSize),
      mStopBits(aStopBits)
{
}

void KoSerialPortConfiguration::MakeInvalid()
{
    mBaudRate = 0;
    mParity = static_cast<KoParity>(-1);
    mByteSize = 0;
    mStopBits = 0;
}

KoResult KoSerialPortConfiguration::IsValid() const
{
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    if (std::find(BAUD_RATES.begin(), BAUD_RATES.end(), mBaudRate) == BAUD_RATES.end())
    {
        return KO_FAIL(logger, KoResult::INVALID_PARAMETER,
                       "Invalid port speed. 9600, 14400, 19200, 28800, 38400, 57600, 115200, 230400, 460800 and 921600 "
                       "supported.");
    }
    if (mParity < KoParityNone || mParity > KoParityOdd)
    {
        return KO_FAIL(logger, KoResult::INVALID_PARAMETER,
                       "Invalid parity. KoParityNone, KoParityEven and KoParityOdd supported.");
    }
    if (mByteSize != 7 && mByteSize != 8)
    {
        return KO_FAIL(logger, KoResult::INVALID_PARAMETER, "Invalid number of bits per byte. 7 and 8 supported.");
    }
    if (mStopBits != 1 && mStopBits != 2)
    {
        return KO_FAIL(logger, KoResult::INVALID_PARAMETER, "Invalid number of stop bits. 1 and 2 supported.");
    }
    return KoResult(KoResult::OK);
}
