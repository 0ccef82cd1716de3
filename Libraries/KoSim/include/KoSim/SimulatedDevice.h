#pragma once

#include <IKoDeviceAdapter.h>
#include <KoSim/DeviceProfile.h>
#include <KoSim/II2cSlave.h>
#include <KoSim/ILineEnd.h>
#include <KoSim/ISpiSlave.h>
#include <KoSim/KoSimExport.h>
#include <KoSim/LineStatistics.h>
#include <KoSim/Port.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace KoSim
{

class DeviceRunner;

/// A device without hardware, for demos and tests: UARTs and bulk ports with the timing of their lines, registers,
/// features, interrupts and events, behind the adapter interface.
///
/// The device works on a thread of its own: it delivers events to the sinks and bytes to the far ends of the lines
/// there, one call at a time and in order. Every operation may be called from any thread, also from inside a sink or a
/// far end. A sink that unregisters itself from inside its own call is not called again after that call.
///
/// Each device has an identity text of its own unless profiles give two of them the same (DeviceProfile::mId).
///
/// Besides the adapter interface there is the back end, which tests and tools use to make the outside world happen.
class KO_SIM_API SimulatedDevice : public IKoDeviceAdapter
{
public:
    /// Creates a connected device with nothing at the far ends of its lines.
    /// @throws std::invalid_argument when the profile asks for what no device can have
    explicit SimulatedDevice(const DeviceProfile& aProfile = DeviceProfile());

    /// Detaches the far ends and stops. No sink is called any more.
    ///
    /// In a child of the process that made the device this does nothing: fork() leaves the thread of the device and the
    /// far ends with the parent. The child must not use its copy otherwise.
    ~SimulatedDevice() override;

    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    /// @name Back end
    /// @{

    /// Puts a far end on a line, in place of the one before, which is detached. NULL leaves the line open. Must not be
    /// called from inside a far end. A far end sits on one line at a time.
    /// @throws std::invalid_argument when it sits on another line; nothing changes then
    void SetLineEnd(Port aPort, std::shared_ptr<ILineEnd> aLineEnd);

    /// Puts a chip on the I2C bus that a bulk port drives while its "BulkMode" is "I2C", in place of the one before.
    /// NULL takes the chip away. One chip may sit on several buses of one device, which uses one at a time.
    /// @throws std::invalid_argument when the port is a UART, the address is above 0x7F or the chip sits in another
    ///         device; nothing changes then
    void SetI2cSlave(Port aPort, std::uint8_t aAddress, const std::shared_ptr<II2cSlave>& aSlave);

    /// Puts the chip on the SPI bus that a bulk port drives while its "BulkMode" is "SPI", in place of the one before.
    /// NULL takes it away. One chip may sit on several buses of one device, which uses one at a time.
    /// @throws std::invalid_argument when the port is a UART or the chip sits in another device; nothing changes then
    void SetSpiSlave(Port aPort, const std::shared_ptr<ISpiSlave>& aSlave);

    /// Plugs the device in again; registers keep their values.
    void Connect();

    /// Unplugs the device: every access fails with NOT_CONNECTED and events that were under way are lost.
    void Disconnect();

    /// Makes the device stop working, or go on: while it is frozen it still answers accesses, but its lines stand still
    /// and it sends no events.
    void Freeze(bool aFrozen);

    /// Waits until the device has delivered everything to sinks and far ends and its lines are at rest, which they are
    /// not while a far end holds the device back. Must not be called from inside a sink or a far end.
    /// @return false when that takes longer than aTimeout
    bool WaitUntilQuiet(std::chrono::milliseconds aTimeout) const;

    LineStatistics GetLineStatistics(Port aPort) const;

    /// Starts the statistics of a line anew.
    void ResetLineStatistics(Port aPort);

    /// Number of accesses to register addresses that the device does not have.
    std::uint64_t GetUnknownAccessCount() const;

    /// Changes whether an enumeration can be read and written now. It must exist (std::out_of_range).
    void SetEnumAccess(const std::string& aName, bool aReadable, bool aWritable);

    /// Changes whether an entry of an enumeration can be chosen now. The enumeration must exist (std::out_of_range).
    void SetEnumEntryAvailable(const std::string& aName, const std::string& aEntry, bool aAvailable);

    /// Changes the length of a register feature, to anything. It must exist (std::out_of_range).
    void SetRegisterLength(const std::string& aName, std::int64_t aLength);

    /// Takes a feature away.
    void RemoveFeature(const std::string& aName);

    /// Number of sinks that are registered.
    std::size_t GetEventSinkCount() const;

    /// The profile that the device was made from, with the identity text that it got.
    const DeviceProfile& GetProfile() const;

    /// @}
    /// @name Adapter
    /// @{
    bool IsGenIntegerPresent(const KoString& aName) override;
    bool IsGenEnumPresent(const KoString& aName) override;
    bool IsGenRegisterPresent(const KoString& aName) override;
    bool IsGenEnumReadable(const KoString& aName) override;
    bool IsGenEnumWritable(const KoString& aName) override;
    bool IsGenEnumEntryAvailable(const KoString& aEnumName, const KoString& aEntryName) override;
    KoResult GetGenIntegerValue(const KoString& aName, std::int64_t& aValue) override;
    KoResult GetGenEnumEntries(const KoString& aName, KoStringList& aEntries) override;
    KoResult GetGenEnumValue(const KoString& aName, KoString& aValue) override;
    KoResult SetGenEnumValue(const KoString& aName, const KoString& aValue) override;
    KoResult GetGenRegisterLength(const KoString& aName, std::int64_t& aLength) override;
    KoResult GetGenRegisterData(const KoString& aName, std::uint8_t* aBuffer, std::int64_t aLength) override;
    KoResult SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength) override;
    KoResult RegisterGenInvalidator(const KoString& aName) override;
    KoResult UnregisterGenInvalidator(const KoString& aName) override;
    KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t aValue) override;
    KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) override;
    KoResult BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength) override;
    KoResult WaitForIdle(std::uint32_t aTimeoutMs) override;
    bool IsConnected() override;
    bool IsTavricVideoInterface() override;
    bool IsGigEVision() override;
    KoResult RegisterEventSink(IKoDeviceEventSink* aSink) override;
    KoResult UnregisterEventSink(IKoDeviceEventSink* aSink) override;
    KoResult GetDeviceId(KoString& aId) override;
    /// @}

private:
    template <typename Access>
    KoResult WithEnum(const KoString& aName, Access aAccess);
    template <typename Access>
    KoResult WithBlock(const KoString& aName, Access aAccess);

    const DeviceProfile mProfile;
    std::unique_ptr<DeviceRunner> mRunner;
};

} // namespace KoSim
