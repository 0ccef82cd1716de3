#include "BulkModel.h"

#include <algorithm>

namespace KoSim
{

void BulkModel::SetI2cSlave(std::uint8_t aAddress, std::shared_ptr<II2cSlave> aSlave)
{
    mI2cBus.SetSlave(aAddress, std::move(aSlave));
}

void BulkModel::SetSpiSlave(std::shared_ptr<ISpiSlave> aSlave)
{
    mSpiBus.SetSlave(std::move(aSlave));
}

void BulkModel::AddBlock(std::size_t aLength, const Destination& aDestination, Time aNow)
{
    mBlocks.push_back({aLength, aDestination, {}});
    FinishBlocks(aNow);
}

void BulkModel::SendOut(const std::vector<std::uint8_t>& aBytes, Time aNow)
{
    auto next = aBytes.begin();
    while (next != aBytes.end())
    {
        Block& block = mBlocks.front();
        const auto count = std::min(aBytes.end() - next, static_cast<std::ptrdiff_t>(block.mBytesLeft));
        if (std::holds_alternative<ToLine>(block.mDestination))
        {
            ReportSent({next, next + count});
        }
        else
        {
            block.mRequest.insert(block.mRequest.end(), next, next + count);
        }
        block.mBytesLeft -= static_cast<std::size_t>(count);
        next += count;
        FinishBlocks(aNow);
    }
}

/// Lets happen what the blocks are for that have left.
void BulkModel::FinishBlocks(Time aNow)
{
    while (!mBlocks.empty() && mBlocks.front().mBytesLeft == 0)
    {
        const Block block = std::move(mBlocks.front());
        mBlocks.pop_front();
        Finish(block, aNow);
    }
}

void BulkModel::Finish(const Block& aBlock, Time aNow)
{
    mStatistics.mSentBytes += aBlock.mRequest.size();
    std::vector<std::uint8_t> answer;
    if (const auto* const i2c = std::get_if<ToI2cBus>(&aBlock.mDestination))
    {
        answer = mI2cBus.Transfer(aBlock.mRequest, i2c->mOptions.mStop, aNow);
    }
    else if (const auto* const spi = std::get_if<ToSpiBus>(&aBlock.mDestination))
    {
        answer = mSpiBus.Transfer(aBlock.mRequest, spi->mReadCount, spi->mSimultaneous, aNow);
    }
    Receive(answer.data(), answer.size(), aNow);
}

} // namespace KoSim
