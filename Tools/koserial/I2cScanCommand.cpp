#include "Commands.h"
#include "CommonOptions.h"
#include "HexDump.h"
#include "I2cOptions.h"
#include "Interruption.h"
#include "OpenI2cBus.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>

namespace KoTool
{
namespace
{

/// The other addresses have a meaning of their own on every bus.
constexpr std::uint8_t FIRST_ADDRESS = 0x08;
constexpr std::uint8_t LAST_ADDRESS = 0x77;

constexpr int DIGITS = 2;
constexpr unsigned COLUMNS = 16;

std::string MakeCell(OpenI2cBus& aBus, std::uint8_t aAddress)
{
    if (aAddress < FIRST_ADDRESS)
    {
        return "   ";
    }
    return aBus.IsPresent(aAddress) ? FormatCell(aAddress) : " --";
}

/// Prints cell by cell, because an address where nothing is takes its time.
void PrintGrid(OpenI2cBus& aBus)
{
    std::cout << FormatColumnNumbers(DIGITS);
    for (std::uint8_t address = 0; address <= LAST_ADDRESS && !Interruption::IsRequested(); ++address)
    {
        if (address % COLUMNS == 0)
        {
            std::cout << '\n' << FormatRowLabel(address, DIGITS);
        }
        std::cout << MakeCell(aBus, address) << std::flush;
    }
    std::cout << std::endl;
    Interruption::ThrowIfRequested();
}

std::vector<unsigned> FindSlaves(OpenI2cBus& aBus)
{
    std::vector<unsigned> found;
    for (std::uint8_t address = FIRST_ADDRESS; address <= LAST_ADDRESS; ++address)
    {
        Interruption::ThrowIfRequested();
        if (aBus.IsPresent(address))
        {
            found.push_back(address);
        }
    }
    return found;
}

void RunScan(const std::string& aDeviceUri, const I2cOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithI2cBus(setup, aOptions.mPort, aOptions.mFastMode,
               [&](OpenI2cBus& aBus)
               {
                   if (!aOptions.mJson)
                   {
                       PrintGrid(aBus);
                       return;
                   }
                   nlohmann::ordered_json json;
                   json["port"] = GetPortName(aOptions.mPort);
                   json["addresses"] = FindSlaves(aBus);
                   std::cout << json << '\n';
               });
}

} // namespace

void AddI2cScanCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<I2cOptions>();
    CLI::App* const command = aGroup.add_subcommand(
        "scan", "Show at which addresses from 0x08 to 0x77 a slave answers, by reading a byte from each");
    AddI2cBus(*command, *options);
    AddJson(*command, options->mJson);
    command->callback([options, &aDeviceUri] { RunScan(aDeviceUri, *options); });
}

} // namespace KoTool
