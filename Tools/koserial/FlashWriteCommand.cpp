#include "Commands.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "InputFile.h"
#include "Interruption.h"
#include "OpenSpiBus.h"
#include "ProgressBar.h"
#include "SectorWrite.h"
#include "SimulatedSetup.h"
#include "SpiFlash.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>

namespace KoTool
{
namespace
{

struct WriteOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    std::string mInput;
    std::uint32_t mAddress = 0;
};

/// The part of the content that goes into the sector in which that address is.
Bytes TakePart(const Bytes& aContent, std::size_t aDone, std::uint32_t aAddress)
{
    const std::size_t room = SpiFlash::SECTOR_SIZE - aAddress % SpiFlash::SECTOR_SIZE;
    const auto begin = aContent.begin() + static_cast<std::ptrdiff_t>(aDone);
    return {begin, begin + static_cast<std::ptrdiff_t>(std::min(room, aContent.size() - aDone))};
}

/// Writes sector by sector until everything is done or a signal comes, which never leaves a sector half written.
void WriteFlash(SpiFlash& aFlash, std::uint32_t aAddress, const Bytes& aContent)
{
    aFlash.CheckRange(aAddress, aContent.size());
    std::uint32_t done = 0;
    unsigned changedSectors = 0;
    {
        ProgressBar progress(aContent.size(), true);
        while (done < aContent.size() && !Interruption::IsRequested())
        {
            const Bytes part = TakePart(aContent, done, aAddress + done);
            changedSectors += WriteIntoSector(aFlash, aAddress + done, part) ? 1 : 0;
            done += static_cast<std::uint32_t>(part.size());
            progress.Show(done);
        }
    }
    std::cerr << "wrote and verified " << done << " bytes, changed " << changedSectors << " sectors" << std::endl;
    Interruption::ThrowIfRequested();
}

void RunWrite(const std::string& aDeviceUri, const WriteOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    InputFile input(aOptions.mInput);
    // Of a file that no flash could hold, this is enough to tell so.
    const Bytes content = ReadAll(input, SpiFlash::LARGEST_SIZE + 1);
    if (content.empty())
    {
        throw Failure(input.GetDescriptor().GetName() + " is empty: nothing was written");
    }
    setup.HoldImages();
    WithSpiBus(setup, aOptions.mPort,
               [&](OpenSpiBus& aBus)
               {
                   SpiFlash flash(aBus);
                   WriteFlash(flash, aOptions.mAddress, content);
               });
}

} // namespace

void AddFlashWriteCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<WriteOptions>();
    CLI::App* const command =
        aGroup.add_subcommand("flash-write", "Write a file into a flash and verify it; what is beside it stays");
    AddBulkPort(*command, options->mPort);
    command->add_option("FILE", options->mInput, "The file; - for standard input")->required()->type_name("");
    AddNumber(*command, "--address", "Where to begin", {0, SpiFlash::LARGEST_SIZE - 1}, options->mAddress)
        ->default_str("0");
    command->callback([options, &aDeviceUri] { RunWrite(aDeviceUri, *options); });
}

} // namespace KoTool
