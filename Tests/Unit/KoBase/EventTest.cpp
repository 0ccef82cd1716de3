#include <KuUtilsLib/Event.h>

#include "WaitUntil.h"

#include <KoResult.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using KuUtilsLib::Event;

namespace
{

constexpr std::uint32_t LONG_TIME_MS = 60000;

std::uint32_t Look(Event& aEvent)
{
    return aEvent.Wait_ms(0).GetCode();
}

/// Threads that wait for an event; counts those that it woke.
class Waiters
{
public:
    Waiters(Event& aEvent, int aCount)
    {
        for (int i = 0; i < aCount; ++i)
        {
            mThreads.emplace_back(
                [this, &aEvent]
                {
                    if (aEvent.Wait_ms(LONG_TIME_MS).GetCode() == KoResult::OK)
                    {
                        ++mWoken;
                    }
                });
        }
    }
    ~Waiters()
    {
        for (std::thread& thread : mThreads)
        {
            thread.join();
        }
    }
    bool WaitForWoken(int aCount)
    {
        return WaitUntil([&] { return mWoken >= aCount; });
    }
    int GetWoken() const { return mWoken; }

private:
    std::atomic<int> mWoken{0};
    std::vector<std::thread> mThreads;
};

} // namespace

class EventTest : public ::testing::TestWithParam<bool>
{
protected:
    Event mEvent{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(BothKinds, EventTest, ::testing::Bool(),
                         [](const auto& aInfo) { return aInfo.param ? "ManualReset" : "AutomaticReset"; });

TEST_P(EventTest, IsNotSetAfterConstruction)
{
    EXPECT_EQ(Look(mEvent), KoResult::TIMEOUT);
}

TEST_P(EventTest, SucceedsToSetAndResetAtAnyTime)
{
    EXPECT_EQ(mEvent.Reset().GetCode(), KoResult::OK);
    EXPECT_EQ(mEvent.Set().GetCode(), KoResult::OK);
    EXPECT_EQ(mEvent.Set().GetCode(), KoResult::OK);
    EXPECT_EQ(mEvent.Reset().GetCode(), KoResult::OK);
}

TEST_P(EventTest, IsSeenByAWaitThatStartsAfterSet)
{
    mEvent.Set();

    EXPECT_EQ(mEvent.Wait_ms(LONG_TIME_MS).GetCode(), KoResult::OK);
}

TEST_P(EventTest, IsSeenByAWaitOfNoTime)
{
    mEvent.Set();

    EXPECT_EQ(Look(mEvent), KoResult::OK);
}

TEST_P(EventTest, IsNotSeenAfterReset)
{
    mEvent.Set();
    mEvent.Reset();

    EXPECT_EQ(Look(mEvent), KoResult::TIMEOUT);
}

TEST_P(EventTest, WaitsTheWholeTimeOfAMonotonicClock)
{
    const auto start = std::chrono::steady_clock::now();

    EXPECT_EQ(mEvent.Wait_ms(30).GetCode(), KoResult::TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST_P(EventTest, WakesAThreadThatWaits)
{
    Waiters waiters(mEvent, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    mEvent.Set();

    EXPECT_TRUE(waiters.WaitForWoken(1));
}

TEST_P(EventTest, TakesTheLongestTimeThatCanBeAskedFor)
{
    std::thread setter([&] { mEvent.Set(); });

    EXPECT_EQ(mEvent.Wait_ms(0xFFFFFFFF).GetCode(), KoResult::OK);
    setter.join();
}

TEST(ManualResetEventTest, StaysSetUntilReset)
{
    Event event(true);
    event.Set();

    EXPECT_EQ(Look(event), KoResult::OK);
    EXPECT_EQ(Look(event), KoResult::OK);
    event.Reset();
    EXPECT_EQ(Look(event), KoResult::TIMEOUT);
}

TEST(ManualResetEventTest, WakesEveryThreadThatWaits)
{
    Event event(true);
    Waiters waiters(event, 4);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    event.Set();

    EXPECT_TRUE(waiters.WaitForWoken(4));
    EXPECT_EQ(Look(event), KoResult::OK);
}

TEST(AutomaticResetEventTest, IsUsedUpByOneWait)
{
    Event event(false);
    event.Set();

    EXPECT_EQ(Look(event), KoResult::OK);
    EXPECT_EQ(Look(event), KoResult::TIMEOUT);
}

TEST(AutomaticResetEventTest, CountsSeveralSetsAsOne)
{
    Event event(false);
    event.Set();
    event.Set();

    EXPECT_EQ(Look(event), KoResult::OK);
    EXPECT_EQ(Look(event), KoResult::TIMEOUT);
}

TEST(AutomaticResetEventTest, WakesOneThreadWithEachSet)
{
    constexpr int COUNT = 4;
    Event event(false);
    Waiters waiters(event, COUNT);
    for (int woken = 1; woken <= COUNT; ++woken)
    {
        event.Set();
        ASSERT_TRUE(waiters.WaitForWoken(woken));
        EXPECT_EQ(waiters.GetWoken(), woken);
    }

    EXPECT_EQ(Look(event), KoResult::TIMEOUT);
}

TEST(AutomaticResetEventTest, HandsOverEverySignalBetweenTwoThreads)
{
    constexpr int ROUNDS = 500;
    Event ping(false);
    Event pong(false);
    int shared = 0;
    std::thread other(
        [&]
        {
            for (int i = 0; i < ROUNDS; ++i)
            {
                ASSERT_EQ(ping.Wait_ms(LONG_TIME_MS).GetCode(), KoResult::OK);
                ++shared;
                pong.Set();
            }
        });
    for (int i = 0; i < ROUNDS; ++i)
    {
        ++shared;
        ping.Set();
        ASSERT_EQ(pong.Wait_ms(LONG_TIME_MS).GetCode(), KoResult::OK);
    }
    other.join();

    EXPECT_EQ(shared, 2 * ROUNDS);
}
