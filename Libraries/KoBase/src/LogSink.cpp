#include <KuUtilsLib/LogSink.h>

#include "EscapedText.h"

#include <KoResult.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace KuUtilsLib
{
namespace
{

const char* GetLevelName(PriorityLevel aLevel)
{
    switch (aLevel)
    {
    case LOG_CRITICAL:
        return "critical";
    case LOG_ERROR:
        return "error";
    case LOG_WARNING:
        return "warning";
    case LOG_INFO:
        return "info";
    case LOG_DEBUG:
        return "debug";
    }
    return "unknown";
}

std::string FormatTime(std::chrono::system_clock::time_point aTime)
{
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(aTime.time_since_epoch()).count();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(aTime);
    std::tm utc{};
    gmtime_r(&seconds, &utc);

    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(sinceEpoch % 1000));
    return std::string(date.data()) + fraction.data();
}

const char* GetFileName(const char* aPath)
{
    const char* slash = std::strrchr(aPath, '/');
    return slash == nullptr ? aPath : slash + 1;
}

} // namespace

std::string FormatLogRecord(const LogRecord& aRecord)
{
    std::string line = FormatTime(aRecord.mTime) + ' ' + GetLevelName(aRecord.mLevel) + ' ' + aRecord.mCategory;
    if (aRecord.mInstance != nullptr)
    {
        line += std::string("/") + aRecord.mInstance;
    }
    line += " [" + std::to_string(aRecord.mThreadId) + "] " + GetFileName(aRecord.mFile) + ':' +
            std::to_string(aRecord.mLine) + ' ' + aRecord.mFunction + ": ";
    if (aRecord.mCode != KoResult::OK)
    {
        line += std::string(KoResult(aRecord.mCode).GetCodeString()) + ": ";
    }
    return KoBase::EscapeControls(line + aRecord.mMessage);
}

} // namespace KuUtilsLib
