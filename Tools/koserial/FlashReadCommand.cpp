#include "Commands.h"
#include "CommonOptions.h"
#include "Interruption.h"
#include "OpenSpiBus.h"
#include "OutputFile.h"
#include "ProgressBar.h"
#include "SimulatedSetup.h"
#include "SpiFlash.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

namespace KoTool
{
namespace
{

constexpr std::uint32_t PIECE_SIZE = 4096;

struct ReadOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    std::string mOutput;
    std::uint32_t mAddress = 0;
    std::optional<std::uint32_t> mCount;
};

/// Reads until everything is done or a signal comes.
/// @return number of bytes
std::uint32_t Copy(SpiFlash& aFlash, std::uint32_t aAddress, std::uint32_t aCount, OutputFile& aOutput)
{
    ProgressBar progress(aCount, !aOutput.IsStandardOutput());
    std::uint32_t done = 0;
    while (done < aCount && !Interruption::IsRequested())
    {
        const Bytes piece = aFlash.Read(aAddress + done, std::min(PIECE_SIZE, aCount - done));
        aOutput.Write(piece.data(), piece.size());
        done += static_cast<std::uint32_t>(piece.size());
        progress.Show(done);
    }
    return done;
}

void ReadFlash(SpiFlash& aFlash, const ReadOptions& aOptions)
{
    // The output is emptied when it is opened: not before the range has been found to be right.
    const std::uint32_t size = aFlash.GetSize();
    const std::uint32_t room = size - std::min(aOptions.mAddress, size);
    const std::uint32_t count = aOptions.mCount.value_or(std::max(room, 1U));
    aFlash.CheckRange(aOptions.mAddress, count);
    OutputFile output(aOptions.mOutput);
    const std::uint32_t done = Copy(aFlash, aOptions.mAddress, count, output);
    std::cerr << "read " << done << " bytes" << std::endl;
    Interruption::ThrowIfRequested();
}

void RunRead(const std::string& aDeviceUri, const ReadOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithSpiBus(setup, aOptions.mPort,
               [&](OpenSpiBus& aBus)
               {
                   SpiFlash flash(aBus);
                   ReadFlash(flash, aOptions);
               });
}

} // namespace

void AddFlashReadCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<ReadOptions>();
    CLI::App* const command = aGroup.add_subcommand("flash-read", "Read a flash into a file");
    AddBulkPort(*command, options->mPort);
    command->add_option("FILE", options->mOutput, "The file; - for standard output")->required()->type_name("");
    AddNumber(*command, "--address", "Where to begin", {0, SpiFlash::LARGEST_SIZE - 1}, options->mAddress)
        ->default_str("0");
    AddNumber(*command, "--count", "How many bytes to read; without it all up to the end of the flash",
              {1, SpiFlash::LARGEST_SIZE}, options->mCount);
    command->callback([options, &aDeviceUri] { RunRead(aDeviceUri, *options); });
}

} // namespace KoTool
