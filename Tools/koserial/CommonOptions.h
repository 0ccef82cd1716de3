#pragma once

#include "Numbers.h"

#include <KoDeviceSerial.h>

#include <functional>
#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace KoTool
{

/// @name Options that several commands have
/// The places where their values go must live as long as the command.
/// @{

/// The argument PORT.
void AddPort(CLI::App& aCommand, KoDeviceSerial& aPort);

/// The argument PORT of a command for a bus.
void AddBulkPort(CLI::App& aCommand, KoDeviceSerial& aPort);

/// An option whose value is a number in decimal, 0x or 0b.
CLI::Option* AddNumber(CLI::App& aCommand, const std::string& aName, const std::string& aHelp, NumberRange aRange,
                       const std::function<void(std::uint64_t)>& aStore);

template <typename Number>
CLI::Option* AddNumber(CLI::App& aCommand, const std::string& aName, const std::string& aHelp, NumberRange aRange,
                       Number& aNumber)
{
    return AddNumber(aCommand, aName, aHelp, aRange,
                     std::function<void(std::uint64_t)>([&aNumber](std::uint64_t aValue)
                                                        { aNumber = static_cast<Number>(aValue); }));
}

/// An option for a time in milliseconds.
CLI::Option* AddTimeout(CLI::App& aCommand, const std::string& aHelp, std::uint32_t& aTimeoutMs);

/// The flag --json.
void AddJson(CLI::App& aCommand, bool& aJson);

/// @}

} // namespace KoTool
