#include "Commands.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "HexDump.h"
#include "I2cOptions.h"
#include "Interruption.h"
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

/// Registers that are read in one piece; between two pieces the command can be interrupted.
constexpr std::uint32_t PIECE_SIZE = 256;

struct DumpOptions : I2cOptions
{
    std::uint32_t mStart = 0;
    std::optional<std::uint32_t> mCount;
};

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

Bytes ReadRegisters(OpenI2cBus& aBus, const DumpOptions& aOptions, std::uint32_t aCount)
{
    Bytes bytes;
    while (bytes.size() < aCount)
    {
        Interruption::ThrowIfRequested();
        const auto done = static_cast<std::uint32_t>(bytes.size());
        const Bytes offset = MakeRegisterOffset(aOptions.mStart + done, aOptions.mOffsetSize);
        const Bytes piece = aBus.Transfer({MakeI2cWrite(aOptions.mAddress, offset),
                                           MakeI2cRead(aOptions.mAddress, std::min(PIECE_SIZE, aCount - done))})
                                .back();
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    }
    return bytes;
}

void Print(const DumpOptions& aOptions, const Bytes& aBytes)
{
    if (!aOptions.mJson)
    {
        std::cout << FormatHexDump(aOptions.mStart, aBytes);
        return;
    }
    nlohmann::ordered_json json;
    json["port"] = GetPortName(aOptions.mPort);
    json["address"] = aOptions.mAddress;
    json["start"] = aOptions.mStart;
    json["data"] = aBytes;
    std::cout << json << '\n';
}

void RunDump(const std::string& aDeviceUri, const DumpOptions& aOptions)
{
    const std::uint32_t count = GetCount(aOptions);
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithI2cBus(setup, aOptions.mPort, aOptions.mFastMode,
               [&](OpenI2cBus& aBus) { Print(aOptions, ReadRegisters(aBus, aOptions, count)); });
}

} // namespace

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
