#include "I2cDumpCommand.h"

#include "Commands.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "HexDump.h"
#include "OpenI2cBus.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <memory>

namespace KoTool
{
namespace
{

constexpr std::uint32_t USUAL_COUNT = 256;

/// Number of registers to show.
std::uint32_t GetCount(const DumpOptions& aOptions)
{
    const std::uint32_t last = GetRegisterCount(aOptions.mOffsetSize);
    const std::uint32_t room = last - std::min(aOptions.mStart, last);
    const std::uint32_t count = aOptions.mCount.value_or(std::clamp(room, 1U, USUAL_COUNT));
    if (count > room)
    {
        throw MakeUsageFailure(std::to_string(count) + " registers from " + std::to_string(aOptions.mStart) +
                               " on are not all below " + std::to_string(last) +
                               (aOptions.mOffsetSize == 1 ? ": use --reg-bytes 2" : ""));
    }
    return count;
}

void Print(const DumpOptions& aOptions, const Registers& aRegisters)
{
    if (!aOptions.mJson)
    {
        std::cout << FormatHexDump(aOptions.mStart, aRegisters);
        return;
    }
    nlohmann::ordered_json json;
    json["port"] = GetPortName(aOptions.mPort);
    json["address"] = aOptions.mAddress;
    json["start"] = aOptions.mStart;
    for (const std::optional<std::uint8_t> content : aRegisters)
    {
        json["data"].push_back(content ? nlohmann::ordered_json(*content) : nlohmann::ordered_json());
    }
    std::cout << json << '\n';
}

void RunDump(const std::string& aDeviceUri, const DumpOptions& aOptions)
{
    const std::uint32_t count = GetCount(aOptions);
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithI2cBus(setup, aOptions.mPort, aOptions.mFastMode,
               [&](OpenI2cBus& aBus) { DumpRegisters(aBus, aOptions, count); });
}

} // namespace

void DumpRegisters(OpenI2cBus& aBus, const DumpOptions& aOptions, std::uint32_t aCount)
{
    const auto read = [&](std::uint32_t aFirst, std::uint32_t aLength)
    { return aBus.ReadAt(aOptions.mAddress, MakeRegisterOffset(aFirst, aOptions.mOffsetSize), aLength); };
    const Registers registers = ReadRegisters(read, aOptions.mStart, aCount);
    const auto missing = std::count(registers.begin(), registers.end(), std::nullopt);
    const std::string slave = FormatByte(aOptions.mAddress) + " on " + GetPortName(aOptions.mPort);
    if (missing == static_cast<std::ptrdiff_t>(aCount))
    {
        throw Failure("nothing answers at " + slave);
    }
    Print(aOptions, registers);
    if (missing > 0)
    {
        throw Failure(slave + " did not send " + std::to_string(missing) + " of " + std::to_string(aCount) +
                      " registers");
    }
}

void AddI2cDumpCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<DumpOptions>();
    CLI::App* const command = aGroup.add_subcommand("dump", "Show the registers of a slave in hexadecimal and as text");
    AddI2cBus(*command, *options);
    AddI2cAddress(*command, *options);
    AddI2cOffsetSize(*command, *options);
    AddNumber(*command, "--start", "The register to begin with", {0, 0xFFFF}, options->mStart)->default_str("0");
    AddNumber(*command, "--count", "How many registers to show; without it 256, or as many as there are", {1, 0x10000},
              options->mCount);
    AddJson(*command, options->mJson);
    command->callback([options, &aDeviceUri] { RunDump(aDeviceUri, *options); });
}

} // namespace KoTool
