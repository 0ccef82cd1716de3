#include "LineFeatures.h"

#include "PortNames.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace KoSim
{
namespace
{

const char* const BAUD_RATE = "BaudRate";
const char* const PARITY = "Parity";
const char* const STOP_BITS = "NumOfStopBits";

constexpr std::array<std::uint32_t, 10> BAUD_RATES = {9600,  14400,  19200,  28800,  38400,
                                                      57600, 115200, 230400, 460800, 921600};

/// By LineParity.
constexpr std::array<const char*, 3> PARITIES = {"None", "Even", "Odd"};

/// By number of stop bits, less one.
constexpr std::array<const char*, 2> STOP_BIT_COUNTS = {"One", "Two"};

const std::string BAUD = "Baud";

std::string GetBaudEntry(std::uint32_t aRate)
{
    return BAUD + std::to_string(aRate);
}

template <std::size_t Count>
std::size_t Find(const std::array<const char*, Count>& aEntries, const std::string& aEntry)
{
    return static_cast<std::size_t>(std::find(aEntries.begin(), aEntries.end(), aEntry) - aEntries.begin());
}

} // namespace

void LineFeatures::Add(Port aPort, const LineSettings& aSettings)
{
    std::vector<std::string> rates;
    std::transform(BAUD_RATES.begin(), BAUD_RATES.end(), std::back_inserter(rates), &GetBaudEntry);
    AddEnumeration(aPort, BAUD_RATE, rates, GetBaudEntry(aSettings.mBaudRate));
    AddEnumeration(aPort, PARITY, {PARITIES.begin(), PARITIES.end()},
                   PARITIES.at(static_cast<std::size_t>(aSettings.mParity)));
    AddEnumeration(aPort, STOP_BITS, {STOP_BIT_COUNTS.begin(), STOP_BIT_COUNTS.end()},
                   STOP_BIT_COUNTS.at(aSettings.mStopBits - 1));
}

LineSettings LineFeatures::Get(Port aPort, const LineSettings& aElse) const
{
    LineSettings settings = aElse;
    if (const std::string rate = GetValue(aPort, BAUD_RATE); !rate.empty())
    {
        settings.mBaudRate = static_cast<std::uint32_t>(std::stoul(rate.substr(BAUD.size())));
    }
    if (const std::string parity = GetValue(aPort, PARITY); !parity.empty())
    {
        settings.mParity = static_cast<LineParity>(Find(PARITIES, parity));
    }
    if (const std::string count = GetValue(aPort, STOP_BITS); !count.empty())
    {
        settings.mStopBits = static_cast<std::uint32_t>(Find(STOP_BIT_COUNTS, count) + 1);
    }
    return settings;
}

bool LineFeatures::IsAbout(Port aPort, const std::string& aName) const
{
    const std::string prefix = GetPrefix(aPort);
    return aName == prefix + BAUD_RATE || aName == prefix + PARITY || aName == prefix + STOP_BITS;
}

std::string LineFeatures::GetPrefix(Port aPort) const
{
    return aPort >= Port::Bulk0 && mHasBulkSelector ? "Bulk" : GetPortName(aPort);
}

/// Adds the enumeration, or to the one that is switched by the selector what it shows for this port.
void LineFeatures::AddEnumeration(Port aPort, const char* aSuffix, const std::vector<std::string>& aEntries,
                                  const std::string& aValue)
{
    Enumeration& enumeration = mTree.mEnumerations[GetPrefix(aPort) + aSuffix];
    if (enumeration.mEntries.empty())
    {
        enumeration.mEntries = aEntries;
        enumeration.mDefault = aValue;
        enumeration.mSelector = aPort >= Port::Bulk0 && mHasBulkSelector ? "BulkSelector" : "";
    }
    if (std::count(enumeration.mEntries.begin(), enumeration.mEntries.end(), aValue) == 0)
    {
        enumeration.mEntries.push_back(aValue);
    }
    if (!enumeration.mSelector.empty())
    {
        enumeration.mValues[GetPortName(aPort)] = aValue;
    }
}

/// What an enumeration shows for a port; empty when it is not there.
std::string LineFeatures::GetValue(Port aPort, const char* aSuffix) const
{
    return mTree.GetEnumValue(GetPrefix(aPort) + aSuffix, GetPortName(aPort));
}

} // namespace KoSim
