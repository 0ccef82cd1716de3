#include <KuUtilsLib/Event.h>

#include "EventPages.h"
#include "FutexStub.h"
#include "WaitUntil.h"

#include <KoResult.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <ctime>
#include <memory>
#include <thread>
#include <vector>

#include <linux/futex.h>

using KuUtilsLib::Event;

namespace
{

constexpr std::uint32_t LONG_TIME_MS = 60000;
constexpr std::int64_t NS_PER_MS = 1000000;
constexpr std::int64_t NS_PER_SECOND = 1000 * NS_PER_MS;

std::uint32_t Look(Event& aEvent)
{
    return aEvent.Wait_ms(0).GetCode();
}

/// Waits in vain, so that the event takes a thread for asleep from now on.
void LeaveAwaited(Event& aEvent)
{
    const FutexStub kernel(ETIMEDOUT);
    aEvent.Wait_ms(1);
}

std::int64_t ToNanoseconds(const timespec& aTime)
{
    return aTime.tv_sec * NS_PER_SECOND + aTime.tv_nsec;
}

std::int64_t GetMonotonicTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return ToNanoseconds(time);
}

/// Checks that the kernel is asked to end a wait when its time is over, neither earlier nor later.
void ExpectWaitOf(Event& aEvent, std::uint32_t aTimeoutMs)
{
    const FutexStub kernel(ETIMEDOUT);
    const std::int64_t before = GetMonotonicTime();
    EXPECT_EQ(aEvent.Wait_ms(aTimeoutMs).GetCode(), KoResult::TIMEOUT);
    const std::int64_t after = GetMonotonicTime();

    ASSERT_EQ(kernel.mCalls.size(), 1U);
    EXPECT_EQ(kernel.mCalls[0].mOperation, FUTEX_WAIT_BITSET_PRIVATE);
    const timespec& deadline = kernel.mCalls[0].mDeadline;
    EXPECT_LT(deadline.tv_nsec, NS_PER_SECOND);
    EXPECT_GE(ToNanoseconds(deadline), before + aTimeoutMs * NS_PER_MS);
    EXPECT_LE(ToNanoseconds(deadline), after + aTimeoutMs * NS_PER_MS);
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
    for (const std::uint32_t timeoutMs : {1U, 30U, 1000U})
    {
        const auto start = std::chrono::steady_clock::now();

        EXPECT_EQ(mEvent.Wait_ms(timeoutMs).GetCode(), KoResult::TIMEOUT);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(timeoutMs));
    }
}

TEST_P(EventTest, AsksTheKernelForTheWholeTimeOfEveryWait)
{
    // Each fraction of a second, so that some deadlines fall into the next one.
    for (std::uint32_t timeoutMs = 1; timeoutMs <= 1001; ++timeoutMs)
    {
        ExpectWaitOf(mEvent, timeoutMs);
    }
    ExpectWaitOf(mEvent, 0xFFFFFFFF);
}

TEST_P(EventTest, AsksTheKernelForNothingWhenAWaitHasNoTime)
{
    const FutexStub kernel(ETIMEDOUT);
    Look(mEvent);

    EXPECT_TRUE(kernel.mCalls.empty());
}

TEST_P(EventTest, AsksTheKernelForNothingWhenNobodyWaits)
{
    const FutexStub kernel(0);
    mEvent.Set();
    mEvent.Wait_ms(LONG_TIME_MS);
    mEvent.Set();

    EXPECT_TRUE(kernel.mCalls.empty());
}

TEST_P(EventTest, WakesEveryThreadUnlessAWaitResetsIt)
{
    LeaveAwaited(mEvent);
    const FutexStub kernel(0);
    mEvent.Set();

    ASSERT_EQ(kernel.mCalls.size(), 1U);
    EXPECT_EQ(kernel.mCalls[0].mOperation, FUTEX_WAKE_PRIVATE);
    EXPECT_EQ(kernel.mCalls[0].mValue, static_cast<std::uint32_t>(GetParam() ? INT_MAX : 1));
}

TEST_P(EventTest, SleepsAgainWhenTheKernelEndsASleepEarly)
{
    for (const int error : {0, EAGAIN, EINTR})
    {
        const FutexStub kernel(error);
        EXPECT_DEATH(mEvent.Wait_ms(LONG_TIME_MS), "again and again");
    }
}

TEST_P(EventTest, TakesNoEarlierErrorForTheEndOfItsTime)
{
    const FutexStub kernel(0);
    const auto waitAfterAnError = [this]
    {
        errno = ETIMEDOUT;
        mEvent.Wait_ms(LONG_TIME_MS);
    };
    EXPECT_DEATH(waitAfterAnError(), "again and again");
}

TEST_P(EventTest, EndsTheProcessWhenTheKernelRefusesToLetItWait)
{
    for (const int error : {EPERM, ENOSYS, EINVAL, EFAULT})
    {
        const FutexStub kernel(error);
        EXPECT_DEATH(mEvent.Wait_ms(LONG_TIME_MS), "the kernel refuses the futex call");
    }
}

TEST_P(EventTest, EndsTheProcessWhenTheKernelRefusesToWake)
{
    LeaveAwaited(mEvent);
    const FutexStub kernel(EPERM);

    EXPECT_DEATH(mEvent.Set(), "the kernel refuses the futex call");
}

TEST_P(EventTest, WakesNobodyInMemoryThatWasGivenBack)
{
    for (const int error : {EFAULT, EINVAL})
    {
        mEvent.Reset();
        LeaveAwaited(mEvent);
        const FutexStub kernel(error);

        EXPECT_EQ(mEvent.Set().GetCode(), KoResult::OK);
        EXPECT_EQ(kernel.mCalls.size(), 1U);
    }
}

TEST_P(EventTest, ReadsNothingOfItselfOnceItsSignalCanBeSeen)
{
    EventPages pages(GetParam());
    LeaveAwaited(pages.GetEvent());
    pages.ForbidAllButTheSignal();
    pages.GetEvent().Set();

    EXPECT_FALSE(pages.WasReadAfterTheSignal());
    EXPECT_EQ(Look(pages.GetEvent()), KoResult::OK);
}

TEST_P(EventTest, MayBeDestroyedByTheThreadThatItWakes)
{
    constexpr int ROUNDS = 500;
    for (int round = 0; round < ROUNDS; ++round)
    {
        auto event = std::make_unique<Event>(GetParam());
        std::thread setter([signal = event.get()] { signal->Set(); });
        EXPECT_EQ(event->Wait_ms(LONG_TIME_MS).GetCode(), KoResult::OK);
        event.reset();
        setter.join();
    }
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
