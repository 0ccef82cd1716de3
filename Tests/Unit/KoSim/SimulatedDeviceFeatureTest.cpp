#include <KoSim/SimulatedDevice.h>

#include "TestLineEnd.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

std::string GetEnum(SimulatedDevice& aDevice, const char* aName)
{
    KoString value;
    EXPECT_TRUE(aDevice.GetGenEnumValue(aName, value).IsOK());
    return value.GetAscii();
}

std::int64_t GetInteger(SimulatedDevice& aDevice, const char* aName)
{
    std::int64_t value = 0;
    EXPECT_TRUE(aDevice.GetGenIntegerValue(aName, value).IsOK());
    return value;
}

std::vector<std::string> GetEntries(SimulatedDevice& aDevice, const char* aName)
{
    KoStringList list;
    EXPECT_TRUE(aDevice.GetGenEnumEntries(aName, list).IsOK());
    std::vector<std::string> entries;
    for (const KoString* entry = list.GetFirst(); entry != nullptr; entry = list.GetNext())
    {
        entries.emplace_back(entry->GetAscii());
    }
    return entries;
}

/// Keeps the names of the features that it is told of.
class InvalidationSink : public IKoDeviceEventSink
{
public:
    void NotifyEvent(std::uint16_t, std::uint16_t, std::uint64_t, std::uint64_t, const void*, std::uint32_t) override {}
    void NotifyInvalidatedGenParameter(const KoString& aName) override { mNames.emplace_back(aName.GetAscii()); }

    std::vector<std::string> mNames;
};

} // namespace

class SimulatedDeviceFeatureTest : public ::testing::Test
{
protected:
    SimulatedDevice mDevice;
};

TEST_F(SimulatedDeviceFeatureTest, SwitchesTheBulkModeWithTheBulkSelector)
{
    EXPECT_TRUE(mDevice.SetGenEnumValue("BulkSelector", "Bulk5").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("BulkMode", "SPI").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("BulkSelector", "Bulk0").IsOK());
    EXPECT_EQ(GetEnum(mDevice, "BulkMode"), "UART");
    EXPECT_TRUE(mDevice.SetGenEnumValue("BulkSelector", "Bulk5").IsOK());
    EXPECT_EQ(GetEnum(mDevice, "BulkMode"), "SPI");
}

TEST_F(SimulatedDeviceFeatureTest, KeepsANotificationForEachEvent)
{
    EXPECT_TRUE(mDevice.SetGenEnumValue("EventSelector", "Bulk2UpstreamData").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("EventNotification", "On").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("EventSelector", "Bulk3UpstreamData").IsOK());
    EXPECT_EQ(GetEnum(mDevice, "EventNotification"), "Off");
}

TEST_F(SimulatedDeviceFeatureTest, ListsTheEntriesOfAnEnumeration)
{
    EXPECT_EQ(GetEntries(mDevice, "BulkMode"), (std::vector<std::string>{"UART", "USRT", "I2C", "SPI"}));
    EXPECT_EQ(GetEntries(mDevice, "EventNotification"), (std::vector<std::string>{"Off", "On"}));
}

TEST_F(SimulatedDeviceFeatureTest, RefusesAnEntryThatIsNotOffered)
{
    EXPECT_EQ(mDevice.SetGenEnumValue("BulkMode", "CAN").GetCode(), KoResult::INVALID_PARAMETER);
    mDevice.SetEnumEntryAvailable("BulkMode", "SPI", false);
    EXPECT_FALSE(mDevice.IsGenEnumEntryAvailable("BulkMode", "SPI"));
    EXPECT_EQ(mDevice.SetGenEnumValue("BulkMode", "SPI").GetCode(), KoResult::INVALID_PARAMETER);

    mDevice.SetEnumEntryAvailable("BulkMode", "SPI", true);
    EXPECT_TRUE(mDevice.SetGenEnumValue("BulkMode", "SPI").IsOK());
}

TEST_F(SimulatedDeviceFeatureTest, HonoursTheAccessModeOfAnEnumeration)
{
    mDevice.SetEnumAccess("BulkMode", true, false);
    EXPECT_FALSE(mDevice.IsGenEnumWritable("BulkMode"));
    EXPECT_EQ(mDevice.SetGenEnumValue("BulkMode", "SPI").GetCode(), KoResult::GENERIC_ERROR);

    mDevice.SetEnumAccess("BulkMode", false, true);
    EXPECT_FALSE(mDevice.IsGenEnumReadable("BulkMode"));
    KoString value;
    EXPECT_EQ(mDevice.GetGenEnumValue("BulkMode", value).GetCode(), KoResult::GENERIC_ERROR);
}

TEST_F(SimulatedDeviceFeatureTest, TakesNoMoreThanTheRegisterHolds)
{
    std::vector<std::uint8_t> block(2000);
    EXPECT_EQ(mDevice.SetGenRegisterData("Bulk1DownstreamData", block.data(), 1025).GetCode(),
              KoResult::INVALID_PARAMETER);
    EXPECT_EQ(mDevice.SetGenRegisterData("Bulk1DownstreamData", block.data(), -1).GetCode(),
              KoResult::INVALID_PARAMETER);
    EXPECT_EQ(mDevice.GetGenRegisterData("EventBulk1UpstreamDataBuffer", block.data(), 513).GetCode(),
              KoResult::INVALID_PARAMETER);
}

TEST_F(SimulatedDeviceFeatureTest, ReadsUpstreamAndWritesDownstreamOnly)
{
    std::vector<std::uint8_t> block(8);
    EXPECT_EQ(mDevice.GetGenRegisterData("Bulk1DownstreamData", block.data(), 8).GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_EQ(mDevice.SetGenRegisterData("EventBulk1UpstreamDataBuffer", block.data(), 8).GetCode(),
              KoResult::GENERIC_ERROR);
}

TEST_F(SimulatedDeviceFeatureTest, FailsAndAnswersFalseWhileItIsUnplugged)
{
    mDevice.Disconnect();
    KoString value;
    std::int64_t number = 0;
    EXPECT_EQ(mDevice.GetGenEnumValue("BulkMode", value).GetCode(), KoResult::NOT_CONNECTED);
    EXPECT_EQ(mDevice.GetGenIntegerValue("EventBulk0UpstreamDataLength", number).GetCode(), KoResult::NOT_CONNECTED);
    EXPECT_FALSE(mDevice.IsGenEnumReadable("BulkMode"));
    EXPECT_FALSE(mDevice.IsGenEnumEntryAvailable("BulkMode", "SPI"));
    EXPECT_TRUE(mDevice.IsGenEnumPresent("BulkMode"));
}

TEST_F(SimulatedDeviceFeatureTest, TellsItsSinksOfWatchedFeaturesThatChange)
{
    InvalidationSink sink;
    EXPECT_TRUE(mDevice.RegisterEventSink(&sink).IsOK());
    EXPECT_TRUE(mDevice.RegisterGenInvalidator("BulkMode").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("BulkMode", "SPI").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("EventSelector", "Bulk2UpstreamData").IsOK());
    EXPECT_TRUE(mDevice.WaitUntilQuiet(10s));
    EXPECT_TRUE(mDevice.UnregisterGenInvalidator("BulkMode").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("BulkMode", "UART").IsOK());
    EXPECT_TRUE(mDevice.WaitUntilQuiet(10s));
    EXPECT_TRUE(mDevice.UnregisterEventSink(&sink).IsOK());

    EXPECT_EQ(sink.mNames, std::vector<std::string>{"BulkMode"});
    EXPECT_EQ(mDevice.UnregisterGenInvalidator("BulkMode").GetCode(), KoResult::NOT_FOUND);
}

TEST(SimulatedDeviceFeature, IsIdleWhenItsFramesAreOut)
{
    DeviceProfile profile;
    profile.mTiming = LineTiming::Real;
    profile.mBulkLine.mBaudRate = 100; // 100 ms for each byte
    SimulatedDevice device(profile);
    EXPECT_TRUE(device.WaitForIdle(0).IsOK());

    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 4, 'a', 'b', 'c', 'd'};
    EXPECT_TRUE(device.SetGenRegisterData("Bulk1DownstreamData", frame, sizeof(frame)).IsOK());
    EXPECT_EQ(device.WaitForIdle(1).GetCode(), KoResult::TIMEOUT);
    EXPECT_TRUE(device.WaitForIdle(60000).IsOK());
    EXPECT_EQ(device.GetLineStatistics(Port::Bulk1).mSentBytes, 4U);
}

TEST(SimulatedDeviceFeature, TakesAFrameThatFillsTheRegisterWithItsPadding)
{
    SimulatedDevice device(DeviceProfile::TinyDownstreamRegister());
    std::vector<std::uint8_t> frame = {0, 0, 0, 0, 0, 0, 0, 22};
    frame.resize(32, 'x');
    EXPECT_TRUE(device.SetGenRegisterData("Bulk1DownstreamData", frame.data(), 32).IsOK());
    EXPECT_EQ(device.SetGenRegisterData("Bulk1DownstreamData", frame.data(), 33).GetCode(),
              KoResult::INVALID_PARAMETER);

    EXPECT_TRUE(device.WaitUntilQuiet(30s));
    EXPECT_EQ(device.GetLineStatistics(Port::Bulk1).mSentBytes, 22U);
}

TEST_F(SimulatedDeviceFeatureTest, TakesAFrameWhateverTheLengthOfTheRegister)
{
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 4, 'a', 'b', 'c', 'd'};
    mDevice.SetRegisterLength("Bulk1DownstreamData", std::numeric_limits<std::int64_t>::max());
    EXPECT_TRUE(mDevice.SetGenRegisterData("Bulk1DownstreamData", frame, sizeof(frame)).IsOK());
    mDevice.SetRegisterLength("Bulk1DownstreamData", std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(mDevice.SetGenRegisterData("Bulk1DownstreamData", frame, sizeof(frame)).GetCode(),
              KoResult::INVALID_PARAMETER);
}

TEST_F(SimulatedDeviceFeatureTest, RestsWhileBytesWaitForARegisterWithoutLength)
{
    const auto lineEnd = std::make_shared<TestLineEnd>();
    mDevice.SetLineEnd(Port::Bulk2, lineEnd);
    mDevice.SetRegisterLength("EventBulk2UpstreamDataBuffer", 0);
    EXPECT_TRUE(mDevice.SetGenEnumValue("EventSelector", "Bulk2UpstreamData").IsOK());
    EXPECT_TRUE(mDevice.SetGenEnumValue("EventNotification", "On").IsOK());
    lineEnd->Send("abc");
    EXPECT_TRUE(mDevice.WaitUntilQuiet(30s));

    const std::clock_t start = std::clock();
    std::this_thread::sleep_for(200ms);
    EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC / 10);

    mDevice.SetRegisterLength("EventBulk2UpstreamDataBuffer", 2);
    EXPECT_TRUE(WaitUntil([&] { return GetInteger(mDevice, "EventBulk2UpstreamDataLength") == 2; }));
}
