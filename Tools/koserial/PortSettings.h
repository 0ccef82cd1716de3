#pragma once

#include <KoParity.h>

#include <cstdint>
#include <optional>
#include <string>

namespace KoTool
{

/// Settings of a port; those that a device does not have, or that nobody asked for, are empty.
struct PortSettings
{
    std::optional<std::uint32_t> mBaudRate;
    std::optional<KoParity> mParity;
    std::optional<std::uint32_t> mStopBits;
    std::optional<std::string> mBulkMode;
};

/// The settings of aChanges, and those of aBase that it leaves open.
PortSettings Overlay(const PortSettings& aBase, const PortSettings& aChanges);

bool operator==(const PortSettings& aLeft, const PortSettings& aRight);

/// "none", "even" or "odd"
std::string FormatParity(KoParity aParity);

/// @throws Failure with STATUS_USAGE for anything but "none", "even" and "odd"
KoParity ParseParity(const std::string& aText);

/// The settings as text, a line for each: "baud 115200", "parity none", "stop-bits 1", "bulk-mode UART".
std::string FormatSettings(const PortSettings& aSettings);

/// Reads such a text. A line may be empty or a comment that starts with '#'.
/// @param aName where the text comes from, for the message
/// @throws Failure naming the line that is wrong
PortSettings ParseSettings(const std::string& aName, const std::string& aText);

} // namespace KoTool
