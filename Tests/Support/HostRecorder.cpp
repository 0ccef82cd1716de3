#include "HostRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace
{

HostRecorder* sCurrent = nullptr;

} // namespace

HostRecorder::HostRecorder() : mOuter(sCurrent)
{
    sCurrent = this;
}

HostRecorder::~HostRecorder()
{
    EXPECT_TRUE(mHeld.empty()) << "a mutex was never released";
    sCurrent = mOuter;
}

HostRecorder& HostRecorder::Current()
{
    return *sCurrent;
}

void HostRecorder::At(std::uint32_t aDelayMs, std::function<void()> aAction)
{
    mSchedule.emplace(mNow + aDelayMs, std::move(aAction));
}

void HostRecorder::Reserve()
{
    constexpr std::size_t PLENTY = 1000;
    mHeld.reserve(PLENTY);
    mTaken.reserve(PLENTY);
    mEventSets.reserve(PLENTY);
    mEventResets.reserve(PLENTY);
    mEventsMade.reserve(PLENTY);
    mWaits.reserve(PLENTY);
    mSleeps.reserve(PLENTY);
}

std::vector<std::string> HostRecorder::GetTexts(KuUtilsLib::PriorityLevel aLevel) const
{
    std::vector<std::string> texts;
    for (const LogEntry& entry : mLog)
    {
        if (entry.mLevel == aLevel)
        {
            texts.push_back(entry.mText);
        }
    }
    return texts;
}

std::vector<std::string> HostRecorder::GetTexts() const
{
    std::vector<std::string> texts;
    for (const LogEntry& entry : mLog)
    {
        texts.push_back(entry.mText);
    }
    return texts;
}

std::vector<std::size_t> HostRecorder::GetLocks() const
{
    std::vector<std::size_t> locks;
    for (const LogEntry& entry : mLog)
    {
        locks.push_back(entry.mLocks);
    }
    return locks;
}

void HostRecorder::Take(const KuUtilsLib::Mutex* aMutex)
{
    if (mBeforeNextLock)
    {
        std::exchange(mBeforeNextLock, nullptr)();
    }
    EXPECT_EQ(std::count(mHeld.begin(), mHeld.end(), aMutex), 0) << "a mutex was taken by its owner";
    mHeld.push_back(aMutex);
    mTaken.push_back(aMutex);
}

void HostRecorder::Release(const KuUtilsLib::Mutex* aMutex)
{
    const auto held = std::find(mHeld.begin(), mHeld.end(), aMutex);
    if (held == mHeld.end())
    {
        ADD_FAILURE() << "a mutex was released that is not held";
        return;
    }
    mHeld.erase(held);
    if (mAfterNextRelease)
    {
        std::exchange(mAfterNextRelease, nullptr)();
    }
}

void HostRecorder::Wait(std::uint32_t aTimeoutMs, const bool& aUntil)
{
    EXPECT_TRUE(mHeld.empty()) << "a mutex is held during a wait";
    mWaits.push_back(aTimeoutMs);
    PassTime(aTimeoutMs, aUntil);
}

void HostRecorder::Sleep(std::uint32_t aTimeMs)
{
    EXPECT_TRUE(mHeld.empty()) << "a mutex is held during a sleep";
    mSleeps.push_back(aTimeMs);
    const bool never = false;
    PassTime(mSleepMovesClock ? aTimeMs : 0, never);
}

std::uint64_t HostRecorder::ReadClock()
{
    ++mClockReads;
    return std::exchange(mNow, mNow + mTickStep);
}

void HostRecorder::Record(LogEntry aEntry)
{
    EXPECT_NE(aEntry.mFile.find(".cpp"), std::string::npos) << "an entry does not tell where it comes from";
    EXPECT_NE(aEntry.mFunction, "");
    EXPECT_NE(aEntry.mFormat, "%s") << "a host that sorts entries by their format cannot tell this one";
    aEntry.mLocks = mHeld.size();
    aEntry.mResets = mEventResets.size();
    if (mOnEntry)
    {
        mOnEntry(aEntry);
    }
    mLog.push_back(std::move(aEntry));
}

void HostRecorder::PassTime(std::uint32_t aTimeMs, const bool& aUntil)
{
    const std::uint64_t end = mNow + aTimeMs;
    while (!aUntil)
    {
        const auto next = mSchedule.begin();
        if (next == mSchedule.end() || next->first > end)
        {
            mNow = end;
            return;
        }
        mNow = std::max(mNow, next->first);
        const std::function<void()> action = std::move(next->second);
        mSchedule.erase(next);
        action();
    }
}
