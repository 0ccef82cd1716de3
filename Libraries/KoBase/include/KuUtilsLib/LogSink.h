#pragma once

#include <KuUtilsLib/Logger.h>

#include <chrono>
#include <string>

namespace KuUtilsLib
{

/// One log entry. The texts are valid during ILogSink::Write().
struct LogRecord
{
    std::chrono::system_clock::time_point mTime;
    PriorityLevel mLevel;
    std::uint32_t mCode; ///< code of the failure that Logger::LogResult() records, 0 for any other entry
    const char* mCategory;
    const char* mInstance; ///< which of several objects of one category; NULL when there is no need to tell
    long mThreadId;        ///< the kernel's identifier of the thread that logs
    const char* mFile;
    int mLine;
    const char* mFunction;
    const char* mMessage;
};

/// Takes the log entries of the process; installed with Logger::SetSink().
class ILogSink
{
public:
    /// Takes one entry. Calls come from any thread, one at a time.
    ///
    /// Calls nothing of the library but FormatLogRecord(), neither by itself nor by waiting for a thread that does: the
    /// log's lock is held, and whoever logs may hold the lock of a port. Returns soon, because everyone who logs waits,
    /// the threads of the device layer among them.
    virtual void Write(const LogRecord& aRecord) = 0;

    virtual ~ILogSink() = default;
};

/// The line that standard error gets for an entry, without the newline:
/// `2026-11-20T19:02:11.123Z warning KoSerialLib [4711] SerialPort.cpp:42 Close: text`. The text of a failure follows
/// the name of its code, as in `Close: NOT_CONNECTED: text`. Control characters, also those of UTF-8 (U+0080 to
/// U+009F), become `\x1b` and the like, so that an entry stays one line and cannot speak to a terminal.
KO_BASE_API std::string FormatLogRecord(const LogRecord& aRecord);

} // namespace KuUtilsLib
