#include "Commands.h"
#include "CommonOptions.h"
#include "I2cOptions.h"
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

struct ReadOptions : I2cOptions
{
    std::uint32_t mCount = 0;
};

std::vector<I2cMessage> MakeMessages(const ReadOptions& aOptions)
{
    std::vector<I2cMessage> messages;
    if (aOptions.mRegister)
    {
        messages.push_back(MakeI2cWrite(aOptions.mAddress, MakeRegisterOffset(aOptions)));
    }
    messages.push_back(MakeI2cRead(aOptions.mAddress, aOptions.mCount));
    return messages;
}

void Print(const ReadOptions& aOptions, const Bytes& aBytes)
{
    if (!aOptions.mJson)
    {
        std::cout << FormatBytes(aBytes) << '\n';
        return;
    }
    nlohmann::ordered_json json;
    json["port"] = GetPortName(aOptions.mPort);
    json["address"] = aOptions.mAddress;
    json["register"] = aOptions.mRegister ? nlohmann::ordered_json(*aOptions.mRegister) : nlohmann::ordered_json();
    json["data"] = aBytes;
    std::cout << json << '\n';
}

void RunRead(const std::string& aDeviceUri, const ReadOptions& aOptions)
{
    const std::vector<I2cMessage> messages = MakeMessages(aOptions);
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithI2cBus(setup, aOptions.mPort, aOptions.mFastMode,
               [&](OpenI2cBus& aBus) { Print(aOptions, aBus.Transfer(messages).back()); });
}

} // namespace

void AddI2cReadCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<ReadOptions>();
    CLI::App* const command = aGroup.add_subcommand("read", "Read bytes from a slave");
    AddI2cBus(*command, *options);
    AddI2cAddress(*command, *options);
    AddI2cRegister(*command, *options);
    AddNumber(*command, "--count", "How many bytes to read, 1 to 16383", I2C_READ_LENGTHS, options->mCount)->required();
    AddJson(*command, options->mJson);
    command->callback([options, &aDeviceUri] { RunRead(aDeviceUri, *options); });
}

} // namespace KoTool
