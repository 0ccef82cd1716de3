#pragma once

#include <KoBaseExport.h>
#include <KuUtilsLib/Result.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace KuUtilsLib
{

class ILogSink;

/// Urgency of a log entry, numbered as in syslog: a smaller number is more urgent.
enum PriorityLevel : std::int32_t
{
    LOG_CRITICAL = 2,
    LOG_ERROR = 3,
    LOG_WARNING = 4,
    LOG_INFO = 6,
    LOG_DEBUG = 7,
};

/// Writes log entries of one category.
///
/// Entries up to the process-wide level are recorded, the others cost one relaxed load. The level is LOG_WARNING unless
/// the environment variable KO_LOG names another when the library is loaded (error, warning, info, debug, or a number
/// from 0 to 7) or SetLevel() changes it. Entries go to the sink that SetSink() has put in place; without one they go
/// to standard error when KO_LOG was set then, and nowhere when it was not or was empty. Every operation may be called
/// from any thread.
class KO_BASE_API Logger
{
public:
    /// Creates a logger on the heap; release it with Free().
    /// @param aCategory component that logs; copied
    /// @param aInstance tells objects of one category apart; may be NULL; copied
    /// @param aFlags reserved, 0
    static Logger* Create(const char* aCategory, const char* aInstance, std::uint32_t aFlags);

    /// Destroys a logger made by Create() and sets the pointer to NULL; a NULL pointer is left alone.
    static void Free(Logger*& aLogger);

    /// Creates a short-lived logger in place; arguments as for Create().
    Logger(const char* aCategory, const char* aInstance);

    /// True when entries of that level are recorded.
    bool IsPriorityEnabled(PriorityLevel aLevel) const { return aLevel <= sLevel.load(std::memory_order_relaxed); }

    /// Records one printf-style entry with its origin.
    void Log(PriorityLevel aLevel, const char* aFile, int aLine, const char* aFunction, const char* aFormat, ...)
        __attribute__((format(printf, 6, 7)));

    /// Records one printf-style entry as LOG_ERROR and returns a result with that code and the formatted text.
    Result LogResult(std::uint32_t aCode, const char* aFile, int aLine, const char* aFunction, const char* aFormat, ...)
        __attribute__((format(printf, 6, 7)));

    /// Changes the process-wide level.
    static void SetLevel(PriorityLevel aLevel);

    /// Sends entries to aSink, or to where they went without one when it is NULL. The sink is not owned; after the
    /// return no call to the sink before it runs or will come.
    static void SetSink(ILogSink* aSink);

private:
    void Record(PriorityLevel aLevel, std::uint32_t aCode, const char* aFile, int aLine, const char* aFunction,
                const char* aMessage) const;

    static std::atomic<std::int32_t> sLevel;

    std::string mCategory;
    std::string mInstance;
};

} // namespace KuUtilsLib
