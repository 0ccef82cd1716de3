#include <KuUtilsLib/LockScope.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

using KuUtilsLib::LockScope;
using KuUtilsLib::Mutex;

TEST(LockScopeTest, OwnsTheMutexAsLongAsItLives)
{
    Mutex mutex(nullptr, nullptr);
    std::atomic<bool> ended{false};
    std::thread other;
    {
        const LockScope lock(&mutex);
        other = std::thread(
            [&]
            {
                const LockScope otherLock(&mutex);
                EXPECT_TRUE(ended);
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ended = true;
    }
    other.join();
}

TEST(LockScopeTest, GivesTheMutexUpWhenAnExceptionLeavesTheScope)
{
    Mutex mutex(nullptr, nullptr);
    try
    {
        const LockScope lock(&mutex);
        throw std::runtime_error("away");
    }
    catch (const std::runtime_error&)
    {
    }

    mutex.Wait();
    mutex.Release();
}
