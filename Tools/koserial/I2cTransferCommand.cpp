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

struct TransferOptions : I2cOptions
{
    std::vector<I2cMessage> mMessages;
};

void PrintReads(const std::vector<I2cMessage>& aMessages, const std::vector<Bytes>& aReceived)
{
    for (std::size_t i = 0; i < aMessages.size(); ++i)
    {
        if (aMessages[i].mIsRead)
        {
            std::cout << FormatBytes(aReceived[i]) << '\n';
        }
    }
}

void PrintJson(const TransferOptions& aOptions, const std::vector<Bytes>& aReceived)
{
    nlohmann::ordered_json json;
    json["port"] = GetPortName(aOptions.mPort);
    for (std::size_t i = 0; i < aOptions.mMessages.size(); ++i)
    {
        const I2cMessage& message = aOptions.mMessages[i];
        nlohmann::ordered_json& entry = json["messages"].emplace_back();
        entry["kind"] = message.mIsRead ? "read" : "write";
        entry["address"] = message.mAddress;
        entry["data"] = message.mIsRead ? aReceived[i] : message.mData;
    }
    std::cout << json << '\n';
}

void RunTransfer(const std::string& aDeviceUri, const TransferOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    setup.HoldImages();
    WithI2cBus(setup, aOptions.mPort, aOptions.mFastMode,
               [&](OpenI2cBus& aBus)
               {
                   const std::vector<Bytes> received = aBus.Transfer(aOptions.mMessages);
                   if (aOptions.mJson)
                   {
                       PrintJson(aOptions, received);
                   }
                   else
                   {
                       PrintReads(aOptions.mMessages, received);
                   }
               });
}

} // namespace

void AddI2cTransferCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<TransferOptions>();
    CLI::App* const command =
        aGroup.add_subcommand("transfer", "Carry out several messages with repeated starts in between");
    AddI2cBus(*command, *options);
    command
        ->add_option_function<std::vector<std::string>>(
            "MESSAGE",
            [options](const std::vector<std::string>& aWords) { options->mMessages = ParseI2cMessages(aWords); },
            "The messages: rLENGTH[@ADDR], or wLENGTH[@ADDR] and its bytes. Without an address a message goes to\n"
            "that of the one before: w2@0x50 0x00 0x10 r16")
        ->required()
        ->type_name("");
    AddJson(*command, options->mJson);
    command->callback([options, &aDeviceUri] { RunTransfer(aDeviceUri, *options); });
}

} // namespace KoTool
