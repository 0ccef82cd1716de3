#pragma once

#include <KoDeviceSerialPortEchoSink.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace KoTool
{

/// Logs what goes out and what comes back as a table of two columns, a row for each sequence of reads. It listens to
/// the serial ports of this process for as long as it lives.
class ConversationLog : public KoDeviceSerialPortEchoSink
{
public:
    ConversationLog();
    ~ConversationLog() override;

    ConversationLog(const ConversationLog&) = delete;
    ConversationLog& operator=(const ConversationLog&) = delete;

    void OnTransmitted(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData,
                       std::uint32_t aLength, std::uint64_t aTimestamp) override;
    void OnRead(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData, std::uint32_t aLength,
                std::uint64_t aTimestamp) override;
    void OnReadComplete(const KoString& aPortName, KoDeviceSerial aPort, std::uint64_t aTimestamp) override;

    static void PrintHeader(std::ostream& aStream);

    /// Prints the rows that were finished since the last call. On the thread that reads and writes, or when it is done.
    void PrintNewRows(std::ostream& aStream);

private:
    struct Row
    {
        std::string mOut;
        std::string mIn;
    };

    Row mCurrent;
    std::vector<Row> mFinished;
};

/// The bytes as one line of printable characters: without the line end, and with anything unprintable as \xNN.
std::string ToPrintable(const std::string& aBytes);

} // namespace KoTool
