#pragma once

#include "BulkModel.h"
#include "DownstreamFrame.h"
#include "FeatureTree.h"

#include <KoSim/DeviceProfile.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace KoSim
{

/// A bulk port behind features: frames that the host writes downstream, blocks that it reads upstream.
///
/// One block of received bytes lies upstream at a time. Its length reads 0 again when the host has read it; what has
/// arrived meanwhile makes the next block. While the event of the port is off the far end waits.
class BulkFeatureModel : public BulkModel
{
public:
    BulkFeatureModel(Port aPort, const DeviceProfile& aProfile, FeatureTree& aFeatures, OutputQueue& aOutputs);

    /// Adds the features of this port to the tree.
    void AddFeatures(const BulkFeatures& aLengths);

    const std::string& GetDownstreamName() const { return mDownstreamName; }
    const std::string& GetUpstreamName() const { return mUpstreamName; }

    /// The host writes a frame; a malformed one is counted and dropped. In SPI mode a frame is a transfer, and in I2C
    /// mode when its control word says so.
    void WriteDownstream(const std::uint8_t* aData, std::size_t aLength, Time aNow);

    /// The host reads the first aLength bytes of the upstream block, which ends it.
    void ReadUpstream(std::uint8_t* aBuffer, std::size_t aLength);

    /// Changes the settings of the line.
    void SetLine(const LineSettings& aSettings);

    /// Switches the event of the port; a block that still lies there is reported again.
    void EnableEvent(bool aEnabled);

    /// Reports a block that still lies there once more.
    void RepeatReport();

    /// True while bytes of the host are on their way out.
    bool IsSending() const { return !mOutgoing.empty(); }

    /// True while the event of the port is on.
    bool IsEventEnabled() const { return mEventEnabled; }

    const std::string& GetName() const { return mName; }

    void Advance(Time aNow) override;
    std::optional<Time> GetDeadline() const override;

private:
    static Destination GetDestination(const std::string& aMode, const DownstreamFrame& aFrame);
    std::string GetMode() const;
    Time GetByteTimeTo(const Destination& aDestination) const;
    std::size_t GetFlowRoom() const;
    void SendDue(Time aNow);
    bool CanFillUpstream() const;
    void FillUpstream(Time aNow);

    const bool mBigEndian;
    const LineTiming mTiming;
    Time mLineByteTime{0};   ///< on the line, as long as the port is no bus
    Time mByteTime{0};       ///< of what goes out now
    const std::string mName; ///< "Bulk0" to "Bulk7"
    const std::string mDownstreamName;
    const std::string mUpstreamName;
    const std::string mUpstreamLengthName;
    FeatureTree& mFeatures;
    std::deque<std::uint8_t> mOutgoing; ///< accepted from the host, not yet out
    Time mByteDone{0};                  ///< when the first of them is out
    bool mEventEnabled = false;
    std::vector<std::uint8_t> mUpstream; ///< the block that the host has not read yet
};

} // namespace KoSim
