#include "DeviceUri.h"

#include "Failure.h"
#include "Numbers.h"
#include "PortNames.h"

#include <map>
#include <set>
#include <vector>

namespace KoTool
{
namespace
{

/// The range of speeds that POSIX terminals know.
constexpr NumberRange BAUD_RATES = {50, 4000000};

const std::string PTY_WITH_LINK = "pty:";
const std::string LOOPBACK_WITH_RATE = "loopback:";
const char* const FAR_ENDS = "console, loopback, loopback:RATE, pty, pty:LINK or null";

struct Setting
{
    std::string mKey;
    std::string mValue;
};

Failure MakeValueFailure(const Setting& aSetting, const std::string& aAccepted)
{
    return MakeUsageFailure("device: " + aSetting.mKey + " cannot be '" + aSetting.mValue + "': it can be " +
                            aAccepted);
}

std::uint32_t ParseBaudRate(const Setting& aSetting)
{
    return static_cast<std::uint32_t>(ParseNumber("device: " + aSetting.mKey, aSetting.mValue, BAUD_RATES));
}

/// True when there is something after the prefix.
bool HasPrefix(const std::string& aText, const std::string& aPrefix)
{
    return aText.rfind(aPrefix, 0) == 0 && aText.size() > aPrefix.size();
}

FarEnd ParseFarEnd(const Setting& aSetting)
{
    static const std::map<std::string, FarEnd::Kind> KINDS = {{"console", FarEnd::Kind::Console},
                                                              {"loopback", FarEnd::Kind::Loopback},
                                                              {"pty", FarEnd::Kind::Pty},
                                                              {"null", FarEnd::Kind::Nothing}};
    const std::string& value = aSetting.mValue;
    if (const auto found = KINDS.find(value); found != KINDS.end())
    {
        return {found->second, {}, 0};
    }
    if (HasPrefix(value, PTY_WITH_LINK))
    {
        return {FarEnd::Kind::Pty, value.substr(PTY_WITH_LINK.size()), 0};
    }
    if (HasPrefix(value, LOOPBACK_WITH_RATE))
    {
        return {FarEnd::Kind::Loopback, {}, ParseBaudRate({aSetting.mKey, value.substr(LOOPBACK_WITH_RATE.size())})};
    }
    throw MakeValueFailure(aSetting, FAR_ENDS);
}

KoSim::LineTiming ParseTiming(const Setting& aSetting)
{
    if (aSetting.mValue == "real")
    {
        return KoSim::LineTiming::Real;
    }
    if (aSetting.mValue == "instant")
    {
        return KoSim::LineTiming::Instant;
    }
    throw MakeValueFailure(aSetting, "real or instant");
}

std::string ParseText(const Setting& aSetting, const char* aWhat)
{
    if (aSetting.mValue.empty())
    {
        throw MakeValueFailure(aSetting, std::string("any ") + aWhat + " without a comma, but not empty");
    }
    return aSetting.mValue;
}

void SetBaudRate(KoSim::DeviceProfile& aProfile, std::uint32_t aRate)
{
    for (KoSim::LineSettings& line : aProfile.mLines)
    {
        line.mBaudRate = aRate;
    }
    aProfile.mBulkLine.mBaudRate = aRate;
}

void Apply(DeviceUri& aUri, const Setting& aSetting)
{
    if (const KoDeviceSerial port = FindPort(aSetting.mKey); port != KoDeviceSerialInvalid)
    {
        aUri.mFarEnds.at(static_cast<std::size_t>(port)) = ParseFarEnd(aSetting);
    }
    else if (aSetting.mKey == "timing")
    {
        aUri.mProfile.mTiming = ParseTiming(aSetting);
    }
    else if (aSetting.mKey == "baud")
    {
        SetBaudRate(aUri.mProfile, ParseBaudRate(aSetting));
    }
    else if (aSetting.mKey == "id")
    {
        aUri.mProfile.mId = ParseText(aSetting, "text");
    }
    else if (aSetting.mKey == "eeprom")
    {
        aUri.mEepromFile = ParseText(aSetting, "path");
    }
    else if (aSetting.mKey == "flash")
    {
        aUri.mFlashFile = ParseText(aSetting, "path");
    }
    else
    {
        throw MakeUsageFailure("device: unknown key '" + aSetting.mKey +
                               "': the keys are uart0, uart1, bulk0 to bulk7, timing, baud, id, eeprom and flash");
    }
}

Setting ParseSetting(const std::string& aText)
{
    const std::size_t equals = aText.find('=');
    return {aText.substr(0, equals), equals == std::string::npos ? std::string() : aText.substr(equals + 1)};
}

KoSim::DeviceProfile ParseProfile(const std::string& aKindAndProfile)
{
    using Preset = KoSim::DeviceProfile (*)();
    static const std::map<std::string, Preset> PRESETS = {
        {"full", &KoSim::DeviceProfile::FullDevice},
        {"uart-only", &KoSim::DeviceProfile::UartOnly},
        {"no-bulk-selector", &KoSim::DeviceProfile::NoBulkSelector},
        {"not-gige-vision", &KoSim::DeviceProfile::NotGigEVision},
        {"tiny-downstream", &KoSim::DeviceProfile::TinyDownstreamRegister}};
    const std::size_t colon = aKindAndProfile.find(':');
    const std::string kind = aKindAndProfile.substr(0, colon);
    if (kind != "sim")
    {
        throw MakeUsageFailure("device: unknown kind '" + kind + "': a device is sim[:PROFILE][,KEY=VALUE...]");
    }
    const std::string name = colon == std::string::npos ? "full" : aKindAndProfile.substr(colon + 1);
    const auto preset = PRESETS.find(name);
    if (preset == PRESETS.end())
    {
        throw MakeUsageFailure("device: unknown profile '" + name +
                               "': the profiles are full, uart-only, no-bulk-selector, not-gige-vision and "
                               "tiny-downstream");
    }
    return preset->second();
}

std::vector<std::string> SplitAtCommas(const std::string& aText)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t comma = aText.find(','); comma != std::string::npos; comma = aText.find(',', start))
    {
        parts.push_back(aText.substr(start, comma - start));
        start = comma + 1;
    }
    parts.push_back(aText.substr(start));
    return parts;
}

} // namespace

DeviceUri::DeviceUri()
{
    mFarEnds[KoDeviceSerialUart0].mKind = FarEnd::Kind::Console;
}

DeviceUri ParseDeviceUri(const std::string& aText)
{
    const std::vector<std::string> parts = SplitAtCommas(aText);
    DeviceUri uri;
    uri.mProfile = ParseProfile(parts.front());
    uri.mProfile.mId = "sim";
    uri.mProfile.mTiming = KoSim::LineTiming::Real;
    std::set<std::string> seenKeys;
    for (auto part = parts.begin() + 1; part != parts.end(); ++part)
    {
        const Setting setting = ParseSetting(*part);
        Apply(uri, setting);
        if (!seenKeys.insert(setting.mKey).second)
        {
            throw MakeUsageFailure("device: " + setting.mKey + " is given twice");
        }
    }
    return uri;
}

} // namespace KoTool
