#include "I2cBus.h"

#include <algorithm>

namespace KoSim
{
namespace
{

constexpr std::uint8_t READ_BIT = 0x01;
constexpr std::size_t READ_REQUEST_SIZE = 3;

void WriteTo(II2cSlave& aSlave, const std::vector<std::uint8_t>& aRequest)
{
    auto byte = aRequest.begin() + 1;
    while (byte != aRequest.end() && aSlave.Write(*byte))
    {
        ++byte;
    }
}

std::vector<std::uint8_t> ReadFrom(II2cSlave& aSlave, const std::vector<std::uint8_t>& aRequest)
{
    std::vector<std::uint8_t> bytes;
    if (aRequest.size() == READ_REQUEST_SIZE)
    {
        bytes.resize(static_cast<std::size_t>(aRequest[1] | aRequest[2] << 8));
        std::generate(bytes.begin(), bytes.end(), [&] { return aSlave.Read(); });
    }
    return bytes;
}

} // namespace

void I2cBus::SetSlave(std::uint8_t aAddress, std::shared_ptr<II2cSlave> aSlave)
{
    mSlaves[aAddress] = std::move(aSlave);
}

std::vector<std::uint8_t> I2cBus::Transfer(const std::vector<std::uint8_t>& aRequest, bool aStop, Time aNow)
{
    if (aRequest.empty())
    {
        return {};
    }
    const bool isRead = (aRequest.front() & READ_BIT) != 0;
    const std::shared_ptr<II2cSlave> slave = mSlaves[aRequest.front() >> 1];
    if (slave == nullptr || !slave->Start(isRead, aNow))
    {
        return {};
    }
    std::vector<std::uint8_t> bytes;
    if (isRead)
    {
        bytes = ReadFrom(*slave, aRequest);
    }
    else
    {
        WriteTo(*slave, aRequest);
    }
    if (aStop)
    {
        slave->Stop(aNow);
    }
    return bytes;
}

} // namespace KoSim
