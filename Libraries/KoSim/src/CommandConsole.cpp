#include <KoSim/CommandConsole.h>

#include <cctype>
#include <charconv>

namespace KoSim
{
namespace
{

constexpr std::size_t LONGEST_COMMAND = 80;
constexpr int LAST_POSITION = 1000;

} // namespace

void CommandConsole::Attach(ILine& aLine)
{
    mLine = &aLine;
}

void CommandConsole::Detach()
{
    mLine = nullptr;
}

void CommandConsole::Receive(const std::uint8_t* aData, std::size_t aLength)
{
    for (std::size_t i = 0; i < aLength; ++i)
    {
        TakeByte(static_cast<char>(aData[i]));
    }
}

void CommandConsole::TakeByte(char aByte)
{
    if (aByte != '\r' && aByte != '\n')
    {
        if (mCommand.size() < LONGEST_COMMAND)
        {
            mCommand += std::isprint(static_cast<unsigned char>(aByte)) != 0 ? aByte : '?';
        }
        else
        {
            mCommandTooLong = true;
        }
        return;
    }
    if (mCommand.empty())
    {
        return;
    }
    const std::string answer =
        (mCommandTooLong ? "error: a command has at most 80 characters" : Execute(mCommand)) + "\r\n";
    mCommand.clear();
    mCommandTooLong = false;
    mLine->Send(reinterpret_cast<const std::uint8_t*>(answer.data()), answer.size());
}

std::string CommandConsole::Execute(const std::string& aCommand)
{
    const std::size_t blank = aCommand.find(' ');
    const std::string verb = aCommand.substr(0, blank);
    const std::string argument = blank == std::string::npos ? std::string() : aCommand.substr(blank + 1);

    if (verb == "zoom")
    {
        return Move(mZoom, argument);
    }
    if (verb == "focus")
    {
        return Move(mFocus, argument);
    }
    if (aCommand == "id?")
    {
        return "KoSim motorised lens 1.0";
    }
    if (aCommand == "zoom?")
    {
        return std::to_string(mZoom);
    }
    if (aCommand == "focus?")
    {
        return std::to_string(mFocus);
    }
    if (aCommand == "status?")
    {
        return "ready zoom=" + std::to_string(mZoom) + " focus=" + std::to_string(mFocus);
    }
    return "error: unknown command '" + aCommand + "'";
}

std::string CommandConsole::Move(int& aAxis, const std::string& aPosition)
{
    int position = 0;
    const char* const end = aPosition.data() + aPosition.size();
    const std::from_chars_result parsed = std::from_chars(aPosition.data(), end, position);
    if (parsed.ec != std::errc() || parsed.ptr != end || position < 0 || position > LAST_POSITION)
    {
        return "error: a position is a number from 0 to 1000";
    }
    aAxis = position;
    return "ok";
}

} // namespace KoSim
