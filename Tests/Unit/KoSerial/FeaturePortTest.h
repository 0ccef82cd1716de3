#pragma once

#include "AllocationCounter.h"
#include "LaidOpen.h"
#include "StoryTest.h"

#include <IRegisterSerialPort.h>

#include <algorithm>
#include <cstddef>
#include <numeric>

constexpr std::int64_t TWO_TO_32 = std::int64_t{1} << 32;

constexpr auto BULK2 = KoDeviceSerialBulk2;
constexpr auto DOWNSTREAM = "Bulk2DownstreamData";
constexpr auto UPSTREAM_LENGTH = "EventBulk2UpstreamDataLength";
constexpr auto UPSTREAM_BUFFER = "EventBulk2UpstreamDataBuffer";

/// The feature engine with its state laid open.
class TestFeaturePort : public LaidOpen<KoSerialLib::IRegisterSerialPort>
{
public:
    using IRegisterSerialPort::mDownstreamBuffer;
    using IRegisterSerialPort::mDownstreamBufferSize;
    using IRegisterSerialPort::mDownstreamData;
    using IRegisterSerialPort::mPreviousEventNotification;
    using IRegisterSerialPort::mUpstreamBuffer;
    using IRegisterSerialPort::mUpstreamBufferSize;
    using IRegisterSerialPort::mUpstreamDataBuffer;
    using IRegisterSerialPort::mUpstreamDataLength;
    using LaidOpen::LaidOpen;
};

/// Gives a device the three features of the bulk port with that index.
inline void AddBulkPort(ScriptedAdapter& aDevice, int aIndex, std::size_t aRegisterLength = 32)
{
    const std::string bulk = "Bulk" + std::to_string(aIndex);
    aDevice.mGenRegisters[bulk + "DownstreamData"].resize(aRegisterLength);
    aDevice.mIntegers["Event" + bulk + "UpstreamDataLength"] = 0;
    aDevice.mGenRegisters["Event" + bulk + "UpstreamDataBuffer"].resize(512);
}

/// Gives a device the enumerations that switch events on, with another event selected and everything off.
inline void AddEventFeatures(ScriptedAdapter& aDevice)
{
    aDevice.mEnumerations["EventSelector"].mValue = "Timer";
    aDevice.mEnumerations["EventNotification"].mValue = "Off";
}

/// The bytes aFirst, aFirst + 1, ...
inline Bytes CountUp(std::size_t aCount, std::uint8_t aFirst = 1)
{
    Bytes bytes(aCount);
    std::iota(bytes.begin(), bytes.end(), aFirst);
    return bytes;
}

/// A device with bulk port 2 whose transfers allocate nothing themselves. Each look at the length of a register starts
/// the count of allocations.
class QuietDevice : public ScriptedAdapter
{
public:
    QuietDevice() : ScriptedAdapter(NewIdentity())
    {
        AddBulkPort(*this, 2);
        AddEventFeatures(*this);
    }

    bool IsGenRegisterPresent(const KoString& /*aName*/) override { return true; }

    KoResult GetGenRegisterLength(const KoString& /*aName*/, std::int64_t& aLength) override
    {
        aLength = mLength;
        StartCountingAllocations();
        return KoResult(KoResult::OK);
    }

    KoResult GetGenIntegerValue(const KoString& /*aName*/, std::int64_t& aValue) override
    {
        aValue = mLength;
        return KoResult(KoResult::OK);
    }

    KoResult GetGenRegisterData(const KoString& /*aName*/, std::uint8_t* /*aTo*/, std::int64_t /*aLength*/) override
    {
        return KoResult(KoResult::OK);
    }

    KoResult SetGenRegisterData(const KoString& /*aName*/, const std::uint8_t* /*aData*/,
                                std::int64_t /*aLength*/) override
    {
        ++mFrames;
        return KoResult(KoResult::OK);
    }

    KoResult WaitForIdle(std::uint32_t /*aTimeoutMs*/) override { return KoResult(KoResult::OK); }
    bool IsGigEVision() override { return true; }

    std::int64_t mLength = 32;
    int mFrames = 0;
};

/// The feature engine on a scripted device with bulk port 2, whose registers are 32 bytes down and 512 bytes up.
class FeaturePortTest : public StoryTest
{
protected:
    explicit FeaturePortTest(bool aSPIMode = false) : mPort(aSPIMode)
    {
        AddBulkPort(mDevice, 2);
        AddEventFeatures(mDevice);
    }

    ~FeaturePortTest() override
    {
        if (mPort.IsOpened())
        {
            mDevice.mConnected = true;
            mPort.Close();
        }
    }

    /// Opens bulk port 2 and forgets what this took.
    void Open()
    {
        ASSERT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
        Forget();
    }

    KoResult Write(const Bytes& aBytes)
    {
        mWritten = 99;
        return mPort.Write(aBytes.data(), static_cast<std::uint32_t>(aBytes.size()), mWritten);
    }

    /// The frames that were written since the last time, as hexadecimal bytes.
    Texts TakeFrames()
    {
        const std::string write = std::string("SetGenRegisterData ") + DOWNSTREAM + ' ';
        Texts frames;
        for (const std::string& call : mDevice.TakeCalls())
        {
            if (call.compare(0, write.size(), write) == 0)
            {
                frames.push_back(call.substr(write.size()));
            }
        }
        return frames;
    }

    /// The lengths of these frames in bytes.
    std::vector<std::size_t> TakeFrameLengths()
    {
        std::vector<std::size_t> lengths;
        for (const std::string& frame : TakeFrames())
        {
            lengths.push_back((frame.size() + 1) / 3);
        }
        return lengths;
    }

    void ExpectNoProgress()
    {
        std::uint32_t ignored = 0;
        EXPECT_EQ(mPort.GetWriteProgress(ignored, ignored).GetCode(), KoResult::STATE_ERROR);
    }

    /// Expects the failure that the device reports, with its code and its description.
    static void ExpectFailureOfDevice(const KoResult& aResult)
    {
        EXPECT_EQ(aResult.GetCode(), 4711U);
        EXPECT_STREQ(aResult.GetDescription().GetAscii(), "The device is on fire.");
    }

    static KoResult FailureOfDevice() { return KoResult(4711, KoString("The device is on fire.")); }

    TestFeaturePort mPort;
    std::uint32_t mWritten = 0;
};
