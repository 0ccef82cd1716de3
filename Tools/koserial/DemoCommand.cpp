#include "Commands.h"
#include "ConversationLog.h"
#include "Failure.h"
#include "Interruption.h"
#include "OpenPort.h"
#include "SimulatedSetup.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <iostream>

namespace KoTool
{
namespace
{

constexpr auto ANSWER_TIME = std::chrono::seconds(2);
constexpr std::uint32_t POLL_PERIOD_MS = 50;

struct Turn
{
    const char* mCommand;
    const char* mAnswer;
};

constexpr std::array<Turn, 9> CONVERSATION = {{{"id?", "KoSim motorised lens 1.0"},
                                               {"status?", "ready zoom=0 focus=500"},
                                               {"zoom 120", "ok"},
                                               {"zoom?", "120"},
                                               {"focus 650", "ok"},
                                               {"focus?", "650"},
                                               {"focus 2000", "error: a position is a number from 0 to 1000"},
                                               {"iris?", "error: unknown command 'iris?'"},
                                               {"status?", "ready zoom=120 focus=650"}}};

void Say(OpenPort& aPort, const std::string& aCommand)
{
    const std::string line = aCommand + '\r';
    std::uint32_t written = 0;
    aPort.Write(reinterpret_cast<const std::uint8_t*>(line.data()), static_cast<std::uint32_t>(line.size()), written);
}

/// Reads up to the end of a line, or what there is when that does not come in time.
std::string Listen(OpenPort& aPort)
{
    std::string answer;
    const auto deadline = std::chrono::steady_clock::now() + ANSWER_TIME;
    while ((answer.empty() || answer.back() != '\n') && std::chrono::steady_clock::now() < deadline)
    {
        std::array<std::uint8_t, 256> buffer{};
        const std::uint32_t count = aPort.Read(buffer.data(), buffer.size(), POLL_PERIOD_MS);
        answer.append(reinterpret_cast<const char*>(buffer.data()), count);
        Interruption::ThrowIfRequested();
    }
    aPort.NotifyReadComplete();
    return ToPrintable(answer);
}

void Converse(OpenPort& aPort)
{
    ConversationLog log;
    ConversationLog::PrintHeader(std::cout);
    for (const Turn& turn : CONVERSATION)
    {
        Say(aPort, turn.mCommand);
        const std::string answer = Listen(aPort);
        log.PrintNewRows(std::cout);
        if (answer != turn.mAnswer)
        {
            throw Failure(std::string("the answer to '") + turn.mCommand + "' should have been '" + turn.mAnswer + "'");
        }
    }
}

} // namespace

void AddDemoCommand(CLI::App& aApp, const std::string& aDeviceUri)
{
    CLI::App* const command = aApp.add_subcommand("demo", "Hold a conversation with the instrument on uart0");
    command->callback(
        [&aDeviceUri]
        {
            SimulatedSetup setup(ParseDeviceUri(aDeviceUri));
            WithOpenPort(setup, KoDeviceSerialUart0, &Converse);
        });
}

} // namespace KoTool
