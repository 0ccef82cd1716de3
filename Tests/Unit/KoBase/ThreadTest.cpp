#include <KuUtilsLib/Thread.h>

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <thread>

using KuUtilsLib::Thread;

namespace
{

/// Milliseconds of the clock that moves on with the tick of the kernel.
std::uint64_t GetCoarseTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    const auto sinceStart = std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count());
}

} // namespace

TEST(ThreadTest, SleepsAtLeastTheTimeAskedFor)
{
    const auto start = std::chrono::steady_clock::now();
    Thread::Sleep(20);

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(ThreadTest, CountsTheMillisecondsOfTheCoarseClockFromOneSecondIntoTheNext)
{
    constexpr std::uint64_t MS_PER_SECOND = 1000;
    const std::uint64_t firstSecond = GetCoarseTime() / MS_PER_SECOND;
    for (std::uint64_t after = 0; after / MS_PER_SECOND <= firstSecond;)
    {
        const std::uint64_t before = GetCoarseTime();
        const std::uint64_t count = Thread::GetTickCount();
        after = GetCoarseTime();
        ASSERT_GE(count, before);
        ASSERT_LE(count, after);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

TEST(ThreadTest, ReturnsFromASleepOfNoTime)
{
    Thread::Sleep(0);
}

TEST(ThreadTest, NeverGoesBackInTime)
{
    std::uint64_t last = Thread::GetTickCount();
    for (int i = 0; i < 10000; ++i)
    {
        const std::uint64_t now = Thread::GetTickCount();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(ThreadTest, GivesEveryThreadTheSameTime)
{
    const std::uint64_t before = Thread::GetTickCount();
    std::uint64_t between = 0;
    std::thread other([&] { between = Thread::GetTickCount(); });
    other.join();

    EXPECT_GE(between, before);
    EXPECT_LE(between, Thread::GetTickCount());
}
