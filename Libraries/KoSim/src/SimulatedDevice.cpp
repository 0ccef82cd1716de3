#include <KoSim/SimulatedDevice.h>

#include "DeviceRunner.h"

#include <atomic>

namespace KoSim
{
namespace
{

/// Devices that have been named so far.
std::atomic<std::uint64_t> sNamedDevices{0};

DeviceProfile WithIdentity(DeviceProfile aProfile)
{
    if (aProfile.mId.empty())
    {
        // Never the text of a device that is gone: a port may still be held in its name.
        const std::uint64_t number = ++sNamedDevices;
        aProfile.mId = number == 1 ? "sim" : "sim-" + std::to_string(number);
    }
    return aProfile;
}

std::string TextOf(const KoString& aText)
{
    return aText.GetAscii();
}

KoResult NoSuchFeature(const KoString& aName)
{
    return KoResult(KoResult::NOT_FOUND,
                    KoString(("The simulated device has no such feature: " + TextOf(aName)).c_str()));
}

} // namespace

/// Runs aAccess(model, enumeration) on a connected device that has that enumeration.
template <typename Access>
KoResult SimulatedDevice::WithEnum(const KoString& aName, Access aAccess)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time)
        {
            const Enumeration* const found = aModel.GetFeatures().FindEnumeration(TextOf(aName));
            return found == nullptr ? NoSuchFeature(aName) : aAccess(aModel, *found);
        });
}

/// Runs aAccess(model, now, block) on a connected device that has that block.
template <typename Access>
KoResult SimulatedDevice::WithBlock(const KoString& aName, Access aAccess)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time aNow)
        {
            const auto& blocks = aModel.GetFeatures().mBlocks;
            const auto found = blocks.find(TextOf(aName));
            return found == blocks.end() ? NoSuchFeature(aName) : aAccess(aModel, aNow, found->second);
        });
}

SimulatedDevice::SimulatedDevice(const DeviceProfile& aProfile)
    : mProfile(WithIdentity(aProfile)),
      mRunner(std::make_unique<DeviceRunner>(aProfile))
{
}

SimulatedDevice::~SimulatedDevice()
{
    if (mRunner->IsLeft())
    {
        [[maybe_unused]] const DeviceRunner* const leftToTheParent = mRunner.release();
    }
}

void SimulatedDevice::SetLineEnd(Port aPort, std::shared_ptr<ILineEnd> aLineEnd)
{
    mRunner->SetLineEnd(aPort, std::move(aLineEnd));
}

void SimulatedDevice::SetI2cSlave(Port aPort, std::uint8_t aAddress, const std::shared_ptr<II2cSlave>& aSlave)
{
    mRunner->SetI2cSlave(aPort, aAddress, aSlave);
}

void SimulatedDevice::SetSpiSlave(Port aPort, const std::shared_ptr<ISpiSlave>& aSlave)
{
    mRunner->SetSpiSlave(aPort, aSlave);
}

void SimulatedDevice::Connect()
{
    mRunner->SetConnected(true);
}

void SimulatedDevice::Disconnect()
{
    mRunner->SetConnected(false);
}

void SimulatedDevice::Freeze(bool aFrozen)
{
    mRunner->SetFrozen(aFrozen);
}

bool SimulatedDevice::WaitUntilQuiet(std::chrono::milliseconds aTimeout) const
{
    return mRunner->WaitUntilQuiet(aTimeout);
}

LineStatistics SimulatedDevice::GetLineStatistics(Port aPort) const
{
    return mRunner->WithModel([&](const DeviceModel& aModel) { return aModel.GetLineStatistics(aPort); });
}

void SimulatedDevice::ResetLineStatistics(Port aPort)
{
    mRunner->ChangeModel([&](DeviceModel& aModel) { aModel.ResetLineStatistics(aPort); });
}

std::uint64_t SimulatedDevice::GetUnknownAccessCount() const
{
    return mRunner->WithModel([](const DeviceModel& aModel) { return aModel.GetUnknownAccessCount(); });
}

std::size_t SimulatedDevice::GetEventSinkCount() const
{
    return mRunner->GetSinkCount();
}

void SimulatedDevice::SetEnumAccess(const std::string& aName, bool aReadable, bool aWritable)
{
    mRunner->ChangeModel(
        [&](DeviceModel& aModel)
        {
            Enumeration& enumeration = aModel.GetFeatures().mEnumerations.at(aName);
            enumeration.mReadable = aReadable;
            enumeration.mWritable = aWritable;
        });
}

void SimulatedDevice::SetEnumEntryAvailable(const std::string& aName, const std::string& aEntry, bool aAvailable)
{
    mRunner->ChangeModel(
        [&](DeviceModel& aModel)
        {
            std::set<std::string>& unavailable = aModel.GetFeatures().mEnumerations.at(aName).mUnavailable;
            if (aAvailable)
            {
                unavailable.erase(aEntry);
            }
            else
            {
                unavailable.insert(aEntry);
            }
        });
}

void SimulatedDevice::SetRegisterLength(const std::string& aName, std::int64_t aLength)
{
    mRunner->ChangeModel([&](DeviceModel& aModel) { aModel.GetFeatures().mBlocks.at(aName).mLength = aLength; });
}

void SimulatedDevice::RemoveFeature(const std::string& aName)
{
    mRunner->ChangeModel([&](DeviceModel& aModel) { aModel.GetFeatures().Remove(aName); });
}

const DeviceProfile& SimulatedDevice::GetProfile() const
{
    return mProfile;
}

bool SimulatedDevice::IsGenIntegerPresent(const KoString& aName)
{
    return mRunner->WithModel([&](DeviceModel& aModel)
                              { return aModel.GetFeatures().mIntegers.count(TextOf(aName)) != 0; });
}

bool SimulatedDevice::IsGenEnumPresent(const KoString& aName)
{
    return mRunner->WithModel([&](DeviceModel& aModel)
                              { return aModel.GetFeatures().FindEnumeration(TextOf(aName)) != nullptr; });
}

bool SimulatedDevice::IsGenRegisterPresent(const KoString& aName)
{
    return mRunner->WithModel([&](DeviceModel& aModel)
                              { return aModel.GetFeatures().mBlocks.count(TextOf(aName)) != 0; });
}

bool SimulatedDevice::IsGenEnumReadable(const KoString& aName)
{
    return IsConnected() && mRunner->WithModel(
                                [&](DeviceModel& aModel)
                                {
                                    const Enumeration* const found =
                                        aModel.GetFeatures().FindEnumeration(TextOf(aName));
                                    return found != nullptr && found->mReadable;
                                });
}

bool SimulatedDevice::IsGenEnumWritable(const KoString& aName)
{
    return IsConnected() && mRunner->WithModel(
                                [&](DeviceModel& aModel)
                                {
                                    const Enumeration* const found =
                                        aModel.GetFeatures().FindEnumeration(TextOf(aName));
                                    return found != nullptr && found->mWritable;
                                });
}

bool SimulatedDevice::IsGenEnumEntryAvailable(const KoString& aEnumName, const KoString& aEntryName)
{
    return IsConnected() &&
           mRunner->WithModel([&](DeviceModel& aModel)
                              { return aModel.GetFeatures().IsEntryAvailable(TextOf(aEnumName), TextOf(aEntryName)); });
}

KoResult SimulatedDevice::GetGenIntegerValue(const KoString& aName, std::int64_t& aValue)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time)
        {
            const auto& integers = aModel.GetFeatures().mIntegers;
            const auto found = integers.find(TextOf(aName));
            if (found == integers.end())
            {
                return NoSuchFeature(aName);
            }
            aValue = found->second;
            return KoResult(KoResult::OK);
        });
}

KoResult SimulatedDevice::GetGenEnumEntries(const KoString& aName, KoStringList& aEntries)
{
    return WithEnum(aName,
                    [&](DeviceModel&, const Enumeration& aEnumeration)
                    {
                        aEntries.Clear();
                        for (const std::string& entry : aEnumeration.mEntries)
                        {
                            aEntries.Add(KoString(entry.c_str()));
                        }
                        return KoResult(KoResult::OK);
                    });
}

KoResult SimulatedDevice::GetGenEnumValue(const KoString& aName, KoString& aValue)
{
    return WithEnum(aName,
                    [&](DeviceModel& aModel, const Enumeration& aEnumeration)
                    {
                        if (!aEnumeration.mReadable)
                        {
                            return KoResult(KoResult::GENERIC_ERROR, "The feature cannot be read now.");
                        }
                        aValue = KoString(aModel.GetFeatures().GetEnumValue(TextOf(aName)).c_str());
                        return KoResult(KoResult::OK);
                    });
}

KoResult SimulatedDevice::SetGenEnumValue(const KoString& aName, const KoString& aValue)
{
    return WithEnum(aName,
                    [&](DeviceModel& aModel, const Enumeration& aEnumeration)
                    {
                        if (!aEnumeration.mWritable)
                        {
                            return KoResult(KoResult::GENERIC_ERROR, "The feature cannot be written now.");
                        }
                        if (!aModel.GetFeatures().IsEntryAvailable(TextOf(aName), TextOf(aValue)))
                        {
                            return KoResult(KoResult::INVALID_PARAMETER, "The feature has no such entry now.");
                        }
                        aModel.SetEnumValue(TextOf(aName), TextOf(aValue));
                        return KoResult(KoResult::OK);
                    });
}

KoResult SimulatedDevice::GetGenRegisterLength(const KoString& aName, std::int64_t& aLength)
{
    return WithBlock(aName,
                     [&](DeviceModel&, Time, const Block& aBlock)
                     {
                         aLength = aBlock.mLength;
                         return KoResult(KoResult::OK);
                     });
}

KoResult SimulatedDevice::GetGenRegisterData(const KoString& aName, std::uint8_t* aBuffer, std::int64_t aLength)
{
    return WithBlock(aName,
                     [&](DeviceModel& aModel, Time, const Block& aBlock)
                     {
                         if (aLength < 0 || aLength > aBlock.mLength)
                         {
                             return KoResult(KoResult::INVALID_PARAMETER, "The register is shorter than that.");
                         }
                         return aModel.ReadBlock(TextOf(aName), aBuffer, static_cast<std::size_t>(aLength))
                                    ? KoResult(KoResult::OK)
                                    : KoResult(KoResult::GENERIC_ERROR, "The feature cannot be read.");
                     });
}

KoResult SimulatedDevice::SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength)
{
    return WithBlock(aName,
                     [&](DeviceModel& aModel, Time aNow, const Block& aBlock)
                     {
                         // A frame is padded to whole words.
                         if (aLength < 0 || aLength > aBlock.GetPaddedLength())
                         {
                             return KoResult(KoResult::INVALID_PARAMETER, "The register is shorter than that.");
                         }
                         return aModel.WriteBlock(TextOf(aName), aData, static_cast<std::size_t>(aLength), aNow)
                                    ? KoResult(KoResult::OK)
                                    : KoResult(KoResult::GENERIC_ERROR, "The feature cannot be written.");
                     });
}

KoResult SimulatedDevice::RegisterGenInvalidator(const KoString& aName)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time)
        { return aModel.Watch(TextOf(aName)) ? KoResult(KoResult::OK) : NoSuchFeature(aName); });
}

KoResult SimulatedDevice::UnregisterGenInvalidator(const KoString& aName)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time)
        {
            if (!aModel.GetFeatures().Has(TextOf(aName)))
            {
                return NoSuchFeature(aName);
            }
            return aModel.GetFeatures().Unwatch(TextOf(aName))
                       ? KoResult(KoResult::OK)
                       : KoResult(KoResult::NOT_FOUND, "The feature is not watched.");
        });
}

KoResult SimulatedDevice::WriteRegister(std::uint32_t aAddress, std::uint32_t aValue)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time aNow)
        {
            aModel.WriteRegister(aAddress, aValue, aNow);
            return KoResult(KoResult::OK);
        });
}

KoResult SimulatedDevice::ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time aNow)
        {
            *aValue = aModel.ReadRegister(aAddress, aNow);
            return KoResult(KoResult::OK);
        });
}

KoResult SimulatedDevice::BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength)
{
    return mRunner->WithConnectedModel(
        [&](DeviceModel& aModel, Time aNow)
        {
            return aModel.BulkTransmit(aData, aLength, aCommand, aNow)
                       ? KoResult(KoResult::OK)
                       : KoResult(KoResult::NOT_SUPPORTED, "The simulated device has no bulk transmitter.");
        });
}

KoResult SimulatedDevice::WaitForIdle(std::uint32_t aTimeoutMs)
{
    return mRunner->WaitUntilSent(std::chrono::milliseconds(aTimeoutMs)) ? KoResult(KoResult::OK)
                                                                         : KoResult(KoResult::TIMEOUT);
}

bool SimulatedDevice::IsConnected()
{
    return mRunner->IsConnected();
}

bool SimulatedDevice::IsTavricVideoInterface()
{
    return mProfile.mTavricVideoInterface;
}

bool SimulatedDevice::IsGigEVision()
{
    return mProfile.mGigEVision;
}

KoResult SimulatedDevice::RegisterEventSink(IKoDeviceEventSink* aSink)
{
    return mRunner->AddSink(aSink)
               ? KoResult(KoResult::OK)
               : KoResult(KoResult::INVALID_PARAMETER, "The event sink is NULL or registered already.");
}

KoResult SimulatedDevice::UnregisterEventSink(IKoDeviceEventSink* aSink)
{
    return mRunner->RemoveSink(aSink) ? KoResult(KoResult::OK)
                                      : KoResult(KoResult::NOT_FOUND, "The event sink is not registered.");
}

KoResult SimulatedDevice::GetDeviceId(KoString& aId)
{
    aId = KoString(mProfile.mId.c_str());
    return KoResult(KoResult::OK);
}

} // namespace KoSim
