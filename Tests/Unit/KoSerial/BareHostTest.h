#pragma once

#include "HostRecorder.h"
#include "ScriptedAdapter.h"

#include <KoResult.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t FUNCTION_CAPS = 0xB8FC;

inline Texts operator+(Texts aFirst, const Texts& aSecond)
{
    aFirst.insert(aFirst.end(), aSecond.begin(), aSecond.end());
    return aFirst;
}

/// An identity that no other device of this process has: the library remembers devices until the process ends.
inline std::string NewIdentity()
{
    static int sCount = 0;
    return "Device " + std::to_string(++sCount);
}

/// Whether a logger of its own, on the stack, is what an operation logs with: the static and the public ones do.
inline bool LogsFromTheStack(const LogEntry& aEntry)
{
    static const std::set<std::string> sOperations = {
        "IsI2CSupported",   "IsProtocolSupported", "IsSupported",        "IsValid",
        "RegisterEchoSink", "UnregisterEchoSink",  "~KoDeviceSerialPort"};
    static const std::set<std::string> sTextsOfPublicOpen = {"The specified port is invalid.", "Unknown port."};
    return sOperations.count(aEntry.mFunction) != 0 || sTextsOfPublicOpen.count(aEntry.mText) != 0;
}

/// Whether an entry names an operation that may log, and not a helper of one.
inline bool NamesAnOperation(const LogEntry& aEntry)
{
    static const std::set<std::string> sOperations = {
        "BackupPortConfig",
        "BurstRead",
        "BurstWriteAndRead",
        "Close",
        "EnableInterrupts",
        "GetParameters",
        "GetWriteProgress",
        "IsOpened",
        "Lock",
        "MasterReceiverAfterFirstByte",
        "MasterTransmitter",
        "NotifyEvent",
        "NotifyInvalidatedGenParameter",
        "Open",
        "PushToRxBuffer",
        "Read",
        "RefreshSupportedBaudRates",
        "RestorePortConfig",
        "SetEventNotification",
        "SetRxBufferSize",
        "SyncBaudRate",
        "SyncBulkMode",
        "SyncParity",
        "SyncPortConfig",
        "SyncStopBits",
        "TransmitSPI",
        "UpdateTimePerByte",
        "Write",
        "WriteAndRead",
    };
    return LogsFromTheStack(aEntry) || sOperations.count(aEntry.mFunction) != 0;
}

/// Tests of the library on the bare host SDK, with one scripted device.
///
/// Whatever a test does, the library must log with its own category, in the name of an operation and with the right
/// logger, and must not hold a lock while it calls the device.
class BareHostTest : public ::testing::Test
{
protected:
    BareHostTest()
    {
        mDevice.mOnCall = [this](const std::string& aCall)
        { EXPECT_TRUE(mHost.GetHeld().empty()) << aCall << " is called with a lock held"; };
        mHost.mOnEntry = [this](const LogEntry& aEntry)
        {
            EXPECT_EQ(aEntry.mCategory, mCategory) << aEntry.mText;
            EXPECT_TRUE(NamesAnOperation(aEntry)) << aEntry.mFunction << ": " << aEntry.mText;
            EXPECT_EQ(aEntry.mFromHeapLogger, !LogsFromTheStack(aEntry)) << aEntry.mFunction << ": " << aEntry.mText;
        };
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

    /// How many events had been reset when the first entry with that text was made.
    std::size_t GetResetsBefore(const std::string& aText) const
    {
        for (const LogEntry& entry : mHost.mLog)
        {
            if (entry.mText == aText)
            {
                return entry.mResets;
            }
        }
        ADD_FAILURE() << aText << " was never logged";
        return 0;
    }

    HostRecorder mHost;
    std::string mCategory = "KoSerialLib";
    ScriptedAdapter mDevice{NewIdentity()};
};
