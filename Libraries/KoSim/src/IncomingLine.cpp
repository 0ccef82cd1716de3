#include "IncomingLine.h"

#include <algorithm>

namespace KoSim
{
namespace
{

constexpr std::size_t CAPACITY = 65536;

} // namespace

std::size_t IncomingLine::Put(const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    if (mBytes.empty())
    {
        mNextArrival = std::max(mNextArrival, aNow + mByteTime);
    }
    const std::size_t taken = std::min(aLength, GetRoom());
    mBytes.insert(mBytes.end(), aData, aData + taken);
    return aLength - taken;
}

std::size_t IncomingLine::GetRoom() const
{
    return CAPACITY - mBytes.size();
}

std::vector<std::uint8_t> IncomingLine::Take(std::size_t aLimit, Time aNow)
{
    if (mHeld)
    {
        mNextArrival = aNow + mByteTime;
        mHeld = false;
    }
    if (mBytes.empty())
    {
        return {};
    }
    std::size_t count = std::min(aLimit, mBytes.size());
    if (mByteTime > Time(0))
    {
        const auto arrived = mNextArrival > aNow ? 0 : (aNow - mNextArrival) / mByteTime + 1;
        count = std::min(count, static_cast<std::size_t>(arrived));
        mNextArrival += mByteTime * count;
    }
    const auto end = mBytes.begin() + static_cast<std::ptrdiff_t>(count);
    std::vector<std::uint8_t> taken(mBytes.begin(), end);
    mBytes.erase(mBytes.begin(), end);
    return taken;
}

} // namespace KoSim
