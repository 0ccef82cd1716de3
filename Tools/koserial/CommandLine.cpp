#include "CommandLine.h"

#include "Commands.h"
#include "Failure.h"
#include "Interruption.h"
#include "StandardOutput.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace KoTool
{
namespace
{

constexpr const char* DEVICE_HELP =
    "The device: sim[:PROFILE][,KEY=VALUE...]\n"
    "  a simulated device, which lives as long as the command; the profile is full\n"
    "    uart0=, uart1=  far end of the UART: console, loopback[:RATE], pty[:LINK] or null\n"
    "    timing=         real or instant\n"
    "    baud=           speed of both lines, 50 to 4000000\n"
    "    id=             identity text of the device\n"
    "    eeprom=, flash= file with the contents of the 32 KiB EEPROM, of the flash; made when there is none\n"
    "  default: sim, that is sim:full,uart0=console,uart1=loopback,timing=real,baud=115200,id=sim";

constexpr const char* FOOTER =
    "Ports are uart0, uart1 and bulk0 to bulk7.\n"
    "Numbers are decimal (80), hexadecimal (0x50) or binary (0b1010000); 010 is refused, because some programs take\n"
    "it for eight.\n"
    "Exit status: 0 success; 1 the device or a file failed or does not have what was asked for; 2 the command line\n"
    "is wrong, whatever the device and the files; 128 and its number after a signal, so 130 after Ctrl-C.\n"
    "The environment variable KO_LOG (error, warning, info, debug) shows the log of the library.\n";

void AddI2cCommands(CLI::App& aApp, const std::string& aDeviceUri)
{
    CLI::App* const group = aApp.add_subcommand("i2c", "Talk to the slaves on an I2C bus");
    group->require_subcommand(1);
    AddI2cScanCommand(*group, aDeviceUri);
    AddI2cReadCommand(*group, aDeviceUri);
    AddI2cWriteCommand(*group, aDeviceUri);
    AddI2cDumpCommand(*group, aDeviceUri);
    AddI2cTransferCommand(*group, aDeviceUri);
}

void AddSpiCommands(CLI::App& aApp, const std::string& aDeviceUri)
{
    CLI::App* const group = aApp.add_subcommand("spi", "Talk to the slave on an SPI bus");
    group->require_subcommand(1);
    AddSpiTransferCommand(*group, aDeviceUri);
    AddFlashIdCommand(*group, aDeviceUri);
    AddFlashReadCommand(*group, aDeviceUri);
    AddFlashWriteCommand(*group, aDeviceUri);
}

/// What is wrong with the command line, in one line.
std::string Describe(const CLI::App& aApp, const CLI::ParseError& aError)
{
    const CLI::App* last = &aApp;
    std::string words;
    while (!last->get_subcommands().empty())
    {
        last = last->get_subcommands().front();
        words += last->get_name() + ' ';
    }
    // Of a group without a command CLI11 only tells that one is missing, even when a word stands there.
    const bool isGroup = !last->get_subcommands([](const CLI::App*) { return true; }).empty();
    const std::vector<std::string> unknown = aApp.remaining(true);
    if (!isGroup || unknown.empty())
    {
        return aError.what();
    }
    const bool isOption = unknown.front().rfind('-', 0) == 0;
    return isOption ? "The following argument was not expected: " + unknown.front()
                    : "unknown command '" + words + unknown.front() + "'";
}

void Parse(int aArgumentCount, const char* const* aArguments)
{
    CLI::App app("Serial ports and buses of devices.", "koserial");
    std::string deviceUri = "sim";
    app.add_option("--device", deviceUri, DEVICE_HELP)->type_name("URI");
    app.set_version_flag("--version", "koserial " KOSERIAL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(FOOTER);

    AddPortsCommand(app, deviceUri);
    AddConfigCommand(app, deviceUri);
    AddTermCommand(app, deviceUri);
    AddSendCommand(app, deviceUri);
    AddRecvCommand(app, deviceUri);
    AddDemoCommand(app, deviceUri);
    AddI2cCommands(app, deviceUri);
    AddSpiCommands(app, deviceUri);
    try
    {
        app.parse(aArgumentCount, aArguments);
    }
    catch (const CLI::Success& help)
    {
        app.exit(help);
    }
    catch (const CLI::ParseError& error)
    {
        throw MakeUsageFailure(Describe(app, error) + "\nRun koserial --help for more information.");
    }
}

int Report(const char* aMessage, int aExitStatus)
{
    std::cerr << "koserial: " << aMessage << std::endl;
    return aExitStatus;
}

} // namespace

int RunCommandLine(int aArgumentCount, const char* const* aArguments)
{
    try
    {
        Interruption::CatchSignals();
        StandardOutput output;
        Parse(aArgumentCount, aArguments);
        output.Flush();
        return STATUS_OK;
    }
    catch (const Failure& failure)
    {
        return Report(failure.what(), failure.GetExitStatus());
    }
    catch (const std::exception& error)
    {
        return Report(error.what(), STATUS_FAILURE);
    }
}

} // namespace KoTool
