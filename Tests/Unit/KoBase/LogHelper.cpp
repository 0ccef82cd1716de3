// Logs to standard error in one of several ways, for the tests to look at from outside.

#include <KuUtilsLib/LogSink.h>
#include <KuUtilsLib/Logger.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

using KuUtilsLib::Logger;

namespace
{

void LogEveryLevel()
{
    Logger logger("Helper", nullptr);
    logger.Log(KuUtilsLib::LOG_CRITICAL, __FILE__, __LINE__, __func__, "%s", "a critical entry");
    logger.Log(KuUtilsLib::LOG_ERROR, __FILE__, __LINE__, __func__, "%s", "an error entry");
    logger.Log(KuUtilsLib::LOG_WARNING, __FILE__, __LINE__, __func__, "%s", "a warning entry");
    logger.Log(KuUtilsLib::LOG_INFO, __FILE__, __LINE__, __func__, "%s", "an info entry");
    logger.Log(KuUtilsLib::LOG_DEBUG, __FILE__, __LINE__, __func__, "%s", "a debug entry");
}

void LogFromThreads(int aThreads, int aEntries)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < aThreads; ++i)
    {
        threads.emplace_back(
            [i, aEntries]
            {
                const std::string text(200, static_cast<char>('a' + i));
                Logger logger("Helper", nullptr);
                for (int entry = 0; entry < aEntries; ++entry)
                {
                    logger.Log(KuUtilsLib::LOG_ERROR, __FILE__, __LINE__, "Threads", "%s", text.c_str());
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

/// Marks what goes through it.
class MarkingSink : public KuUtilsLib::ILogSink
{
public:
    void Write(const KuUtilsLib::LogRecord& aRecord) override { std::fprintf(stderr, "sink: %s\n", aRecord.mMessage); }
};

void LogWithAndWithoutASink()
{
    MarkingSink sink;
    Logger::SetSink(&sink);
    LogEveryLevel();
    Logger::SetSink(nullptr);
    LogEveryLevel();
}

/// Logs while the static objects of the process are destroyed.
struct LogsAtTheEnd
{
    ~LogsAtTheEnd()
    {
        if (mArmed)
        {
            Logger logger("Helper", nullptr);
            logger.Log(KuUtilsLib::LOG_ERROR, __FILE__, __LINE__, "End", "good bye");
        }
    }
    bool mArmed = false;
};

LogsAtTheEnd sLogsAtTheEnd;

} // namespace

int main(int aCount, char** aArguments)
{
    const char* const mode = aCount > 1 ? aArguments[1] : "levels";
    if (std::strcmp(mode, "levels") == 0)
    {
        LogEveryLevel();
    }
    else if (std::strcmp(mode, "sink") == 0)
    {
        LogWithAndWithoutASink();
    }
    else if (std::strcmp(mode, "control") == 0)
    {
        Logger logger("Helper", nullptr);
        logger.Log(KuUtilsLib::LOG_ERROR, __FILE__, __LINE__, __func__, "%s", "\x1b[2Jtwo\nlines");
    }
    else if (std::strcmp(mode, "threads") == 0)
    {
        LogFromThreads(4, 250);
    }
    else if (std::strcmp(mode, "end") == 0)
    {
        sLogsAtTheEnd.mArmed = true;
    }
    return 0;
}
