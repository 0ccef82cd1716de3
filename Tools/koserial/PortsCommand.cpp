#include "Commands.h"
#include "CommonOptions.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <KoDeviceSerialPort.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iomanip>
#include <iostream>
#include <memory>

namespace KoTool
{
namespace
{

std::string GetIdentity(SimulatedSetup& aSetup)
{
    KoString identity;
    aSetup.GetDevice().GetDeviceId(identity);
    return identity.GetAscii();
}

void PrintRow(const std::string& aPort, const std::string& aSupported, const std::string& aEngine,
              const std::string& aInterface, const std::string& aBitRate)
{
    std::cout << std::left << std::setw(7) << aPort << std::setw(11) << aSupported << std::setw(11) << aEngine
              << std::setw(11) << aInterface << aBitRate << '\n';
}

void PrintTable(SimulatedSetup& aSetup)
{
    std::cout << "device " << GetIdentity(aSetup) << '\n';
    PrintRow("PORT", "SUPPORTED", "ENGINE", "INTERFACE", "BAUD");
    for (const KoDeviceSerial port : ALL_PORTS)
    {
        if (KoDeviceSerialPort::IsSupported(&aSetup.GetDevice(), port))
        {
            const LineDescription line = aSetup.DescribeLine(port);
            PrintRow(GetPortName(port), "yes", line.mEngine, line.mInterface, std::to_string(line.mBitRate));
        }
        else
        {
            PrintRow(GetPortName(port), "no", "-", "-", "-");
        }
    }
}

/// Every port has all keys: null stands for what a port that is not there does not have.
nlohmann::ordered_json MakeJson(SimulatedSetup& aSetup, KoDeviceSerial aPort)
{
    const bool isSupported = KoDeviceSerialPort::IsSupported(&aSetup.GetDevice(), aPort);
    nlohmann::ordered_json json = {{"port", GetPortName(aPort)},
                                   {"supported", isSupported},
                                   {"engine", nullptr},
                                   {"interface", nullptr},
                                   {"baud", nullptr}};
    if (isSupported)
    {
        const LineDescription line = aSetup.DescribeLine(aPort);
        json["engine"] = line.mEngine;
        json["interface"] = line.mInterface;
        json["baud"] = line.mBitRate;
    }
    return json;
}

void RunPorts(const std::string& aDeviceUri, bool aJson)
{
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    if (!aJson)
    {
        PrintTable(setup);
        return;
    }
    nlohmann::ordered_json json = {{"device", GetIdentity(setup)}};
    for (const KoDeviceSerial port : ALL_PORTS)
    {
        json["ports"].push_back(MakeJson(setup, port));
    }
    std::cout << json << '\n';
}

} // namespace

void AddPortsCommand(CLI::App& aApp, const std::string& aDeviceUri)
{
    const auto json = std::make_shared<bool>(false);
    CLI::App* const command = aApp.add_subcommand("ports", "Show the identity of the device and which ports it offers");
    AddJson(*command, *json);
    command->callback([json, &aDeviceUri] { RunPorts(aDeviceUri, *json); });
}

} // namespace KoTool
