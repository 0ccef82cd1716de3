#include <KuUtilsLib/Thread.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using KuUtilsLib::Thread;

TEST(ThreadTest, SleepsAtLeastTheTimeAskedFor)
{
    const auto start = std::chrono::steady_clock::now();
    Thread::Sleep(20);

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(ThreadTest, CountsMillisecondsToWithinATickOfTheKernel)
{
    constexpr std::uint64_t TICK_MS = 10;
    const std::uint64_t start = Thread::GetTickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));

    EXPECT_GE(Thread::GetTickCount() - start, 100 - TICK_MS);
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
