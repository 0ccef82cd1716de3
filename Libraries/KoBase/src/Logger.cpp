#include <KuUtilsLib/Logger.h>

#include "EscapedText.h"

#include <KoResult.h>
#include <KuUtilsLib/LogSink.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>

#include <sys/syscall.h>
#include <unistd.h>

namespace KuUtilsLib
{
namespace
{

std::optional<std::int32_t> ParseLevel(const std::string& aText)
{
    if (aText.size() == 1 && aText[0] >= '0' && aText[0] <= '7')
    {
        return aText[0] - '0';
    }
    if (aText == "error")
    {
        return LOG_ERROR;
    }
    if (aText == "warning")
    {
        return LOG_WARNING;
    }
    if (aText == "info")
    {
        return LOG_INFO;
    }
    if (aText == "debug")
    {
        return LOG_DEBUG;
    }
    return std::nullopt;
}

/// What KO_LOG asks for; empty when it is not set.
std::string GetLogVariable()
{
    const char* text = std::getenv("KO_LOG"); // NOLINT(concurrency-mt-unsafe): while static objects are made
    return text == nullptr ? "" : text;
}

std::int32_t GetInitialLevel()
{
    const std::string text = GetLogVariable();
    const std::optional<std::int32_t> level = ParseLevel(text);
    if (!level && !text.empty())
    {
        std::fprintf(stderr, "KO_LOG=%s is not a log level: use error, warning, info, debug, or a number from 0 to 7\n",
                     KoBase::EscapeControls(text).c_str());
    }
    return level.value_or(LOG_WARNING);
}

/// True when standard error gets the entries that no sink takes.
const bool sIsLogAskedFor = !GetLogVariable().empty();

/// Guards sSink and makes entries whole; both outlive every static object that still logs while the process ends.
std::mutex& GetSinkMutex()
{
    static auto* const sMutex = new std::mutex;
    return *sMutex;
}

ILogSink* sSink = nullptr;

std::string FormatV(const char* aFormat, std::va_list aArguments)
{
    std::va_list measured;
    va_copy(measured, aArguments);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is initialized by va_copy
    const int length = std::vsnprintf(nullptr, 0, aFormat, measured);
    va_end(measured);
    if (length < 0)
    {
        return aFormat;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, aFormat, aArguments);
    return text;
}

} // namespace

std::atomic<std::int32_t> Logger::sLevel{GetInitialLevel()};

Logger* Logger::Create(const char* aCategory, const char* aInstance, std::uint32_t /*aFlags*/)
{
    return new Logger(aCategory, aInstance);
}

void Logger::Free(Logger*& aLogger)
{
    delete aLogger;
    aLogger = nullptr;
}

Logger::Logger(const char* aCategory, const char* aInstance)
    : mCategory(aCategory),
      mInstance(aInstance == nullptr ? "" : aInstance)
{
}

void Logger::Log(PriorityLevel aLevel, const char* aFile, int aLine, const char* aFunction, const char* aFormat, ...)
{
    if (!IsPriorityEnabled(aLevel))
    {
        return;
    }
    std::va_list arguments;
    va_start(arguments, aFormat);
    const std::string message = FormatV(aFormat, arguments);
    va_end(arguments);
    Record(aLevel, KoResult::OK, aFile, aLine, aFunction, message.c_str());
}

Result Logger::LogResult(std::uint32_t aCode, const char* aFile, int aLine, const char* aFunction, const char* aFormat,
                         ...)
{
    std::va_list arguments;
    va_start(arguments, aFormat);
    const std::string message = FormatV(aFormat, arguments);
    va_end(arguments);

    if (IsPriorityEnabled(LOG_ERROR))
    {
        Record(LOG_ERROR, aCode, aFile, aLine, aFunction, message.c_str());
    }
    return Result(aCode, message.c_str());
}

void Logger::SetLevel(PriorityLevel aLevel)
{
    sLevel.store(aLevel, std::memory_order_relaxed);
}

void Logger::SetSink(ILogSink* aSink)
{
    const std::lock_guard<std::mutex> lock(GetSinkMutex());
    sSink = aSink;
}

void Logger::Record(PriorityLevel aLevel, std::uint32_t aCode, const char* aFile, int aLine, const char* aFunction,
                    const char* aMessage) const
{
    const LogRecord record{std::chrono::system_clock::now(),
                           aLevel,
                           aCode,
                           mCategory.c_str(),
                           mInstance.empty() ? nullptr : mInstance.c_str(),
                           ::syscall(SYS_gettid),
                           aFile,
                           aLine,
                           aFunction,
                           aMessage};
    const std::lock_guard<std::mutex> lock(GetSinkMutex());
    if (sSink != nullptr)
    {
        sSink->Write(record);
    }
    else if (sIsLogAskedFor)
    {
        std::fprintf(stderr, "%s\n", FormatLogRecord(record).c_str());
    }
}

} // namespace KuUtilsLib
