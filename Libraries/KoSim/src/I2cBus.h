#pragma once

#include <KoSim/II2cSlave.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace KoSim
{

/// An I2C bus with its slaves, and the master that carries out the requests of a host.
class I2cBus
{
public:
    /// Puts a chip on the bus in place of the one before; NULL for none.
    void SetSlave(std::uint8_t aAddress, std::shared_ptr<II2cSlave> aSlave);

    /// Carries out a request: an address byte and data to write, or an address byte whose bit 0 is set and the number
    /// of bytes to read, least significant byte first. An address that nobody acknowledges ends it with a stop
    /// condition at once.
    /// @param aStop whether a stop condition ends the transfer; otherwise the next one begins with a repeated start
    /// @return the bytes read
    std::vector<std::uint8_t> Transfer(const std::vector<std::uint8_t>& aRequest, bool aStop, Time aNow);

private:
    std::map<std::uint8_t, std::shared_ptr<II2cSlave>> mSlaves; ///< by address
};

} // namespace KoSim
