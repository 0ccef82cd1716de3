#include "Commands.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <KoDeviceSerialPort.h>

#include <CLI/CLI.hpp>

#include <iomanip>
#include <iostream>

namespace KoTool
{
namespace
{

void PrintRow(const std::string& aPort, const std::string& aSupported, const std::string& aEngine,
              const std::string& aInterface, const std::string& aBitRate)
{
    std::cout << std::left << std::setw(7) << aPort << std::setw(11) << aSupported << std::setw(11) << aEngine
              << std::setw(11) << aInterface << aBitRate << '\n';
}

void RunPorts(const std::string& aDeviceUri)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    PrintRow("PORT", "SUPPORTED", "ENGINE", "INTERFACE", "BAUD");
    for (const KoDeviceSerial port : ALL_PORTS)
    {
        if (KoDeviceSerialPort::IsSupported(&setup.GetDevice(), port))
        {
            const LineDescription line = setup.DescribeLine(port);
            PrintRow(GetPortName(port), "yes", line.mEngine, line.mInterface, std::to_string(line.mBitRate));
        }
        else
        {
            PrintRow(GetPortName(port), "no", "-", "-", "-");
        }
    }
}

} // namespace

void AddPortsCommand(CLI::App& aApp, const std::string& aDeviceUri)
{
    CLI::App* const command = aApp.add_subcommand("ports", "Show which ports the device offers");
    command->callback([&aDeviceUri] { RunPorts(aDeviceUri); });
}

} // namespace KoTool
