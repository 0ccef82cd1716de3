#include "Commands.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "OpenSpiBus.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>
#include <optional>

namespace KoTool
{
namespace
{

constexpr std::uint32_t LONGEST = 255;

struct TransferOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    Bytes mData;
    std::optional<std::uint32_t> mReadLength;
    bool mSimultaneous = false;
    bool mJson = false;
};

void Check(const TransferOptions& aOptions)
{
    const std::size_t length = aOptions.mData.size();
    if (length > LONGEST)
    {
        throw MakeUsageFailure("--write can have " + std::to_string(LONGEST) + " bytes, not " + std::to_string(length));
    }
    if (length == 0 && aOptions.mReadLength.value_or(0) == 0)
    {
        throw MakeUsageFailure("a transfer needs --write or --read");
    }
    if (aOptions.mSimultaneous && aOptions.mReadLength.value_or(length) != length)
    {
        throw MakeUsageFailure("with --simultaneous as many bytes are read as written: " + std::to_string(length));
    }
}

void RunTransfer(const std::string& aDeviceUri, const TransferOptions& aOptions)
{
    Check(aOptions);
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    setup.HoldImages();
    Bytes received;
    WithSpiBus(setup, aOptions.mPort,
               [&](OpenSpiBus& aBus)
               {
                   received = aOptions.mSimultaneous ? aBus.Exchange(aOptions.mData)
                                                     : aBus.Transfer(aOptions.mData, aOptions.mReadLength.value_or(0));
               });
    if (aOptions.mJson)
    {
        nlohmann::ordered_json json;
        json["port"] = GetPortName(aOptions.mPort);
        json["data"] = received;
        std::cout << json << '\n';
    }
    else if (!received.empty())
    {
        std::cout << FormatBytes(received) << '\n';
    }
}

} // namespace

void AddSpiTransferCommand(CLI::App& aGroup, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<TransferOptions>();
    CLI::App* const command =
        aGroup.add_subcommand("transfer", "Write bytes and then read bytes while the slave stays selected");
    AddBulkPort(*command, options->mPort);
    command
        ->add_option_function<std::string>(
            "--write", [options](const std::string& aText) { options->mData = ParseHexBytes("--write", aText); },
            "The bytes to write, at most 255, such as 9f0010 or '9f 00 10'")
        ->type_name("HEX");
    AddNumber(*command, "--read", "How many bytes to read, at most 255", {0, LONGEST}, options->mReadLength);
    command->add_flag("--simultaneous", options->mSimultaneous, "Read a byte with each byte that is written");
    AddJson(*command, options->mJson);
    command->callback([options, &aDeviceUri] { RunTransfer(aDeviceUri, *options); });
}

} // namespace KoTool
