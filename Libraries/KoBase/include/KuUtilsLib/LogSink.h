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

/// Takes log entries in place of standard error; installed with Logger::SetSink().
class ILogSink
{
public:
    /// Takes one entry. Calls come from any thread, one at a time. Must not log and must not call Logger::SetSink().
    virtual void Write(const LogRecord& aRecord) = 0;

    virtual ~ILogSink() = default;
};

/// The line that standard error gets for an entry, without the newline:
/// `2026-11-20T19:02:11.123Z warning KoSerialLib [4711] SerialPort.cpp:42 Close: text`. The text of a failure follows
/// the name of its code, as in `Close: NOT_CONNECTED: text`.
KO_BASE_API std::string FormatLogRecord(const LogRecord& aRecord);

} // namespace KuUtilsLib
