#pragma once

#include "HostRecorder.h"
#include "ScriptedAdapter.h"

#include <KoResult.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

/// An identity that no other device of this process has: the library remembers devices until the process ends.
inline std::string NewIdentity()
{
    static int sCount = 0;
    return "Device " + std::to_string(++sCount);
}

/// Tests of the library on the bare host SDK, with one scripted device.
///
/// Whatever a test does, the library must log with its own category and must not hold a lock while it calls the device.
class BareHostTest : public ::testing::Test
{
protected:
    BareHostTest()
    {
        mDevice.mOnCall = [this](const std::string& aCall)
        { EXPECT_TRUE(mHost.GetHeld().empty()) << aCall << " is called with a lock held"; };
    }

    ~BareHostTest() override
    {
        for (const LogEntry& entry : mHost.mLog)
        {
            EXPECT_EQ(entry.mCategory, mCategory) << entry.mText;
        }
    }

    /// Expects a failure whose description is the text that was logged, with the same code, as the last entry.
    void ExpectFailure(const KoResult& aResult, std::uint32_t aCode, const char* aFunction, const std::string& aText)
    {
        EXPECT_EQ(aResult.GetCode(), aCode);
        EXPECT_STREQ(aResult.GetDescription().GetAscii(), aText.c_str());
        ASSERT_FALSE(mHost.mLog.empty());
        const LogEntry& entry = mHost.mLog.back();
        EXPECT_EQ(entry.mLevel, KuUtilsLib::LOG_ERROR);
        EXPECT_EQ(entry.mCode, aCode);
        EXPECT_EQ(entry.mFunction, aFunction);
        EXPECT_EQ(entry.mText, aText);
    }

    /// Expects a failure that says nothing beyond its code.
    static void ExpectBareFailure(const KoResult& aResult, std::uint32_t aCode)
    {
        EXPECT_EQ(aResult.GetCode(), aCode);
        EXPECT_STREQ(aResult.GetDescription().GetAscii(), "");
    }

    HostRecorder mHost;
    std::string mCategory = "KoSerialLib";
    ScriptedAdapter mDevice{NewIdentity()};
};
