#include "ConversationLog.h"

#include <KoDeviceSerialPort.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <iomanip>
#include <ostream>

namespace KoTool
{
namespace
{

constexpr int OUT_WIDTH = 12;
constexpr int IN_WIDTH = 46;

std::string ToText(const std::uint8_t* aData, std::uint32_t aLength)
{
    return aLength == 0 ? std::string() : std::string(reinterpret_cast<const char*>(aData), aLength);
}

void PrintRow(std::ostream& aStream, const std::string& aOut, const std::string& aIn)
{
    aStream << std::left << std::setw(OUT_WIDTH) << aOut << " | " << aIn << '\n';
}

} // namespace

ConversationLog::ConversationLog()
{
    KoDeviceSerialPort::RegisterEchoSink(this);
}

ConversationLog::~ConversationLog()
{
    KoDeviceSerialPort::UnregisterEchoSink(this);
}

void ConversationLog::OnTransmitted(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/, const std::uint8_t* aData,
                                    std::uint32_t aLength, std::uint64_t /*aTimestamp*/)
{
    mCurrent.mOut += ToText(aData, aLength);
}

void ConversationLog::OnRead(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/, const std::uint8_t* aData,
                             std::uint32_t aLength, std::uint64_t /*aTimestamp*/)
{
    mCurrent.mIn += ToText(aData, aLength);
}

void ConversationLog::OnReadComplete(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/,
                                     std::uint64_t /*aTimestamp*/)
{
    mFinished.push_back(mCurrent);
    mCurrent = Row();
}

void ConversationLog::PrintHeader(std::ostream& aStream)
{
    PrintRow(aStream, "out", "in");
    aStream << std::string(OUT_WIDTH, '-') << "-+-" << std::string(IN_WIDTH, '-') << '\n';
}

void ConversationLog::PrintNewRows(std::ostream& aStream)
{
    for (const Row& row : mFinished)
    {
        PrintRow(aStream, ToPrintable(row.mOut), ToPrintable(row.mIn));
    }
    aStream.flush();
    mFinished.clear();
}

std::string ToPrintable(const std::string& aBytes)
{
    const std::size_t end = aBytes.find_last_not_of("\r\n");
    std::string text;
    for (const char byte : aBytes.substr(0, end == std::string::npos ? 0 : end + 1))
    {
        if (std::isprint(static_cast<unsigned char>(byte)) != 0)
        {
            text += byte;
            continue;
        }
        std::array<char, 8> escape{};
        std::snprintf(escape.data(), escape.size(), "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        text += escape.data();
    }
    return text;
}

} // namespace KoTool
