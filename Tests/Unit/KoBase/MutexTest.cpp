#include <KuUtilsLib/Mutex.h>

#include "FutexStub.h"

#include <KoResult.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <thread>
#include <vector>

#include <linux/futex.h>

using KuUtilsLib::Mutex;

namespace
{

/// Time that the calling thread has computed for.
std::chrono::nanoseconds GetThreadTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

TEST(MutexTest, NeverExistsAlready)
{
    bool alreadyExists = true;
    Mutex mutex(&alreadyExists, "a name");

    EXPECT_FALSE(alreadyExists);
}

TEST(MutexTest, NeedsNeitherFlagNorName)
{
    Mutex mutex(nullptr, nullptr);

    EXPECT_EQ(mutex.Wait().GetCode(), KoResult::OK);
    mutex.Release();
}

TEST(MutexTest, CanBeOwnedAgainAfterRelease)
{
    Mutex mutex(nullptr, nullptr);
    mutex.Wait();
    mutex.Release();

    EXPECT_EQ(mutex.Wait().GetCode(), KoResult::OK);
    mutex.Release();
}

TEST(MutexTest, IsNotSharedByName)
{
    Mutex first(nullptr, "same");
    Mutex second(nullptr, "same");
    first.Wait();

    EXPECT_EQ(second.Wait().GetCode(), KoResult::OK);
    second.Release();
    first.Release();
}

TEST(MutexTest, MakesAnotherThreadWaitUntilItIsReleased)
{
    Mutex mutex(nullptr, nullptr);
    std::atomic<bool> released{false};
    mutex.Wait();
    std::thread other(
        [&]
        {
            mutex.Wait();
            EXPECT_TRUE(released);
            mutex.Release();
        });

    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    released = true;
    mutex.Release();
    other.join();
}

TEST(MutexTest, TakesNoTimeOfTheProcessorFromAThreadThatWaits)
{
    Mutex mutex(nullptr, nullptr);
    mutex.Wait();
    std::chrono::nanoseconds used{};
    std::thread other(
        [&]
        {
            const std::chrono::nanoseconds before = GetThreadTime();
            mutex.Wait();
            used = GetThreadTime() - before;
            mutex.Release();
        });

    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    mutex.Release();
    other.join();
    EXPECT_LT(used, std::chrono::milliseconds(20));
}

TEST(MutexTest, AsksTheKernelForNothingUnlessTwoThreadsMeet)
{
    const FutexStub kernel(0);
    Mutex mutex(nullptr, nullptr);
    mutex.Wait();
    mutex.Release();

    EXPECT_TRUE(kernel.mCalls.empty());
}

TEST(MutexTest, SleepsAndIsWokenOnceWhenTwoThreadsMeet)
{
    Mutex mutex(nullptr, nullptr);
    mutex.Wait();
    FutexStub kernel(0);
    kernel.mWhileAsleep = [&mutex] { mutex.Release(); };
    mutex.Wait();
    mutex.Release();

    // The second wake is for those who may sleep beside the one that was woken.
    ASSERT_EQ(kernel.mCalls.size(), 3U);
    EXPECT_EQ(kernel.mCalls[0].mOperation, FUTEX_WAIT_BITSET_PRIVATE);
    for (std::size_t wake = 1; wake < 3; ++wake)
    {
        EXPECT_EQ(kernel.mCalls[wake].mOperation, FUTEX_WAKE_PRIVATE);
        EXPECT_EQ(kernel.mCalls[wake].mValue, 1U);
    }
}

TEST(MutexTest, EndsTheProcessWhenTheKernelRefusesToLetAThreadWait)
{
    Mutex mutex(nullptr, nullptr);
    mutex.Wait();
    const FutexStub kernel(EPERM);

    EXPECT_DEATH(mutex.Wait(), "the kernel refuses the futex call");
}

TEST(MutexTest, LetsOneThreadInAtATime)
{
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 2000;
    Mutex mutex(nullptr, nullptr);
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < ROUNDS; ++round)
                {
                    mutex.Wait();
                    ++count;
                    mutex.Release();
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(count, THREADS * ROUNDS);
}
