#pragma once

#include "BulkFeatureModel.h"
#include "BulkFifoModel.h"
#include "FeatureTree.h"
#include "LineFeatures.h"
#include "Output.h"
#include "PortModel.h"
#include "UartModel.h"

#include <KoSim/DeviceProfile.h>
#include <KoSim/LineStatistics.h>
#include <KoSim/Port.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace KoSim
{

/// The device itself: registers, lines and the events that they cause. It has no thread and no clock, and it does not
/// know who its host is or how the host reaches it: whoever drives it passes on accesses and bytes, says what time it
/// is and carries its outputs away. Before an access that carries the time, everything happens that is due.
class DeviceModel
{
public:
    /// @throws std::invalid_argument when the profile asks for what no device can have
    explicit DeviceModel(const DeviceProfile& aProfile);

    DeviceModel(const DeviceModel&) = delete;
    DeviceModel& operator=(const DeviceModel&) = delete;

    /// Reads a register; an address that the device does not have reads 0 and is counted.
    std::uint32_t ReadRegister(std::uint32_t aAddress, Time aNow);

    /// Writes a register; an address that the device does not have is counted.
    void WriteRegister(std::uint32_t aAddress, std::uint32_t aValue, Time aNow);

    /// Hands a block of bytes with its command word to the transmitter of bulk port 0; false when the device has none.
    bool BulkTransmit(const std::uint8_t* aData, std::size_t aLength, std::uint32_t aCommand, Time aNow);

    /// Puts chips on the buses of a bulk port.
    /// @throws std::invalid_argument when there is no such bus or address
    void SetI2cSlave(Port aPort, std::uint8_t aAddress, const std::shared_ptr<II2cSlave>& aSlave);
    void SetSpiSlave(Port aPort, const std::shared_ptr<ISpiSlave>& aSlave);

    /// The features, for a host that asks, and for a back end that changes them.
    FeatureTree& GetFeatures() { return mFeatures; }

    /// Chooses an entry of an enumeration that exists.
    void SetEnumValue(const std::string& aName, const std::string& aEntry);

    /// Watches a feature; false when the device does not have it.
    bool Watch(const std::string& aName);

    /// Writes a block feature; false when it cannot be written.
    bool WriteBlock(const std::string& aName, const std::uint8_t* aData, std::size_t aLength, Time aNow);

    /// Reads a block feature; false when it cannot be read.
    bool ReadBlock(const std::string& aName, std::uint8_t* aBuffer, std::size_t aLength);

    /// True while frames of the host are on their way out.
    bool IsSending() const;

    /// Reports again what the host may have missed.
    void RepeatReports();

    /// Puts bytes on the line of a port at its far end.
    void Receive(Port aPort, const std::uint8_t* aData, std::size_t aLength, Time aNow);

    /// Says how the far end of a line is set up; nothing when it follows the device.
    void SetFarEndSettings(Port aPort, const std::optional<LineSettings>& aSettings);

    /// The far end of a line makes the device wait with what it sends, or lets it go on.
    void HoldBack(Port aPort, bool aHold);

    /// True while a far end makes the device wait.
    bool IsHeldBack();

    /// Number of bytes that Receive() can take without loss.
    std::size_t GetRoom(Port aPort);

    /// Makes the device stop working, or go on: while it is frozen, Advance() does nothing.
    void SetFrozen(bool aFrozen) { mFrozen = aFrozen; }

    /// Lets everything happen that is due.
    void Advance(Time aNow);

    /// When something is due next; nothing when only the outside world can make something happen.
    std::optional<Time> GetDeadline();

    /// What the device has to tell the outside world; whoever carries it away takes it out.
    OutputQueue& GetOutputs() { return mOutputs; }

    /// Tells that an event is being delivered; false when it is outdated: then it must not be.
    bool StartDelivery(const EventOutput& aEvent);

    /// Counts the bytes of an event as reported to the host, or as lost when no host listened.
    void CountEvent(const EventOutput& aEvent, bool aDelivered);

    LineStatistics GetLineStatistics(Port aPort) const;

    /// Starts the statistics of a line anew.
    void ResetLineStatistics(Port aPort);

    std::uint64_t GetUnknownAccessCount() const { return mUnknownAccesses; }

private:
    PortModel& GetPort(Port aPort);
    template <typename Action>
    void ForEachPort(Action aAction);
    template <typename Action>
    void ForEachModelOf(Port aPort, Action aAction);
    BulkFeatureModel& GetBulk(Port aPort);
    void AddFeatures(const DeviceProfile& aProfile);
    void SetUpBulk0();
    UartModel* FindUart(std::uint32_t aAddress);
    bool ReadBulkRegister(std::uint32_t aAddress, std::uint32_t& aValue) const;
    bool WriteBulkRegister(std::uint32_t aAddress, std::uint32_t aValue);
    std::uint32_t GetFunctionCaps() const;
    void SetInterruptEnable(std::uint32_t aValue);

    const std::uint32_t mUartCount;
    OutputQueue mOutputs;
    const bool mBulk0InRegisters;
    const bool mBulk0RunsI2c;
    const LineSettings mBulkLine;
    std::array<UartModel, 2> mUarts;
    BulkFifoModel mBulk0;
    FeatureTree mFeatures;
    LineFeatures mLineFeatures;
    std::vector<std::unique_ptr<BulkFeatureModel>> mBulks; ///< by bulk port
    bool mFrozen = false;
    std::uint32_t mInterruptEnable = 0;
    std::uint64_t mUnknownAccesses = 0;
};

} // namespace KoSim
