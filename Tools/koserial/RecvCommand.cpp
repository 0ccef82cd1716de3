#include "RecvCommand.h"

#include "Commands.h"
#include "CommonOptions.h"
#include "Exchange.h"
#include "Failure.h"
#include "OpenPort.h"
#include "OutputFile.h"
#include "Receiver.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <limits>
#include <memory>

namespace KoTool
{
namespace
{

constexpr NumberRange COUNTS = {1, std::numeric_limits<std::int64_t>::max()};

struct RecvOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    std::string mOutput = STANDARD_STREAM;
    std::uint64_t mCount = 0;
    std::uint32_t mTimeoutMs = 0;
};

void RunRecv(const std::string& aDeviceUri, const RecvOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithOpenPort(setup, aOptions.mPort,
                 [&](OpenPort& aPort)
                 {
                     OutputFile output(aOptions.mOutput);
                     ReceiveBytes(aPort, output, aOptions.mCount, aOptions.mTimeoutMs);
                 });
}

} // namespace

void ReceiveBytes(OpenPort& aPort, OutputFile& aOutput, std::uint64_t aCount, std::uint32_t aTimeoutMs)
{
    Receiver receiver(aPort, aOutput, aCount);
    Exchange exchange(aPort, nullptr, &receiver, aTimeoutMs);
    exchange.Run([] {});
    const bool isComplete = receiver.GetReceived() == aCount;
    if (!isComplete)
    {
        std::cerr << "received " << receiver.GetReceived() << " of " << aCount << " bytes" << std::endl;
    }
    exchange.Check();
    if (!isComplete)
    {
        const std::string reason = "Nothing came for " + std::to_string(aTimeoutMs) + " ms.";
        throw MakeDeviceFailure("cannot read from " + aPort.GetName(),
                                KoResult(KoResult::TIMEOUT, KoString(reason.c_str())));
    }
}

void AddRecvCommand(CLI::App& aApp, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<RecvOptions>();
    CLI::App* const command = aApp.add_subcommand("recv", "Receive a number of bytes");
    AddPort(*command, options->mPort);
    AddNumber(*command, "--bytes", "How many bytes to receive, 1 or more", COUNTS, options->mCount)->required();
    AddTimeout(*command, "Give up when nothing has come for this long, in milliseconds; 0: take what is there",
               options->mTimeoutMs)
        ->required();
    command->add_option("--output", options->mOutput, "Where to write them; - for standard output")
        ->type_name("FILE")
        ->capture_default_str();
    command->callback([options, &aDeviceUri] { RunRecv(aDeviceUri, *options); });
}

} // namespace KoTool
