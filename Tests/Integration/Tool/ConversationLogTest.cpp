#include <ConversationLog.h>

#include <gtest/gtest.h>

#include <sstream>

using namespace KoTool;

namespace
{

const std::uint8_t* ToBytes(const char* aText)
{
    return reinterpret_cast<const std::uint8_t*>(aText);
}

} // namespace

TEST(ConversationLog, PutsWhatWentOutBesideWhatCameBack)
{
    ConversationLog log;
    log.OnTransmitted("dev", KoDeviceSerialUart0, ToBytes("zoom?\r"), 6, 0);
    log.OnRead("dev", KoDeviceSerialUart0, ToBytes("12"), 2, 0);
    log.OnRead("dev", KoDeviceSerialUart0, ToBytes("0\r\n"), 3, 0);
    log.OnReadComplete("dev", KoDeviceSerialUart0, 0);

    std::ostringstream printed;
    log.PrintNewRows(printed);
    EXPECT_EQ(printed.str(), "zoom?        | 120\n");
}

TEST(ConversationLog, PrintsARowOnceAndOnlyWhenItIsFinished)
{
    ConversationLog log;
    std::ostringstream printed;
    log.OnTransmitted("dev", KoDeviceSerialUart0, ToBytes("a"), 1, 0);
    log.PrintNewRows(printed);
    EXPECT_EQ(printed.str(), "");

    log.OnReadComplete("dev", KoDeviceSerialUart0, 0);
    log.PrintNewRows(printed);
    log.PrintNewRows(printed);
    EXPECT_EQ(printed.str(), "a            | \n");
}

TEST(ConversationLog, TakesNoBytesFromANullPointer)
{
    ConversationLog log;
    log.OnRead("dev", KoDeviceSerialUart0, nullptr, 0, 0);
    log.OnReadComplete("dev", KoDeviceSerialUart0, 0);

    std::ostringstream printed;
    log.PrintNewRows(printed);
    EXPECT_EQ(printed.str(), "             | \n");
}

TEST(ConversationLog, ShowsUnprintableBytesAsNumbers)
{
    EXPECT_EQ(ToPrintable("a\x07\xFF\r\n"), "a\\x07\\xFF");
    EXPECT_EQ(ToPrintable("a\r\nb\n"), "a\\x0D\\x0Ab");
    EXPECT_EQ(ToPrintable("\r\n"), "");
}
