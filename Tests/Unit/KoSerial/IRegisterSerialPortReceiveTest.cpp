#include "FeaturePortTest.h"
#include "RecordingSink.h"

#include <limits>

namespace
{

constexpr std::int64_t LOWEST = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t HIGHEST = std::numeric_limits<std::int64_t>::max();

const Texts LOOK = {"IsGenRegisterPresent EventBulk2UpstreamDataBuffer",
                    "GetGenRegisterLength EventBulk2UpstreamDataBuffer",
                    "GetGenIntegerValue EventBulk2UpstreamDataLength"};

class IRegisterSerialPortReceiveTest : public FeaturePortTest
{
protected:
    IRegisterSerialPortReceiveTest() { Open(); }

    /// Puts bytes into the upstream register, as many as it is said to hold, without telling the library.
    void Fill(const Bytes& aBytes)
    {
        Bytes& feature = mDevice.mGenRegisters[UPSTREAM_BUFFER];
        std::copy(aBytes.begin(), aBytes.end(), feature.begin());
        mDevice.mIntegers[UPSTREAM_LENGTH] = static_cast<std::int64_t>(aBytes.size());
    }

    void Deliver(const Bytes& aBytes)
    {
        Fill(aBytes);
        mDevice.Invalidate(UPSTREAM_BUFFER);
    }

    /// The device tells a length of the register and a count of bytes; the library looks and takes nothing.
    void ExpectNothingTaken(std::int64_t aLength, std::int64_t aCount)
    {
        mDevice.mGenRegisterLengths[UPSTREAM_BUFFER] = aLength;
        mDevice.mIntegers[UPSTREAM_LENGTH] = aCount;
        Forget();
        StartCountingAllocations();
        mDevice.Invalidate(UPSTREAM_BUFFER);
        EXPECT_LT(StopCountingAllocations().mLargest, 65536U) << aCount << " of " << aLength;
        EXPECT_EQ(TakeStory(), LOOK) << aCount << " of " << aLength;
        EXPECT_EQ(mPort.ReadAll(), Bytes{});
        EXPECT_EQ(mPort.mUpstreamBuffer, nullptr);
    }
};

TEST_F(IRegisterSerialPortReceiveTest, AnInvalidationMovesTheBytesToTheRing)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    Deliver({0x41, 0x00, 0xFF});
    Texts story = LOOK;
    story.emplace_back("GetGenRegisterData EventBulk2UpstreamDataBuffer 3");
    EXPECT_EQ(TakeStory(), story);
    EXPECT_EQ(mHost.mTaken, HostRecorder::Locks{&mPort.mMutex});
    EXPECT_EQ(mPort.ReadAll(), (Bytes{0x41, 0x00, 0xFF}));
}

TEST_F(IRegisterSerialPortReceiveTest, ReceptionIsTracedBeforeTheBytesAreReadAndStored)
{
    Deliver({0x41, 0x42});
    Texts story = LOOK;
    story.insert(story.end(), {"[7] OnParameterUpdate receiving 2 bytes of data",
                               "GetGenRegisterData EventBulk2UpstreamDataBuffer 2", "[7] RxBuffer Head: 1 Tail 0",
                               "[7] RxBuffer Head: 2 Tail 0"});
    EXPECT_EQ(TakeStory(), story);
    EXPECT_EQ(mHost.mTaken, HostRecorder::Locks{&mPort.mMutex}) << "one lock for the whole block";
    EXPECT_EQ(mPort.ReadAll(), (Bytes{0x41, 0x42}));
}

TEST_F(IRegisterSerialPortReceiveTest, TheMutexIsHeldWhileTheBytesAreStoredOnly)
{
    Deliver({0x41, 0x42});
    EXPECT_EQ(mHost.GetLocks(), (std::vector<std::size_t>{0, 1, 1}));
}

TEST_F(IRegisterSerialPortReceiveTest, BlocksArriveOneBehindTheOther)
{
    Deliver({1, 2});
    Deliver({3});
    Deliver({4, 5, 6});
    EXPECT_EQ(mPort.ReadAll(), CountUp(6));
}

TEST_F(IRegisterSerialPortReceiveTest, AFeatureThatIsNoRegisterIsIgnored)
{
    Fill({1, 2});
    mDevice.Invalidate(UPSTREAM_LENGTH);
    mDevice.Invalidate("");
    EXPECT_EQ(TakeStory(), (Texts{"IsGenRegisterPresent EventBulk2UpstreamDataLength", "IsGenRegisterPresent "}));
    EXPECT_EQ(mPort.ReadAll(), Bytes{});
}

TEST_F(IRegisterSerialPortReceiveTest, AnyInvalidatedRegisterMakesItLookAtItsOwnUpstreamData)
{
    AddBulkPort(mDevice, 3);
    Fill({1, 2});
    mDevice.Invalidate(DOWNSTREAM);
    EXPECT_EQ(mPort.ReadAll(), (Bytes{1, 2}));
    Forget();
    mDevice.Invalidate("EventBulk3UpstreamDataBuffer");
    const Texts story = TakeStory();
    EXPECT_EQ(story.at(0), "IsGenRegisterPresent EventBulk3UpstreamDataBuffer");
    EXPECT_EQ(story.at(1), LOOK[1]);
    EXPECT_EQ(story.at(2), LOOK[2]);
    EXPECT_EQ(mPort.ReadAll(), (Bytes{1, 2}));
}

TEST_F(IRegisterSerialPortReceiveTest, ACountThatDoesNotFitTheRegisterTakesNothing)
{
    for (const std::int64_t count : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{513}, LOWEST, HIGHEST, TWO_TO_32,
                                     TWO_TO_32 + 10, -TWO_TO_32 + 10})
    {
        ExpectNothingTaken(512, count);
    }
}

TEST_F(IRegisterSerialPortReceiveTest, ARegisterWithoutLengthYieldsNothing)
{
    for (const std::int64_t length : {std::int64_t{0}, std::int64_t{-1}, LOWEST, -TWO_TO_32 + 512})
    {
        ExpectNothingTaken(length, 0);
        ExpectNothingTaken(length, 1);
        ExpectNothingTaken(length, length);
    }
}

TEST_F(IRegisterSerialPortReceiveTest, ARegisterBeyondAllMemoryIsNeitherAllocatedNorTakenForAShortOne)
{
    for (const std::int64_t length : {TWO_TO_32, TWO_TO_32 + 512, HIGHEST})
    {
        ExpectNothingTaken(length, 1);
        ExpectNothingTaken(length, 10);
        ExpectNothingTaken(length, length);
    }
}

TEST_F(IRegisterSerialPortReceiveTest, ALengthOrACountThatCannotBeReadTakesNothing)
{
    for (const std::string& call : {LOOK[1], LOOK[2]})
    {
        Fill({1, 2});
        Forget();
        mDevice.FailCall(call);
        mDevice.Invalidate(UPSTREAM_BUFFER);
        EXPECT_EQ(TakeStory(), LOOK);
        EXPECT_EQ(mPort.ReadAll(), Bytes{});
    }
}

TEST_F(IRegisterSerialPortReceiveTest, ABlockThatFillsTheRegisterIsTakenWhole)
{
    Deliver({7});
    EXPECT_EQ(mPort.ReadAll(), Bytes{7});
    Deliver(CountUp(512));
    EXPECT_EQ(mPort.ReadAll(), CountUp(512));
}

TEST_F(IRegisterSerialPortReceiveTest, TheBufferHasTheSizeOfTheRegisterAndOnlyGrows)
{
    Deliver(CountUp(10));
    EXPECT_EQ(mPort.mUpstreamBufferSize, 512U);
    const std::uint8_t* const buffer = mPort.mUpstreamBuffer.get();

    for (const std::size_t length : {256U, 512U})
    {
        mDevice.mGenRegisters[UPSTREAM_BUFFER].resize(length);
        Deliver(CountUp(200));
        EXPECT_EQ(mPort.mUpstreamBufferSize, 512U);
        EXPECT_EQ(mPort.mUpstreamBuffer.get(), buffer);
    }
    mDevice.mGenRegisters[UPSTREAM_BUFFER].resize(513);
    Deliver(CountUp(513));
    EXPECT_EQ(mPort.mUpstreamBufferSize, 513U);
    EXPECT_EQ(mPort.ReadAll().size(), 10U + 200 + 200 + 513);
}

TEST_F(IRegisterSerialPortReceiveTest, TheBufferServesThePortThatIsOpenedNext)
{
    Deliver(CountUp(10));
    const std::uint8_t* const buffer = mPort.mUpstreamBuffer.get();
    mPort.Close();
    Open();
    Deliver(CountUp(10));
    EXPECT_EQ(mPort.mUpstreamBuffer.get(), buffer);
    EXPECT_EQ(mPort.ReadAll(), CountUp(10));
}

TEST_F(IRegisterSerialPortReceiveTest, BytesThatCannotBeReadCountAsReceivedWithTheOldContent)
{
    Deliver({1, 2, 3});
    Fill({4, 5});
    mDevice.FailCall("GetGenRegisterData");
    mDevice.Invalidate(UPSTREAM_BUFFER);
    EXPECT_EQ(mPort.ReadAll(), (Bytes{1, 2, 3, 1, 2}));
}

TEST_F(IRegisterSerialPortReceiveTest, ReceptionWakesAWaitingRead)
{
    mHost.At(5, [this] { Deliver({0x41, 0x42}); });
    std::uint8_t buffer[8] = {};
    std::uint32_t count = 0;
    EXPECT_TRUE(mPort.Read(buffer, 8, count, 100).IsOK());
    EXPECT_EQ(Bytes(buffer, buffer + count), (Bytes{0x41, 0x42}));
    EXPECT_EQ(mHost.Now(), 1005U);
}

TEST_F(IRegisterSerialPortReceiveTest, BytesAreEchoedAndCountedWhenTheyAreReadOnly)
{
    const RecordingSink sink;
    Deliver({0x41, 0x42});
    EXPECT_EQ(sink.mCalls, Texts{});
    EXPECT_EQ(mPort.mBytesReceived, 0U);
    mPort.ReadAll();
    EXPECT_EQ(sink.mCalls, Texts{"OnRead " + mDevice.mIdentity + " 4 [41 42] 1000"});
    EXPECT_EQ(mPort.mBytesReceived, 2U);
}

TEST_F(IRegisterSerialPortReceiveTest, ABlockLongerThanTheRingLeavesItsEnd)
{
    mPort.SetRxBufferSize(8);
    for (const KuUtilsLib::PriorityLevel level : {KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG})
    {
        mHost.mEnabledLevel = level;
        Deliver(CountUp(20));
        EXPECT_EQ(mPort.ReadAll(), CountUp(7, 14));
    }
}

TEST_F(IRegisterSerialPortReceiveTest, ALongRegisterIsNotTouchedBeyondItsBytes)
{
    mDevice.mGenRegisterLengths[UPSTREAM_BUFFER] = 100000;
    StartCountingAllocations();
    Deliver({0x41});
    StopCountingAllocations();
    EXPECT_EQ(mPort.mUpstreamBufferSize, 100000U);
    EXPECT_EQ(mPort.mUpstreamBuffer[1], UNTOUCHED_MEMORY);
    EXPECT_EQ(mPort.mUpstreamBuffer[99999], UNTOUCHED_MEMORY);
    EXPECT_EQ(mPort.ReadAll(), Bytes{0x41});
}

TEST_F(IRegisterSerialPortReceiveTest, BytesThatCannotBeReadAreNeverThoseOfOtherMemory)
{
    mDevice.FailEvery("GetGenRegisterData");
    StartCountingAllocations();
    Deliver({1});
    Deliver({1, 2, 3});
    StopCountingAllocations();
    EXPECT_EQ(mPort.ReadAll(), (Bytes{0, 0, 0, 0}));
}

TEST_F(IRegisterSerialPortReceiveTest, ABlockForWhichThereIsNoMemoryIsDroppedWithAWarning)
{
    mDevice.mGenRegisterLengths[UPSTREAM_BUFFER] = TWO_TO_32 - 1;
    FailAllocationsFrom(1 << 20);
    Deliver({0x41, 0x42});
    EXPECT_TRUE(StopFailingAllocations());
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_WARNING),
              Texts{"No memory for an upstream register of 4294967295 bytes: 2 received bytes are lost"});
    EXPECT_EQ(mPort.ReadAll(), Bytes{});
    mDevice.mGenRegisterLengths.clear();
    Deliver({0x43});
    EXPECT_EQ(mPort.ReadAll(), Bytes{0x43});
}

TEST_F(IRegisterSerialPortReceiveTest, EventsOfTheDeviceAreIgnored)
{
    Fill({1, 2});
    for (const int event : {0x9000, 0x9001, 0})
    {
        mDevice.SendWords(static_cast<std::uint16_t>(event), {0x1F03, 0x61, 0x62});
    }
    EXPECT_EQ(TakeStory(), Texts{});
    EXPECT_EQ(mPort.ReadAll(), Bytes{});
}

TEST_F(IRegisterSerialPortReceiveTest, ReceptionAllocatesNothingOnceTheBufferHasGrown)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    QuietDevice device;
    TestFeaturePort port(false);
    ASSERT_TRUE(port.Open(&device, BULK2).IsOK());
    port.NotifyInvalidatedGenParameter(KoString(UPSTREAM_BUFFER));
    EXPECT_EQ(StopCountingAllocations().mLargest, 32U);
    mHost.mTaken.reserve(mHost.mTaken.size() + 1);
    port.NotifyInvalidatedGenParameter(KoString(UPSTREAM_BUFFER));
    EXPECT_EQ(StopCountingAllocations().mCount, 0U);
    EXPECT_EQ(port.ReadAll().size(), 64U);
    EXPECT_TRUE(port.Close().IsOK());
}

} // namespace
