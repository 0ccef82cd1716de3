#include "Commands.h"
#include "Failure.h"
#include "I2cOptions.h"
#include "OpenI2cBus.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <memory>

namespace KoTool
{
namespace
{

struct WriteOptions : I2cOptions
{
    Bytes mData;
};

Bytes ParseBytes(const std::vector<std::string>& aWords)
{
    const auto parse = [](const std::string& aWord)
    { return static_cast<std::uint8_t>(ParseNumber("BYTE", aWord, BYTE_VALUES)); };
    Bytes bytes;
    std::transform(aWords.begin(), aWords.end(), std::back_inserter(bytes), parse);
    return bytes;
}

I2cMessage MakeMessage(const WriteOptions& aOptions)
{
    Bytes bytes = MakeRegisterOffset(aOptions);
    bytes.insert(bytes.end(), aOptions.mData.begin(), aOptions.mData.end());
    if (bytes.size() > I2C_WRITE_LENGTHS.mLast)
    {
        throw MakeUsageFailure("a write can have " + std::to_string(I2C_WRITE_LENGTHS.mLast) +
                               " bytes, the offset of the register among them, not " + std::to_string(bytes.size()));
    }
    return MakeI2cWrite(aOptions.mAddress, bytes);
}

void RunWrite(const std::string& aDeviceUri, const WriteOptions& aOptions)
{
    const I2cMessage message = MakeMessage(aOptions);
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    setup.HoldImages();
    WithI2cBus(setup, aOptions.mPort, aOptions.mFastMode, [&](OpenI2cBus& aBus) { aBus.Transfer({message}); });
}

} // namespace

void AddI2cWriteCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<WriteOptions>();
    CLI::App* const command = aGroup.add_subcommand(
        "write", "Write bytes to a slave in one piece; whether it took them only reading back tells");
    AddI2cBus(*command, *options);
    AddI2cAddress(*command, *options);
    AddI2cRegister(*command, *options);
    command
        ->add_option_function<std::vector<std::string>>(
            "BYTE", [options](const std::vector<std::string>& aWords) { options->mData = ParseBytes(aWords); },
            "The bytes: with the offset at most 253, or what the port sends in one piece where that is less; more "
            "would\n"
            "reach other slaves and is refused")
        ->required()
        ->type_name("");
    command->callback([options, &aDeviceUri] { RunWrite(aDeviceUri, *options); });
}

} // namespace KoTool
