#include <KoSim/SimulatedDevice.h>

#include "DeviceRunner.h"

namespace KoSim
{
namespace
{

KoResult NoSuchFeature(const KoString& aName)
{
    return KoResult(KoResult::NOT_FOUND,
                    KoString(("The simulated device has no such feature: " + std::string(aName.GetAscii())).c_str()));
}

} // namespace

SimulatedDevice::SimulatedDevice(const DeviceProfile& aProfile)
    : mProfile(aProfile),
      mRunner(std::make_unique<DeviceRunner>(aProfile))
{
}

SimulatedDevice::~SimulatedDevice() = default;

void SimulatedDevice::SetLineEnd(Port aPort, std::shared_ptr<ILineEnd> aLineEnd)
{
    mRunner->SetLineEnd(aPort, std::move(aLineEnd));
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
    mRunner->WithModel([&](DeviceModel& aModel) { aModel.ResetLineStatistics(aPort); });
}

std::uint64_t SimulatedDevice::GetUnknownAccessCount() const
{
    return mRunner->WithModel([](const DeviceModel& aModel) { return aModel.GetUnknownAccessCount(); });
}

std::size_t SimulatedDevice::GetEventSinkCount() const
{
    return mRunner->GetSinkCount();
}

const DeviceProfile& SimulatedDevice::GetProfile() const
{
    return mProfile;
}

bool SimulatedDevice::IsGenIntegerPresent(const KoString& /*aName*/)
{
    return false;
}

bool SimulatedDevice::IsGenEnumPresent(const KoString& /*aName*/)
{
    return false;
}

bool SimulatedDevice::IsGenRegisterPresent(const KoString& /*aName*/)
{
    return false;
}

bool SimulatedDevice::IsGenEnumReadable(const KoString& /*aName*/)
{
    return false;
}

bool SimulatedDevice::IsGenEnumWritable(const KoString& /*aName*/)
{
    return false;
}

bool SimulatedDevice::IsGenEnumEntryAvailable(const KoString& /*aEnumName*/, const KoString& /*aEntryName*/)
{
    return false;
}

KoResult SimulatedDevice::GetGenIntegerValue(const KoString& aName, std::int64_t& /*aValue*/)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::GetGenEnumEntries(const KoString& aName, KoStringList& /*aEntries*/)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::GetGenEnumValue(const KoString& aName, KoString& /*aValue*/)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::SetGenEnumValue(const KoString& aName, const KoString& /*aValue*/)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::GetGenRegisterLength(const KoString& aName, std::int64_t& /*aLength*/)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::GetGenRegisterData(const KoString& aName, std::uint8_t* /*aBuffer*/, std::int64_t /*aLength*/)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::SetGenRegisterData(const KoString& aName, const std::uint8_t* /*aData*/,
                                             std::int64_t /*aLength*/)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::RegisterGenInvalidator(const KoString& aName)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::UnregisterGenInvalidator(const KoString& aName)
{
    return NoSuchFeature(aName);
}

KoResult SimulatedDevice::WriteRegister(std::uint32_t aAddress, std::uint32_t aValue)
{
    return mRunner->WithConnectedModel([&](DeviceModel& aModel, Time aNow)
                                       { aModel.WriteRegister(aAddress, aValue, aNow); });
}

KoResult SimulatedDevice::ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue)
{
    return mRunner->WithConnectedModel([&](DeviceModel& aModel, Time) { *aValue = aModel.ReadRegister(aAddress); });
}

KoResult SimulatedDevice::BulkTransmit(const std::uint8_t* aData, std::uint32_t /*aCommand*/, std::uint32_t aLength)
{
    bool taken = false;
    const KoResult result = mRunner->WithConnectedModel([&](DeviceModel& aModel, Time aNow)
                                                        { taken = aModel.BulkTransmit(aData, aLength, aNow); });
    return result.IsOK() && !taken ? KoResult(KoResult::NOT_SUPPORTED, "The simulated device has no bulk transmitter.")
                                   : result;
}

KoResult SimulatedDevice::WaitForIdle(std::uint32_t /*aTimeoutMs*/)
{
    // A write is with the device when its call returns.
    return KoResult(KoResult::OK);
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
