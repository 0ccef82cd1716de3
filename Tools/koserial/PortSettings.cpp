#include "PortSettings.h"

#include "Failure.h"
#include "Numbers.h"

#include <algorithm>
#include <array>
#include <map>
#include <sstream>

namespace KoTool
{
namespace
{

/// By KoParity.
constexpr std::array<const char*, 3> PARITIES = {"none", "even", "odd"};

constexpr NumberRange BAUD_RATES = {1, 0xFFFFFFFF};
constexpr NumberRange STOP_BITS = {1, 2};

template <typename Value>
void SetOnce(std::optional<Value>& aSetting, const std::string& aKey, Value aValue)
{
    if (aSetting)
    {
        throw Failure(aKey + " is given twice");
    }
    aSetting = std::move(aValue);
}

std::uint32_t ToNumber(const std::string& aKey, const std::string& aValue, NumberRange aRange)
{
    return static_cast<std::uint32_t>(ParseNumber(aKey, aValue, aRange));
}

void Apply(PortSettings& aSettings, const std::string& aKey, const std::string& aValue)
{
    if (aKey == "baud")
    {
        SetOnce(aSettings.mBaudRate, aKey, ToNumber(aKey, aValue, BAUD_RATES));
    }
    else if (aKey == "parity")
    {
        SetOnce(aSettings.mParity, aKey, ParseParity(aValue));
    }
    else if (aKey == "stop-bits")
    {
        SetOnce(aSettings.mStopBits, aKey, ToNumber(aKey, aValue, STOP_BITS));
    }
    else if (aKey == "bulk-mode")
    {
        SetOnce(aSettings.mBulkMode, aKey, aValue);
    }
    else
    {
        throw Failure("unknown setting '" + aKey + "': the settings are baud, parity, stop-bits and bulk-mode");
    }
}

void ParseLine(PortSettings& aSettings, const std::string& aLine)
{
    std::istringstream line(aLine);
    std::string key;
    std::string value;
    std::string rest;
    line >> key >> value;
    if (key.empty() || key.front() == '#')
    {
        return;
    }
    if (value.empty() || line >> rest)
    {
        throw Failure("a line has a setting and its value, as in 'baud 115200'");
    }
    Apply(aSettings, key, value);
}

} // namespace

PortSettings Overlay(const PortSettings& aBase, const PortSettings& aChanges)
{
    PortSettings settings = aBase;
    settings.mBaudRate = aChanges.mBaudRate ? aChanges.mBaudRate : aBase.mBaudRate;
    settings.mParity = aChanges.mParity ? aChanges.mParity : aBase.mParity;
    settings.mStopBits = aChanges.mStopBits ? aChanges.mStopBits : aBase.mStopBits;
    settings.mBulkMode = aChanges.mBulkMode ? aChanges.mBulkMode : aBase.mBulkMode;
    return settings;
}

bool operator==(const PortSettings& aLeft, const PortSettings& aRight)
{
    return aLeft.mBaudRate == aRight.mBaudRate && aLeft.mParity == aRight.mParity &&
           aLeft.mStopBits == aRight.mStopBits && aLeft.mBulkMode == aRight.mBulkMode;
}

std::string FormatParity(KoParity aParity)
{
    return PARITIES.at(static_cast<std::size_t>(aParity));
}

KoParity ParseParity(const std::string& aText)
{
    const auto* const parity = std::find(PARITIES.begin(), PARITIES.end(), aText);
    if (parity == PARITIES.end())
    {
        throw MakeUsageFailure("parity cannot be '" + aText + "': it can be none, even or odd");
    }
    return static_cast<KoParity>(parity - PARITIES.begin());
}

std::string FormatSettings(const PortSettings& aSettings)
{
    std::ostringstream text;
    if (aSettings.mBaudRate)
    {
        text << "baud " << *aSettings.mBaudRate << '\n';
    }
    if (aSettings.mParity)
    {
        text << "parity " << FormatParity(*aSettings.mParity) << '\n';
    }
    if (aSettings.mStopBits)
    {
        text << "stop-bits " << *aSettings.mStopBits << '\n';
    }
    if (aSettings.mBulkMode)
    {
        text << "bulk-mode " << *aSettings.mBulkMode << '\n';
    }
    return text.str();
}

PortSettings ParseSettings(const std::string& aName, const std::string& aText)
{
    PortSettings settings;
    std::istringstream lines(aText);
    std::string line;
    for (unsigned number = 1; std::getline(lines, line); ++number)
    {
        try
        {
            ParseLine(settings, line);
        }
        catch (const Failure& failure)
        {
            throw Failure(aName + ", line " + std::to_string(number) + ": " + failure.what());
        }
    }
    return settings;
}

} // namespace KoTool
