#pragma once

#include "BareHostTest.h"

#include <cstddef>
#include <utility>

/// Tests that follow the calls of the device and the log entries in one order.
class StoryTest : public BareHostTest
{
protected:
    StoryTest()
    {
        mDevice.mOnCall = [this](const std::string& aCall)
        {
            EXPECT_TRUE(mHost.GetHeld().empty()) << aCall << " is called with a lock held";
            TellEntries();
            mStory.push_back(aCall);
        };
    }

    /// The calls of the device and the log entries since the last time this was asked, in order. An entry is
    /// "[<level>] <text>", or "[<level> <code>] <text>" for a failure.
    Texts TakeStory()
    {
        TellEntries();
        return std::exchange(mStory, {});
    }

    void Forget()
    {
        mDevice.TakeCalls();
        TakeStory();
        mHost.mLog.clear();
        mHost.mTaken.clear();
        mTold = 0;
    }

private:
    void TellEntries()
    {
        for (; mTold < mHost.mLog.size(); ++mTold)
        {
            const LogEntry& entry = mHost.mLog[mTold];
            const std::string code = entry.mCode == 0 ? "" : ' ' + std::to_string(entry.mCode);
            mStory.push_back('[' + std::to_string(entry.mLevel) + code + "] " + entry.mText);
        }
    }

    Texts mStory;
    std::size_t mTold = 0;
};
