#include "Commands.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "InputFile.h"
#include "OutputFile.h"
#include "PortNames.h"
#include "PortSetup.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>

namespace KoTool
{
namespace
{

using Json = nlohmann::ordered_json;

/// More than any file of settings has.
constexpr std::size_t LONGEST_FILE = 65536;

struct ConfigOptions
{
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    PortSettings mChanges;
    std::optional<std::string> mSaveFile;
    std::optional<std::string> mRestoreFile;
    bool mJson = false;
};

/// One setting: its name, what the device shows, and what was asked for.
struct Row
{
    const char* mName;
    Json mShown;
    Json mAsked;

    bool IsTaken() const { return mAsked.is_null() || mAsked == mShown; }
};

template <typename Value>
Json ToJson(const std::optional<Value>& aValue)
{
    return aValue ? Json(*aValue) : Json();
}

Json ToJson(const std::optional<KoParity>& aValue)
{
    return aValue ? Json(FormatParity(*aValue)) : Json();
}

std::vector<Row> MakeRows(const PortSettings& aShown, const PortSettings& aAsked)
{
    return {{"baud", ToJson(aShown.mBaudRate), ToJson(aAsked.mBaudRate)},
            {"parity", ToJson(aShown.mParity), ToJson(aAsked.mParity)},
            {"stop-bits", ToJson(aShown.mStopBits), ToJson(aAsked.mStopBits)},
            {"bulk-mode", ToJson(aShown.mBulkMode), ToJson(aAsked.mBulkMode)}};
}

std::string ToText(const Json& aValue)
{
    if (aValue.is_null())
    {
        return "-";
    }
    return aValue.is_string() ? aValue.get<std::string>() : aValue.dump();
}

std::string DescribeOutcome(const Row& aRow)
{
    if (aRow.mAsked.is_null())
    {
        return "";
    }
    return aRow.IsTaken() ? "set" : "not taken: " + ToText(aRow.mAsked);
}

void PrintLine(const std::string& aName, const std::string& aValue, const std::string& aOutcome)
{
    std::cout << std::left << std::setw(11) << aName;
    if (!aOutcome.empty())
    {
        std::cout << std::setw(8) << aValue << aOutcome << '\n';
        return;
    }
    std::cout << aValue << '\n';
}

void PrintTable(const std::vector<Row>& aRows, const std::vector<std::uint32_t>& aRates)
{
    for (const Row& row : aRows)
    {
        PrintLine(row.mName, ToText(row.mShown), DescribeOutcome(row));
    }
    std::string rates;
    for (const std::uint32_t rate : aRates)
    {
        rates += (rates.empty() ? "" : " ") + std::to_string(rate);
    }
    PrintLine("rates", rates.empty() ? "-" : rates, "");
}

/// As programs like to have it.
std::string ToKey(std::string aName)
{
    std::replace(aName.begin(), aName.end(), '-', '_');
    return aName;
}

void PrintJson(KoDeviceSerial aPort, const std::vector<Row>& aRows, const std::vector<std::uint32_t>& aRates)
{
    Json json = {{"port", GetPortName(aPort)}};
    Json notTaken = Json::array();
    for (const Row& row : aRows)
    {
        json[ToKey(row.mName)] = row.mShown;
        if (!row.IsTaken())
        {
            notTaken.push_back(ToKey(row.mName));
        }
    }
    json["rates"] = aRates;
    json["not_taken"] = notTaken;
    std::cout << json << '\n';
}

PortSettings ReadSettings(const std::string& aPath)
{
    InputFile file(aPath);
    const Bytes text = ReadAll(file, LONGEST_FILE);
    const std::string& name = file.GetDescriptor().GetName();
    PortSettings settings = ParseSettings(name, {text.begin(), text.end()});
    if (settings == PortSettings())
    {
        throw Failure(name + " holds no settings");
    }
    return settings;
}

void SaveSettings(const std::string& aPath, KoDeviceSerial aPort, const PortSettings& aSettings)
{
    const std::string text =
        std::string("# koserial: settings of ") + GetPortName(aPort) + '\n' + FormatSettings(aSettings);
    OutputFile(aPath).Write(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

void CheckTaken(KoDeviceSerial aPort, const std::vector<Row>& aRows)
{
    if (!std::all_of(aRows.begin(), aRows.end(), [](const Row& aRow) { return aRow.IsTaken(); }))
    {
        throw Failure(std::string(GetPortName(aPort)) + " has not taken every setting");
    }
}

void Print(const ConfigOptions& aOptions, const std::vector<Row>& aRows, const std::vector<std::uint32_t>& aRates)
{
    if (aOptions.mJson)
    {
        PrintJson(aOptions.mPort, aRows, aRates);
    }
    else
    {
        PrintTable(aRows, aRates);
    }
}

void RunConfig(const std::string& aDeviceUri, const ConfigOptions& aOptions)
{
    const bool isSavePrinted = aOptions.mSaveFile == STANDARD_STREAM;
    if (isSavePrinted && aOptions.mJson)
    {
        throw MakeUsageFailure("--json and --save - cannot both have standard output");
    }
    const PortSettings saved = aOptions.mRestoreFile ? ReadSettings(*aOptions.mRestoreFile) : PortSettings();
    const PortSettings changes = Overlay(saved, aOptions.mChanges);
    SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
    PortSetup port(setup.GetDevice(), aOptions.mPort);
    if (!(changes == PortSettings()))
    {
        port.Apply(changes);
    }
    const PortSettings shown = port.Read();
    const std::vector<Row> rows = MakeRows(shown, changes);
    if (!isSavePrinted)
    {
        Print(aOptions, rows, port.GetRates());
    }
    if (aOptions.mSaveFile)
    {
        SaveSettings(*aOptions.mSaveFile, aOptions.mPort, shown);
    }
    CheckTaken(aOptions.mPort, rows);
}

} // namespace

void AddConfigCommand(CLI::App& aApp, const std::string& aDeviceUri)
{
    const auto options = std::make_shared<ConfigOptions>();
    CLI::App* const command = aApp.add_subcommand("config", "Show and change the settings of a port of the device");
    AddPort(*command, options->mPort);
    AddNumber(*command, "--baud", "The rate in bit/s; a bulk port becomes a UART", {1, 0xFFFFFFFF},
              options->mChanges.mBaudRate);
    command
        ->add_option_function<std::string>(
            "--parity", [options](const std::string& aText) { options->mChanges.mParity = ParseParity(aText); },
            "none, even or odd")
        ->type_name("P");
    AddNumber(*command, "--stop-bits", "1 or 2", {1, 2}, options->mChanges.mStopBits);
    command
        ->add_option("--save", options->mSaveFile, "Write the settings to a file; - prints them instead of the table")
        ->type_name("FILE");
    command->add_option("--restore", options->mRestoreFile, "Set what --save has written; - for standard input")
        ->type_name("FILE");
    AddJson(*command, options->mJson);
    command->callback([options, &aDeviceUri] { RunConfig(aDeviceUri, *options); });
}

} // namespace KoTool
