#pragma once

#include "I2cBus.h"
#include "I2cOptions.h"
#include "PortModel.h"
#include "SpiBus.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <variant>
#include <vector>

namespace KoSim
{

/// What a bulk port does behind its transmitter, whichever way its host reaches it: the bytes that leave go to the far
/// end of the line, or they are requests to the I2C or SPI bus of the port, block by block. What the bus answers comes
/// in at the pace of the line.
class BulkModel : public PortModel
{
public:
    using PortModel::PortModel;

    void SetI2cSlave(std::uint8_t aAddress, std::shared_ptr<II2cSlave> aSlave);
    void SetSpiSlave(std::shared_ptr<ISpiSlave> aSlave);

protected:
    struct ToLine
    {
    };
    struct ToI2cBus
    {
        I2cOptions mOptions;
    };
    struct ToSpiBus
    {
        std::size_t mReadCount;
        bool mSimultaneous;
    };
    using Destination = std::variant<ToLine, ToI2cBus, ToSpiBus>;

    /// Says where the next aLength bytes go that the transmitter takes in.
    void AddBlock(std::size_t aLength, const Destination& aDestination, Time aNow);

    /// Bytes leave the transmitter.
    void SendOut(const std::vector<std::uint8_t>& aBytes, Time aNow);

    /// The transmitter has been emptied.
    void DropBlocks() { mBlocks.clear(); }

private:
    struct Block
    {
        std::size_t mBytesLeft;
        Destination mDestination;
        std::vector<std::uint8_t> mRequest; ///< what has left so far of a request to a bus
    };

    void FinishBlocks(Time aNow);
    void Finish(const Block& aBlock, Time aNow);

    I2cBus mI2cBus;
    SpiBus mSpiBus;
    std::deque<Block> mBlocks; ///< of the transmitter, oldest first
};

} // namespace KoSim
