#pragma once

#include <KoSim/ISpiSlave.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace KoSim
{

/// An SPI bus with at most one slave, and the master that carries out the requests of a host.
class SpiBus
{
public:
    /// Puts a chip on the bus in place of the one before; NULL for none.
    void SetSlave(std::shared_ptr<ISpiSlave> aSlave) { mSlave = std::move(aSlave); }

    /// Sends bytes and takes aReadCount bytes after them, or as many as were sent, at the same time. Chip select is
    /// active meanwhile. Without a chip the line is high.
    /// @return the bytes taken
    std::vector<std::uint8_t> Transfer(const std::vector<std::uint8_t>& aRequest, std::size_t aReadCount,
                                       bool aSimultaneous, Time aNow);

private:
    std::shared_ptr<ISpiSlave> mSlave;
};

} // namespace KoSim
