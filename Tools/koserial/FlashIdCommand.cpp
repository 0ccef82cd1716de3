#include "Commands.h"
#include "CommonOptions.h"
#include "OpenSpiBus.h"
#include "PortNames.h"
#include "SimulatedSetup.h"
#include "SpiFlash.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>

namespace KoTool
{
namespace
{

struct IdOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    bool mJson = false;
};

void Print(const IdOptions& aOptions, const SpiFlash::Id& aId)
{
    if (!aOptions.mJson)
    {
        std::cout << FormatBytes({aId.mManufacturer, aId.mType, aId.mCapacity}) << ", " << aId.mSize << " bytes\n";
        return;
    }
    nlohmann::ordered_json json;
    json["port"] = GetPortName(aOptions.mPort);
    json["manufacturer"] = aId.mManufacturer;
    json["type"] = aId.mType;
    json["capacity"] = aId.mCapacity;
    json["size"] = aId.mSize;
    std::cout << json << '\n';
}

void RunId(const std::string& aDeviceUri, const IdOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithSpiBus(setup, aOptions.mPort, [&](OpenSpiBus& aBus) { Print(aOptions, SpiFlash(aBus).ReadId()); });
}

} // namespace

void AddFlashIdCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<IdOptions>();
    CLI::App* const command = aGroup.add_subcommand("flash-id", "Show which flash is on the bus, and its size");
    AddBulkPort(*command, options->mPort);
    AddJson(*command, options->mJson);
    command->callback([options, &aDeviceUri] { RunId(aDeviceUri, *options); });
}

} // namespace KoTool
