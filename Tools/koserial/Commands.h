#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace KoTool
{

/// @name Commands
/// Each adds one command with its options to the command line; the command runs when the command line has been parsed
/// and reports by throwing a Failure. The device URI has its value by then and outlives the command.
/// @{
void AddPortsCommand(CLI::App& aApp, const std::string& aDeviceUri);
void AddConfigCommand(CLI::App& aApp, const std::string& aDeviceUri);
void AddTermCommand(CLI::App& aApp, const std::string& aDeviceUri);
void AddSendCommand(CLI::App& aApp, const std::string& aDeviceUri);
void AddRecvCommand(CLI::App& aApp, const std::string& aDeviceUri);
void AddDemoCommand(CLI::App& aApp, const std::string& aDeviceUri);

void AddI2cScanCommand(CLI::App& aGroup, const std::string& aDeviceUri);
void AddI2cReadCommand(CLI::App& aGroup, const std::string& aDeviceUri);
void AddI2cWriteCommand(CLI::App& aGroup, const std::string& aDeviceUri);
void AddI2cDumpCommand(CLI::App& aGroup, const std::string& aDeviceUri);
void AddI2cTransferCommand(CLI::App& aGroup, const std::string& aDeviceUri);

void AddSpiTransferCommand(CLI::App& aGroup, const std::string& aDeviceUri);
void AddFlashIdCommand(CLI::App& aGroup, const std::string& aDeviceUri);
void AddFlashReadCommand(CLI::App& aGroup, const std::string& aDeviceUri);
void AddFlashWriteCommand(CLI::App& aGroup, const std::string& aDeviceUri);
/// @}

} // namespace KoTool
