#include "SpiBus.h"

namespace KoSim
{
namespace
{

/// What goes out while the master only takes bytes, and comes in while nobody drives the line.
constexpr std::uint8_t FILLER_OUT = 0x00;
constexpr std::uint8_t IDLE_IN = 0xFF;

} // namespace

std::vector<std::uint8_t> SpiBus::Transfer(const std::vector<std::uint8_t>& aRequest, std::size_t aReadCount,
                                           bool aSimultaneous, Time aNow)
{
    if (mSlave == nullptr)
    {
        return std::vector<std::uint8_t>(aSimultaneous ? aRequest.size() : aReadCount, IDLE_IN);
    }
    std::vector<std::uint8_t> taken;
    taken.reserve(aRequest.size() + aReadCount);
    mSlave->Select();
    for (const std::uint8_t byte : aRequest)
    {
        taken.push_back(mSlave->Exchange(byte, aNow));
    }
    if (!aSimultaneous)
    {
        taken.clear();
        while (taken.size() < aReadCount)
        {
            taken.push_back(mSlave->Exchange(FILLER_OUT, aNow));
        }
    }
    mSlave->Deselect(aNow);
    return taken;
}

} // namespace KoSim
