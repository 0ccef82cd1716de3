#include <KuUtilsLib/Logger.h>

#include "RecordingLogSink.h"

#include <KoResult.h>
#include <KuUtilsLib/LogSink.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cwchar>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace KuUtilsLib;

namespace
{

constexpr std::array<PriorityLevel, 5> LEVELS = {LOG_CRITICAL, LOG_ERROR, LOG_WARNING, LOG_INFO, LOG_DEBUG};

/// A text that nobody can read: formatting it ends the process.
class UnreadableText
{
public:
    UnreadableText() : mPage(::mmap(nullptr, SIZE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    ~UnreadableText() { ::munmap(mPage, SIZE); }
    UnreadableText(const UnreadableText&) = delete;
    UnreadableText& operator=(const UnreadableText&) = delete;
    const char* Get() const { return static_cast<const char*>(mPage); }

private:
    static constexpr std::size_t SIZE = 4096;
    void* const mPage;
};

/// Stays in its call until it is let go.
class BlockingLogSink : public ILogSink
{
public:
    void Write(const LogRecord& /*aRecord*/) override
    {
        mEntered.set_value();
        mRelease.get_future().wait();
        mLeft = true;
    }

    std::promise<void> mEntered;
    std::promise<void> mRelease;
    std::atomic<bool> mLeft{false};
};

} // namespace

class LoggerTest : public ::testing::Test
{
protected:
    LoggerTest() { Logger::SetSink(&mSink); }
    ~LoggerTest() override
    {
        Logger::SetSink(nullptr);
        Logger::SetLevel(LOG_WARNING);
    }

    RecordingLogSink mSink;
    Logger mLogger{"Category", nullptr};
};

TEST_F(LoggerTest, RecordsWhatIsAsUrgentAsTheLevelOrMore)
{
    for (const PriorityLevel limit : LEVELS)
    {
        Logger::SetLevel(limit);
        for (const PriorityLevel level : LEVELS)
        {
            mSink.mEntries.clear();
            mLogger.Log(level, "File.cpp", 1, "Function", "text");

            EXPECT_EQ(mLogger.IsPriorityEnabled(level), level <= limit);
            EXPECT_EQ(mSink.mEntries.size(), level <= limit ? 1U : 0U);
        }
    }
}

TEST_F(LoggerTest, NumbersTheLevelsAsSyslogDoes)
{
    EXPECT_EQ(LOG_CRITICAL, 2);
    EXPECT_EQ(LOG_ERROR, 3);
    EXPECT_EQ(LOG_WARNING, 4);
    EXPECT_EQ(LOG_INFO, 6);
    EXPECT_EQ(LOG_DEBUG, 7);
}

TEST_F(LoggerTest, PassesAnEntryOnWithItsOrigin)
{
    mLogger.Log(LOG_ERROR, "File.cpp", 42, "Function", "%d bytes of %s", 3, "data");

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    const RecordingLogSink::Entry& entry = mSink.mEntries[0];
    EXPECT_EQ(entry.mLevel, LOG_ERROR);
    EXPECT_EQ(entry.mCode, KoResult::OK);
    EXPECT_EQ(entry.mCategory, "Category");
    EXPECT_FALSE(entry.mHasInstance);
    EXPECT_EQ(entry.mFile, "File.cpp");
    EXPECT_EQ(entry.mLine, 42);
    EXPECT_EQ(entry.mFunction, "Function");
    EXPECT_EQ(entry.mMessage, "3 bytes of data");
}

TEST_F(LoggerTest, TellsWhenAnEntryWasMade)
{
    const auto before = std::chrono::system_clock::now();
    mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "text");
    const auto after = std::chrono::system_clock::now();

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_GE(mSink.mEntries[0].mTime, before);
    EXPECT_LE(mSink.mEntries[0].mTime, after);
}

TEST_F(LoggerTest, TellsTheThreadThatLogs)
{
    long threadId = 0;
    std::thread other(
        [&]
        {
            threadId = ::syscall(SYS_gettid);
            mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "text");
        });
    other.join();

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mThreadId, threadId);
}

TEST_F(LoggerTest, RecordsAnEmptyMessage)
{
    const std::string nothing;
    mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "%s", nothing.c_str());

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mMessage, "");
}

TEST_F(LoggerTest, TellsObjectsOfOneCategoryApart)
{
    Logger logger("Category", "left");
    logger.Log(LOG_ERROR, "File.cpp", 1, "Function", "text");

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mInstance, "left");
}

TEST_F(LoggerTest, KeepsCopiesOfItsNames)
{
    std::string category = "Category";
    std::string instance = "left";
    Logger logger(category.c_str(), instance.c_str());
    category = "Changed!";
    instance = "gone";
    logger.Log(LOG_ERROR, "File.cpp", 1, "Function", "text");

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mCategory, "Category");
    EXPECT_EQ(mSink.mEntries[0].mInstance, "left");
}

TEST_F(LoggerTest, RecordsLongMessagesInFull)
{
    const std::string text(10000, 'x');
    mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "<%s>", text.c_str());

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mMessage, "<" + text + ">");
}

TEST_F(LoggerTest, RecordsAFormatThatCannotBeConvertedAsItself)
{
    constexpr wint_t NO_LETTER = 0x7FFFFFFF;
    mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "<%lc>", NO_LETTER);
    const Result result = mLogger.LogResult(KoResult::TIMEOUT, "File.cpp", 1, "Function", "[%lc]", NO_LETTER);

    ASSERT_EQ(mSink.mEntries.size(), 2U);
    EXPECT_EQ(mSink.mEntries[0].mMessage, "<%lc>");
    EXPECT_EQ(mSink.mEntries[1].mMessage, "[%lc]");
    EXPECT_STREQ(result.GetDescription(), "[%lc]");
}

TEST_F(LoggerTest, PassesControlCharactersOnToASink)
{
    mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "%s", "\x1b[2J");

    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mMessage, "\x1b[2J");
}

TEST_F(LoggerTest, DoesNotFormatWhatIsNotRecorded)
{
    const UnreadableText text;
    mLogger.Log(LOG_DEBUG, "File.cpp", 1, "Function", "%s", text.Get());

    EXPECT_TRUE(mSink.mEntries.empty());
}

TEST_F(LoggerTest, RecordsAFailureAsAnErrorWithItsCode)
{
    Logger::SetLevel(LOG_ERROR);
    const Result result =
        mLogger.LogResult(KoResult::GENERIC_ERROR, "File.cpp", 7, "Write", "Failed to write byte %d.", 3);

    EXPECT_EQ(result.GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_STREQ(result.GetDescription(), "Failed to write byte 3.");
    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mLevel, LOG_ERROR);
    EXPECT_EQ(mSink.mEntries[0].mCode, KoResult::GENERIC_ERROR);
    EXPECT_EQ(mSink.mEntries[0].mLine, 7);
    EXPECT_EQ(mSink.mEntries[0].mFunction, "Write");
    EXPECT_EQ(mSink.mEntries[0].mMessage, "Failed to write byte 3.");
}

TEST_F(LoggerTest, GivesTheTextOfAFailureThatIsNotRecorded)
{
    Logger::SetLevel(LOG_CRITICAL);
    const Result result = mLogger.LogResult(KoResult::TIMEOUT, "File.cpp", 7, "Read", "after %d ms", 20);

    EXPECT_EQ(result.GetCode(), KoResult::TIMEOUT);
    EXPECT_STREQ(result.GetDescription(), "after 20 ms");
    EXPECT_TRUE(mSink.mEntries.empty());
}

TEST_F(LoggerTest, CreatesLoggersOnTheHeapAndFreesThem)
{
    Logger* logger = Logger::Create("Heap", nullptr, 0);
    ASSERT_NE(logger, nullptr);
    logger->Log(LOG_ERROR, "File.cpp", 1, "Function", "text");
    Logger::Free(logger);

    EXPECT_EQ(logger, nullptr);
    ASSERT_EQ(mSink.mEntries.size(), 1U);
    EXPECT_EQ(mSink.mEntries[0].mCategory, "Heap");
}

TEST_F(LoggerTest, FreesNothingForNull)
{
    Logger* logger = nullptr;
    Logger::Free(logger);

    EXPECT_EQ(logger, nullptr);
}

TEST_F(LoggerTest, WritesToTheSinkThatWasSetLast)
{
    RecordingLogSink other;
    Logger::SetSink(&other);
    mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "text");
    Logger::SetSink(&mSink);

    EXPECT_EQ(other.mEntries.size(), 1U);
    EXPECT_TRUE(mSink.mEntries.empty());
}

TEST_F(LoggerTest, WaitsForARunningCallBeforeASinkIsTakenAway)
{
    BlockingLogSink blocking;
    Logger::SetSink(&blocking);
    std::thread logging([&] { mLogger.Log(LOG_ERROR, "File.cpp", 1, "Function", "text"); });
    blocking.mEntered.get_future().wait();
    std::thread replacing(
        [&]
        {
            Logger::SetSink(nullptr);
            EXPECT_TRUE(blocking.mLeft);
        });

    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    blocking.mRelease.set_value();
    replacing.join();
    logging.join();
}

TEST_F(LoggerTest, HandsOverTheEntriesOfSeveralThreadsOneAtATime)
{
    constexpr int THREADS = 4;
    constexpr int ENTRIES = 250;
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
    {
        threads.emplace_back(
            [&, i]
            {
                for (int entry = 0; entry < ENTRIES; ++entry)
                {
                    mLogger.Log(LOG_ERROR, "File.cpp", i, "Function", "%d", entry);
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    ASSERT_EQ(mSink.mEntries.size(), static_cast<std::size_t>(THREADS * ENTRIES));
    std::array<int, THREADS> next{};
    for (const RecordingLogSink::Entry& entry : mSink.mEntries)
    {
        EXPECT_EQ(entry.mMessage, std::to_string(next.at(static_cast<std::size_t>(entry.mLine))++));
    }
}

TEST_F(LoggerTest, ChangesItsLevelWhileOthersLog)
{
    std::thread other(
        [&]
        {
            for (int i = 0; i < 1000; ++i)
            {
                mLogger.Log(LOG_INFO, "File.cpp", 1, "Function", "text");
            }
        });
    for (int i = 0; i < 1000; ++i)
    {
        Logger::SetLevel(i % 2 == 0 ? LOG_DEBUG : LOG_WARNING);
    }
    other.join();

    EXPECT_LE(mSink.mEntries.size(), 1000U);
}
