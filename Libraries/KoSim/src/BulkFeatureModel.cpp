#include "BulkFeatureModel.h"

#include "PortNames.h"

#include <algorithm>
#include <chrono>

namespace KoSim
{
namespace
{

const char* const UART = "UART";

/// Bytes that the transmitter can hold: a few of the longest frames.
constexpr std::size_t OUTGOING_CAPACITY = 65536;

/// The line has flow control in both directions: the transmitter pauses while this many bytes are on their way to the
/// far end and back.
constexpr std::size_t FLOW_LIMIT = 32768;

/// With the acknowledge bit, a byte on an I2C bus has 9 bits.
constexpr Time I2C_BYTE_TIME = Time(std::chrono::seconds(9)) / 100000;
constexpr Time I2C_FAST_BYTE_TIME = Time(std::chrono::seconds(9)) / 400000;
constexpr Time SPI_BYTE_TIME = Time(std::chrono::seconds(8)) / 8000000;

} // namespace

BulkFeatureModel::BulkFeatureModel(Port aPort, const DeviceProfile& aProfile, FeatureTree& aFeatures,
                                   OutputQueue& aOutputs)
    : BulkModel(aPort, aOutputs),
      mBigEndian(aProfile.mGigEVision),
      mTiming(aProfile.mTiming),
      mName(GetPortName(aPort)),
      mDownstreamName(mName + "DownstreamData"),
      mUpstreamName("Event" + mName + "UpstreamDataBuffer"),
      mUpstreamLengthName("Event" + mName + "UpstreamDataLength"),
      mFeatures(aFeatures)
{
    SetLine(aProfile.mBulkLine);
}

void BulkFeatureModel::SetLine(const LineSettings& aSettings)
{
    mSettings = GetMode() == UART ? std::optional(aSettings) : std::nullopt;
    mLineByteTime = GetByteTime(aSettings);
    mByteTime = GetByteTimeTo(ToLine{});
    mIncoming.SetByteTime(mByteTime);
}

void BulkFeatureModel::AddFeatures(const BulkFeatures& aLengths)
{
    mFeatures.mBlocks[mDownstreamName].mLength = aLengths.mDownstreamLength;
    mFeatures.mBlocks[mUpstreamName].mLength = aLengths.mUpstreamLength;
    mFeatures.mIntegers[mUpstreamLengthName] = 0;
}

void BulkFeatureModel::WriteDownstream(const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    const std::string mode = GetMode();
    const std::optional<DownstreamFrame> frame =
        mode == "SPI" ? ParseSpiFrame(aData, aLength, mBigEndian) : ParseBulkFrame(aData, aLength, mBigEndian);
    if (!frame)
    {
        ++mStatistics.mMalformedFrames;
        return;
    }
    const std::size_t taken = std::min(frame->mPayload.size(), OUTGOING_CAPACITY - mOutgoing.size());
    mStatistics.mTxOverruns += frame->mPayload.size() - taken;
    const Destination destination = GetDestination(mode, *frame);
    mByteTime = GetByteTimeTo(destination);
    mIncoming.SetByteTime(mByteTime);
    AddBlock(taken, destination, aNow);
    if (mOutgoing.empty())
    {
        mByteDone = aNow + mByteTime;
    }
    mOutgoing.insert(mOutgoing.end(), frame->mPayload.begin(),
                     frame->mPayload.begin() + static_cast<std::ptrdiff_t>(taken));
}

void BulkFeatureModel::ReadUpstream(std::uint8_t* aBuffer, std::size_t aLength)
{
    const std::size_t count = std::min(aLength, mUpstream.size());
    std::copy_n(mUpstream.begin(), count, aBuffer);
    std::fill(aBuffer + count, aBuffer + aLength, std::uint8_t{0});
    mStatistics.mReceivedBytes += count;
    mStatistics.mLostBytes += mUpstream.size() - count;
    mUpstream.clear();
    mFeatures.SetInteger(mUpstreamLengthName, 0);
}

void BulkFeatureModel::EnableEvent(bool aEnabled)
{
    mEventEnabled = aEnabled;
    RepeatReport();
}

void BulkFeatureModel::RepeatReport()
{
    if (mEventEnabled && !mUpstream.empty())
    {
        mFeatures.Invalidate(mUpstreamName);
    }
}

void BulkFeatureModel::Advance(Time aNow)
{
    SendDue(aNow);
    FillUpstream(aNow);
}

std::optional<Time> BulkFeatureModel::GetDeadline() const
{
    std::optional<Time> deadline;
    if (!mOutgoing.empty() && GetFlowRoom() > 0)
    {
        deadline = mByteDone;
    }
    if (CanFillUpstream() && !mIncoming.IsEmpty())
    {
        deadline = std::min(deadline.value_or(mIncoming.GetNextArrival()), mIncoming.GetNextArrival());
    }
    return deadline;
}

std::string BulkFeatureModel::GetMode() const
{
    return mFeatures.FindEnumeration("BulkMode") == nullptr ? UART : mFeatures.GetEnumValue("BulkMode", mName);
}

BulkModel::Destination BulkFeatureModel::GetDestination(const std::string& aMode, const DownstreamFrame& aFrame)
{
    if (aMode == "SPI")
    {
        return ToSpiBus{aFrame.mReadCount, aFrame.mSimultaneous};
    }
    const std::optional<I2cOptions> i2c = GetI2cOptionsOfControl(aFrame.mControl);
    return aMode == "I2C" && i2c ? Destination(ToI2cBus{*i2c}) : ToLine{};
}

Time BulkFeatureModel::GetByteTimeTo(const Destination& aDestination) const
{
    if (mTiming == LineTiming::Instant)
    {
        return Time(0);
    }
    if (const auto* const i2c = std::get_if<ToI2cBus>(&aDestination))
    {
        return i2c->mOptions.mFast ? I2C_FAST_BYTE_TIME : I2C_BYTE_TIME;
    }
    return std::holds_alternative<ToSpiBus>(aDestination) ? SPI_BYTE_TIME : mLineByteTime;
}

std::size_t BulkFeatureModel::GetFlowRoom() const
{
    return IsHeldBack() ? 0 : FLOW_LIMIT - std::min(FLOW_LIMIT, mUndelivered + mIncoming.GetSize());
}

void BulkFeatureModel::SendDue(Time aNow)
{
    std::size_t count = std::min(mOutgoing.size(), GetFlowRoom());
    if (count == 0 || mByteDone > aNow)
    {
        return;
    }
    if (mByteTime > Time(0))
    {
        count = std::min(count, static_cast<std::size_t>((aNow - mByteDone) / mByteTime + 1));
        mByteDone += mByteTime * static_cast<Time::rep>(count);
    }
    const auto end = mOutgoing.begin() + static_cast<std::ptrdiff_t>(count);
    SendOut({mOutgoing.begin(), end}, aNow);
    mOutgoing.erase(mOutgoing.begin(), end);
}

bool BulkFeatureModel::CanFillUpstream() const
{
    return mEventEnabled && mUpstream.empty() && mFeatures.GetBlockLength(mUpstreamName) > 0;
}

void BulkFeatureModel::FillUpstream(Time aNow)
{
    if (!mEventEnabled)
    {
        mIncoming.Hold();
        return;
    }
    if (!CanFillUpstream())
    {
        return;
    }
    mUpstream = mIncoming.Take(static_cast<std::size_t>(mFeatures.GetBlockLength(mUpstreamName)), aNow);
    if (!mUpstream.empty())
    {
        mFeatures.SetInteger(mUpstreamLengthName, static_cast<std::int64_t>(mUpstream.size()));
        mFeatures.Invalidate(mUpstreamName);
    }
}

} // namespace KoSim
