#pragma once

#include <KuUtilsLib/Result.h>

#include <cstdint>
#include <string>

namespace KuUtilsLib
{

enum PriorityLevel : std::int32_t
{
    LOG_CRITICAL = 2,
    LOG_ERROR = 3,
    LOG_WARNING = 4,
    LOG_INFO = 6,
    LOG_DEBUG = 7,
};

class Logger
{
public:
    static Logger* Create(const char* aCategory, const char* aInstance, std::uint32_t aFlags);
    static void Free(Logger*& aLogger);

    explicit Logger(const char* aCategory, const char* aInstance);

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    bool IsPriorityEnabled(PriorityLevel aLevel) const;
    void Log(PriorityLevel aLevel, const char* aFile, int aLine, const char* aFunction, const char* aFormat, ...);
    Result LogResult(std::uint32_t aCode, const char* aFile, int aLine, const char* aFunction, const char* aFormat,
                     ...);

private:
    std::string mCategory;
    bool mOnHeap = false;
};

} // namespace KuUtilsLib
