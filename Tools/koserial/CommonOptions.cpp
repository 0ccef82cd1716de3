#include "CommonOptions.h"

#include "PortNames.h"

#include <CLI/CLI.hpp>

namespace KoTool
{

void AddPort(CLI::App& aCommand, KoDeviceSerial& aPort)
{
    aCommand
        .add_option_function<std::string>(
            "PORT", [&aPort](const std::string& aName) { aPort = ParsePortName(aName); }, "The port")
        ->required()
        ->type_name("");
}

void AddBulkPort(CLI::App& aCommand, KoDeviceSerial& aPort)
{
    aCommand
        .add_option_function<std::string>(
            "PORT", [&aPort](const std::string& aName) { aPort = ParseBulkPortName(aName); },
            "The port, bulk0 to bulk7")
        ->required()
        ->type_name("");
}

CLI::Option* AddNumber(CLI::App& aCommand, const std::string& aName, const std::string& aHelp, NumberRange aRange,
                       const std::function<void(std::uint64_t)>& aStore)
{
    return aCommand
        .add_option_function<std::string>(
            aName, [aName, aRange, aStore](const std::string& aText) { aStore(ParseNumber(aName, aText, aRange)); },
            aHelp)
        ->type_name(aName.front() == '-' ? "N" : "");
}

CLI::Option* AddTimeout(CLI::App& aCommand, const std::string& aHelp, std::uint32_t& aTimeoutMs)
{
    return AddNumber(aCommand, "--timeout", aHelp, MILLISECONDS, aTimeoutMs)->type_name("MS");
}

void AddJson(CLI::App& aCommand, bool& aJson)
{
    aCommand.add_flag("--json", aJson, "Print as JSON, on one line");
}

} // namespace KoTool
