// Whatever a device lacks, an access to it gets an answer and never an exception.

#include <KoSim/SimulatedDevice.h>

#include "DeviceModel.h"
#include "TestEventSink.h"
#include "TestLineEnd.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace KoSim;

namespace
{

using Names = std::vector<std::string>;

template <typename Features>
void AddNames(const Features& aFeatures, Names& aNames)
{
    for (const auto& feature : aFeatures)
    {
        aNames.push_back(feature.first);
    }
}

Names GetFeatureNames(const DeviceProfile& aProfile)
{
    DeviceModel model(aProfile);
    Names names;
    AddNames(model.GetFeatures().mIntegers, names);
    AddNames(model.GetFeatures().mEnumerations, names);
    AddNames(model.GetFeatures().mBlocks, names);
    return names;
}

void AccessEnumeration(SimulatedDevice& aDevice, const KoString& aName)
{
    KoString value;
    KoStringList entries;
    aDevice.IsGenEnumReadable(aName);
    aDevice.IsGenEnumWritable(aName);
    aDevice.GetGenEnumValue(aName, value);
    aDevice.GetGenEnumEntries(aName, entries);
    for (const KoString* entry = entries.GetFirst(); entry != nullptr; entry = entries.GetNext())
    {
        EXPECT_TRUE(aDevice.IsGenEnumEntryAvailable(aName, *entry));
        EXPECT_TRUE(aDevice.SetGenEnumValue(aName, *entry).IsOK()) << aName.GetAscii() << " " << entry->GetAscii();
    }
    EXPECT_EQ(aDevice.SetGenEnumValue(aName, value).IsOK(), aDevice.IsGenEnumPresent(aName));
}

void AccessRegisterFeature(SimulatedDevice& aDevice, const KoString& aName)
{
    std::array<std::uint8_t, 12> frame = {0, 0, 0, 0, 0, 0, 0, 4, 'a', 'b', 'c', 'd'};
    std::int64_t length = 0;
    EXPECT_EQ(aDevice.GetGenRegisterLength(aName, length).IsOK(), aDevice.IsGenRegisterPresent(aName));
    aDevice.SetGenRegisterData(aName, frame.data(), frame.size());
    aDevice.GetGenRegisterData(aName, frame.data(), frame.size());
}

void AccessFeature(SimulatedDevice& aDevice, const std::string& aName)
{
    const KoString name(aName.c_str());
    std::int64_t value = 0;
    const bool isWatched = aDevice.RegisterGenInvalidator(name).IsOK();
    EXPECT_EQ(aDevice.GetGenIntegerValue(name, value).IsOK(), aDevice.IsGenIntegerPresent(name));
    AccessEnumeration(aDevice, name);
    AccessRegisterFeature(aDevice, name);
    EXPECT_EQ(aDevice.UnregisterGenInvalidator(name).IsOK(), isWatched);
}

void AccessRegisters(SimulatedDevice& aDevice)
{
    for (std::uint32_t address = 0xB830; address <= 0xB960; address += 4)
    {
        std::uint32_t value = 0;
        EXPECT_TRUE(aDevice.ReadRegister(address, &value).IsOK());
        EXPECT_TRUE(aDevice.WriteRegister(address, 0xFFFFFFFF).IsOK());
        EXPECT_TRUE(aDevice.WriteRegister(address, value).IsOK());
    }
    const std::array<std::uint8_t, 4> block = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(aDevice.BulkTransmit(block.data(), 0, block.size()).IsOK(), aDevice.GetProfile().mBulk0InRegisters);
    EXPECT_TRUE(aDevice.WaitForIdle(30000).IsOK());
}

/// Every access that there is to a device that lacks some features.
void AccessEverything(const DeviceProfile& aProfile, const Names& aLacking)
{
    const auto lineEnd = std::make_shared<TestLineEnd>();
    TestEventSink sink;
    SimulatedDevice device(aProfile);
    device.SetLineEnd(Port::Bulk3, lineEnd);
    EXPECT_TRUE(device.RegisterEventSink(&sink).IsOK());
    for (const std::string& name : aLacking)
    {
        device.RemoveFeature(name);
    }
    lineEnd->Send("some bytes");
    for (const std::string& name : GetFeatureNames(aProfile))
    {
        AccessFeature(device, name);
    }
    AccessRegisters(device);
    device.Disconnect();
    device.Connect();
    EXPECT_TRUE(device.UnregisterEventSink(&sink).IsOK());
}

} // namespace

class SimulatedDeviceRemovalTest : public ::testing::TestWithParam<DeviceProfile (*)()>
{
};

TEST_P(SimulatedDeviceRemovalTest, AnswersEveryAccessWhicheverFeatureIsTakenAway)
{
    const DeviceProfile profile = GetParam()();
    for (const std::string& name : GetFeatureNames(profile))
    {
        SCOPED_TRACE(name);
        EXPECT_NO_THROW(AccessEverything(profile, {name}));
    }
}

TEST_P(SimulatedDeviceRemovalTest, AnswersEveryAccessWithoutAnyFeature)
{
    EXPECT_NO_THROW(AccessEverything(GetParam()(), GetFeatureNames(GetParam()())));
}

INSTANTIATE_TEST_SUITE_P(AllProfiles, SimulatedDeviceRemovalTest,
                         ::testing::Values(&DeviceProfile::FullDevice, &DeviceProfile::UartOnly,
                                           &DeviceProfile::NoBulkSelector, &DeviceProfile::NotGigEVision,
                                           &DeviceProfile::TinyDownstreamRegister));
