#include "Commands.h"
#include "CommonOptions.h"
#include "Exchange.h"
#include "InputFile.h"
#include "OpenPort.h"
#include "OutputFile.h"
#include "RawTerminal.h"
#include "Receiver.h"
#include "Sender.h"
#include "SimulatedSetup.h"
#include "TerminalInput.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include <unistd.h>

namespace KoTool
{
namespace
{

struct TermOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    std::uint32_t mTimeoutMs = 500;
};

void Talk(OpenPort& aPort, InputFile& aInput, std::uint32_t aQuietMs)
{
    OutputFile output(STANDARD_STREAM);
    Sender sender(aPort, aInput);
    Receiver receiver(aPort, output);
    Exchange exchange(aPort, &sender, &receiver, aQuietMs);
    exchange.Run([] {});
    exchange.Check();
}

void TalkAtTerminal(OpenPort& aPort)
{
    std::cerr << "Connected to " << aPort.GetName() << ". Press Ctrl-] to leave." << std::endl;
    {
        const RawTerminal raw(STDIN_FILENO);
        TerminalInput keys;
        Talk(aPort, keys, 0);
    }
    std::cerr << "\nDisconnected from " << aPort.GetName() << '.' << std::endl;
}

void RunTerm(const std::string& aDeviceUri, const TermOptions& aOptions)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    WithOpenPort(setup, aOptions.mPort,
                 [&](OpenPort& aPort)
                 {
                     if (::isatty(STDIN_FILENO) != 0)
                     {
                         TalkAtTerminal(aPort);
                         return;
                     }
                     InputFile input(STANDARD_STREAM);
                     Talk(aPort, input, aOptions.mTimeoutMs);
                 });
}

} // namespace

void AddTermCommand(CLI::App& aApp, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<TermOptions>();
    CLI::App* const command = aApp.add_subcommand("term", "Talk to a port from the terminal; Ctrl-] leaves");
    AddPort(*command, options->mPort);
    AddTimeout(*command,
               "When standard input is no terminal: end when nothing has come for this long after its end, in\n"
               "milliseconds; 0: right after its end",
               options->mTimeoutMs)
        ->default_str("500");
    command->callback([options, &aDeviceUri] { RunTerm(aDeviceUri, *options); });
}

} // namespace KoTool
