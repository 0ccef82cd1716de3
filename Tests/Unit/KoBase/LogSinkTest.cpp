#include <KuUtilsLib/LogSink.h>

#include <KoResult.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>

using namespace KuUtilsLib;

namespace
{

LogRecord MakeRecord()
{
    // 2026-11-20 19:02:11.123 UTC
    const std::chrono::system_clock::time_point time{std::chrono::milliseconds(1795201331123)};
    return {time, LOG_WARNING, KoResult::OK, "KoSerialLib", nullptr, 4711, "SerialPort.cpp", 42, "Close", "text"};
}

/// How a message shows in the line.
std::string FormatMessage(const std::string& aMessage)
{
    LogRecord record = MakeRecord();
    record.mMessage = aMessage.c_str();
    const std::string line = FormatLogRecord(record);
    return line.substr(line.find("Close: ") + 7);
}

} // namespace

TEST(LogSinkTest, PutsAnEntryIntoOneLine)
{
    EXPECT_EQ(FormatLogRecord(MakeRecord()),
              "2026-11-20T19:02:11.123Z warning KoSerialLib [4711] SerialPort.cpp:42 Close: text");
}

TEST(LogSinkTest, NamesEveryLevel)
{
    const std::pair<PriorityLevel, std::string> names[] = {
        {LOG_CRITICAL, "critical"}, {LOG_ERROR, "error"}, {LOG_WARNING, "warning"},
        {LOG_INFO, "info"},         {LOG_DEBUG, "debug"}, {static_cast<PriorityLevel>(5), "unknown"}};
    for (const auto& [level, name] : names)
    {
        LogRecord record = MakeRecord();
        record.mLevel = level;

        EXPECT_EQ(FormatLogRecord(record),
                  "2026-11-20T19:02:11.123Z " + name + " KoSerialLib [4711] SerialPort.cpp:42 Close: text");
    }
}

TEST(LogSinkTest, PutsTheInstanceBehindTheCategory)
{
    LogRecord record = MakeRecord();
    record.mInstance = "left";

    EXPECT_EQ(FormatLogRecord(record),
              "2026-11-20T19:02:11.123Z warning KoSerialLib/left [4711] SerialPort.cpp:42 Close: text");
}

TEST(LogSinkTest, PutsTheNameOfACodeBeforeTheText)
{
    LogRecord record = MakeRecord();
    record.mCode = KoResult::NOT_CONNECTED;

    EXPECT_EQ(FormatLogRecord(record),
              "2026-11-20T19:02:11.123Z warning KoSerialLib [4711] SerialPort.cpp:42 Close: NOT_CONNECTED: text");
}

TEST(LogSinkTest, LeavesTheFoldersOfAFileOut)
{
    LogRecord record = MakeRecord();
    record.mFile = "Libraries/KoSerial/SerialPort.cpp";

    EXPECT_EQ(FormatLogRecord(record),
              "2026-11-20T19:02:11.123Z warning KoSerialLib [4711] SerialPort.cpp:42 Close: text");
}

TEST(LogSinkTest, TellsTheTimeOfGreenwichWhereverTheProcessRuns)
{
    ::setenv("TZ", "AAA+11", 1);
    ::tzset();
    const std::string line = FormatLogRecord(MakeRecord());
    ::unsetenv("TZ");
    ::tzset();

    EXPECT_EQ(line.substr(0, line.find(' ')), "2026-11-20T19:02:11.123Z");
}

TEST(LogSinkTest, FillsMillisecondsUpWithZeros)
{
    LogRecord record = MakeRecord();
    record.mTime = std::chrono::system_clock::time_point{std::chrono::milliseconds(7)};

    EXPECT_EQ(FormatLogRecord(record),
              "1970-01-01T00:00:00.007Z warning KoSerialLib [4711] SerialPort.cpp:42 Close: text");
}

TEST(LogSinkTest, EscapesEveryControlCharacter)
{
    EXPECT_EQ(FormatMessage("\x1b[31mred\r\n"), "\\x1b[31mred\\x0d\\x0a");
    EXPECT_EQ(FormatMessage("\x01\x1f\x7f"), "\\x01\\x1f\\x7f");
}

TEST(LogSinkTest, LeavesPrintableTextAlone)
{
    EXPECT_EQ(FormatMessage(" !0Az~\\"), " !0Az~\\");
    EXPECT_EQ(FormatMessage("caf\u00e9 \u00c0\u00df \u00a0 \u20ac \u76f8\u673a \U0001f4f7"),
              "caf\u00e9 \u00c0\u00df \u00a0 \u20ac \u76f8\u673a \U0001f4f7");
}

TEST(LogSinkTest, EscapesTheControlCharactersAboveAscii)
{
    EXPECT_EQ(FormatMessage("a\xc2\x80z"), "a\xc2\\x80z");
    EXPECT_EQ(FormatMessage("a\xc2\x9fz"), "a\xc2\\x9fz");
    EXPECT_EQ(FormatMessage("a\x9bz"), "a\\x9bz");
    EXPECT_EQ(FormatMessage("\x7f\x80"), "\\x7f\\x80");
}

TEST(LogSinkTest, EscapesTheNamesInAnEntryToo)
{
    LogRecord record = MakeRecord();
    record.mInstance = "le\x1b"
                       "ft";

    EXPECT_EQ(FormatLogRecord(record), "2026-11-20T19:02:11.123Z warning KoSerialLib/le\\x1b"
                                       "ft [4711] SerialPort.cpp:42 Close: text");
}
