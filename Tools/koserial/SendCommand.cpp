#include "SendCommand.h"

#include "Commands.h"
#include "CommonOptions.h"
#include "Exchange.h"
#include "InputFile.h"
#include "OpenPort.h"
#include "OutputFile.h"
#include "ProgressBar.h"
#include "Receiver.h"
#include "Sender.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <optional>

namespace KoTool
{
namespace
{

struct SendOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    std::string mInput;
    std::optional<std::string> mOutput;
    std::uint32_t mTimeoutMs = 500;
};

void RunSend(const std::string& aDeviceUri, const SendOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    InputFile input(aOptions.mInput);
    WithOpenPort(setup, aOptions.mPort,
                 [&](OpenPort& aPort)
                 {
                     std::optional<OutputFile> output;
                     if (aOptions.mOutput)
                     {
                         output.emplace(*aOptions.mOutput, &input);
                     }
                     SendInput(aPort, input, output ? &*output : nullptr, aOptions.mTimeoutMs);
                 });
}

} // namespace

void SendInput(OpenPort& aPort, InputFile& aInput, OutputFile* aOutput, std::uint32_t aQuietMs)
{
    Sender sender(aPort, aInput);
    std::optional<Receiver> receiver;
    if (aOutput != nullptr)
    {
        receiver.emplace(aPort, *aOutput);
    }
    Exchange exchange(aPort, &sender, receiver ? &*receiver : nullptr, aQuietMs);
    {
        const bool isOutputPrinted = aOutput != nullptr && aOutput->IsStandardOutput();
        ProgressBar progress(aInput.GetRemainingSize(), !isOutputPrinted);
        exchange.Run([&] { progress.Show(sender.GetProgress()); });
    }
    std::cerr << "sent " << sender.GetSent() << " bytes";
    if (receiver)
    {
        std::cerr << ", received " << receiver->GetReceived() << " bytes";
    }
    std::cerr << std::endl;
    exchange.Check();
}

void AddSendCommand(CLI::App& aApp, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<SendOptions>();
    CLI::App* const command = aApp.add_subcommand("send", "Send a file");
    AddPort(*command, options->mPort);
    command->add_option("FILE", options->mInput, "The file; - for standard input")->required()->type_name("");
    command->add_option("--receive", options->mOutput, "Collect in this file what comes back; - for standard output")
        ->type_name("OUT");
    AddTimeout(*command,
               "With --receive: end when nothing has come for this long after the sending, in milliseconds;\n"
               "0: right after the sending",
               options->mTimeoutMs)
        ->default_str("500");
    command->callback([options, &aDeviceUri] { RunSend(aDeviceUri, *options); });
}

} // namespace KoTool
