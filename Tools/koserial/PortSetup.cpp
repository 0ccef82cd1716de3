#include "PortSetup.h"

#include "Failure.h"
#include "PortNames.h"

#include <IKoDeviceAdapter.h>
#include <KoDeviceSerialPort.h>

#include <algorithm>
#include <cstdio>

namespace KoTool
{
namespace
{

std::optional<std::uint32_t> ToBaudRate(const std::optional<std::string>& aEntry)
{
    int rate = 0;
    const bool isRate = aEntry && std::sscanf(aEntry->c_str(), "Baud%i", &rate) == 1;
    return isRate ? std::optional(static_cast<std::uint32_t>(rate)) : std::nullopt;
}

std::optional<KoParity> ToParity(const std::optional<std::string>& aEntry)
{
    if (aEntry == "None")
    {
        return KoParityNone;
    }
    if (aEntry == "Even")
    {
        return KoParityEven;
    }
    return aEntry == "Odd" ? std::optional(KoParityOdd) : std::nullopt;
}

std::optional<std::uint32_t> ToStopBits(const std::optional<std::string>& aEntry)
{
    if (aEntry == "One")
    {
        return 1;
    }
    return aEntry == "Two" ? std::optional(2U) : std::nullopt;
}

std::string FormatRates(const std::vector<std::uint32_t>& aRates)
{
    std::string text;
    for (const std::uint32_t rate : aRates)
    {
        text += (text.empty() ? "" : ", ") + std::to_string(rate);
    }
    return text.empty() ? "none that can be chosen" : text;
}

} // namespace

PortSetup::PortSetup(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort) : mName(GetPortName(aPort))
{
    if (!KoDeviceSerialPort::IsSupported(&aDevice, aPort))
    {
        throw Failure("the device does not offer " + mName);
    }
    SetPort(&aDevice, aPort);
    // This also selects the port, which stays selected. A port whose rate cannot be changed is no failure.
    const KuUtilsLib::Result listed = RefreshSupportedBaudRates();
    if (listed.GetCode() == KoResult::NOT_SUPPORTED)
    {
        throw MakeDeviceFailure("cannot select " + mName,
                                KoResult(listed.GetCode(), KoString(listed.GetDescription())));
    }
    for (std::uint32_t i = 0; i < GetSupportedBaudRateCount(); ++i)
    {
        mRates.push_back(GetSupportedBaudRate(i));
    }
    if (Read() == PortSettings())
    {
        throw Failure("the device has no settings for " + mName);
    }
}

PortSettings PortSetup::Read()
{
    PortSettings settings;
    settings.mBaudRate = ToBaudRate(ReadFeature(mBaudRateFeature));
    settings.mParity = ToParity(ReadFeature(mParityFeature));
    settings.mStopBits = ToStopBits(ReadFeature(mStopBitsFeature));
    settings.mBulkMode = ReadFeature(mBulkModeFeature);
    return settings;
}

void PortSetup::Apply(const PortSettings& aChanges)
{
    if (aChanges.mBaudRate)
    {
        CheckRate(*aChanges.mBaudRate);
    }
    const PortSettings wanted = Overlay(Read(), aChanges);
    mConfiguration.mBaudRate = wanted.mBaudRate.value_or(mConfiguration.mBaudRate);
    mConfiguration.mParity = wanted.mParity.value_or(mConfiguration.mParity);
    mConfiguration.mStopBits = wanted.mStopBits.value_or(mConfiguration.mStopBits);
    const KuUtilsLib::Result synced = SyncPortConfig();
    if (synced.GetCode() != KoResult::OK)
    {
        throw MakeDeviceFailure("cannot set up " + mName,
                                KoResult(synced.GetCode(), KoString(synced.GetDescription())));
    }
    // The library has put the port in UART mode.
    if (aChanges.mBulkMode && mBulkModeFeature.GetLength() != 0)
    {
        mDevice->SetGenEnumValue(mBulkModeFeature, KoString(aChanges.mBulkMode->c_str()));
    }
}

void PortSetup::CheckRate(std::uint32_t aRate) const
{
    if (std::find(mRates.begin(), mRates.end(), aRate) == mRates.end())
    {
        throw Failure(mName + " does not offer " + std::to_string(aRate) + " bit/s: it offers " + FormatRates(mRates));
    }
}

std::optional<std::string> PortSetup::ReadFeature(const KoString& aFeature)
{
    KoString value;
    if (aFeature.GetLength() == 0 || !mDevice->IsGenEnumReadable(aFeature))
    {
        return std::nullopt;
    }
    const KoResult read = mDevice->GetGenEnumValue(aFeature, value);
    if (!read.IsOK())
    {
        throw MakeDeviceFailure(std::string("cannot read ") + aFeature.GetAscii(), read);
    }
    return std::string(value.GetAscii());
}

} // namespace KoTool
