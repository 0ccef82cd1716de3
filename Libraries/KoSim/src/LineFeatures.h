#pragma once

#include "FeatureTree.h"

#include <KoSim/LineSettings.h>
#include <KoSim/Port.h>

#include <string>
#include <vector>

namespace KoSim
{

/// The features with the settings of the serial ports: baud rate, parity and number of stop bits.
///
/// A UART has three of its own. The bulk ports share three that "BulkSelector" switches, or have three each on a device
/// without that selector.
class LineFeatures
{
public:
    LineFeatures(FeatureTree& aTree, bool aHasBulkSelector) : mTree(aTree), mHasBulkSelector(aHasBulkSelector) {}

    /// Adds the features of a port with what they show at first. A baud rate that is none of the usual ones gets an
    /// entry, too.
    void Add(Port aPort, const LineSettings& aSettings);

    /// What the features of a port show now. What there is no feature for is as in aElse.
    LineSettings Get(Port aPort, const LineSettings& aElse) const;

    /// True when a feature of that name is about that port.
    bool IsAbout(Port aPort, const std::string& aName) const;

private:
    std::string GetPrefix(Port aPort) const;
    void AddEnumeration(Port aPort, const char* aSuffix, const std::vector<std::string>& aEntries,
                        const std::string& aValue);
    std::string GetValue(Port aPort, const char* aSuffix) const;

    FeatureTree& mTree;
    const bool mHasBulkSelector;
};

} // namespace KoSim
