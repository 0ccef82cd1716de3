#include "BareHostTest.h"

#include <PortMap.h>

#include <KuUtilsLib/Logger.h>

#include <list>
#include <map>
#include <memory>
#include <stdexcept>
#include <type_traits>

using KoSerialLib::PortMap;
using Ports = std::list<KoDeviceSerial>;

static_assert(std::has_virtual_destructor_v<PortMap>);

namespace
{

class PortMapTest : public BareHostTest
{
protected:
    PortMapTest() { mCategory = "LOG_CATEGORY"; }

    PortMap mMap;
};

TEST_F(PortMapTest, TheSecondLockOfAPortIsRefused)
{
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialUart0));
    EXPECT_FALSE(mMap.Lock("A", KoDeviceSerialUart0));
    EXPECT_EQ(*mMap.GetPortList("A"), Ports{KoDeviceSerialUart0});
}

TEST_F(PortMapTest, ThePortsOfOneDeviceAreIndependent)
{
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialUart0));
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialUart1));
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialBulk0));
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialBulk1));
}

TEST_F(PortMapTest, TheSamePortOfTwoDevicesCanBeHeld)
{
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialUart0));
    EXPECT_TRUE(mMap.Lock("B", KoDeviceSerialUart0));
    EXPECT_TRUE(mMap.Lock("a", KoDeviceSerialUart0));
    EXPECT_TRUE(mMap.Lock("", KoDeviceSerialUart0));
    EXPECT_FALSE(mMap.Lock("", KoDeviceSerialUart0));
}

TEST_F(PortMapTest, DevicesAreToldApartByTheirTextNotItsAddress)
{
    const std::string first = "A";
    const std::string second = "A";
    EXPECT_TRUE(mMap.Lock(first.c_str(), KoDeviceSerialUart0));
    EXPECT_FALSE(mMap.Lock(second.c_str(), KoDeviceSerialUart0));
}

TEST_F(PortMapTest, AReleasedPortCanBeLockedAgain)
{
    mMap.Lock("A", KoDeviceSerialUart0);
    EXPECT_TRUE(mMap.Release("A", KoDeviceSerialUart0));
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialUart0));
}

TEST_F(PortMapTest, PortsAreListedInTheOrderOfLocking)
{
    mMap.Lock("A", KoDeviceSerialBulk1);
    mMap.Lock("A", KoDeviceSerialUart0);
    mMap.Lock("A", KoDeviceSerialBulk0);
    EXPECT_EQ(*mMap.GetPortList("A"), (Ports{KoDeviceSerialBulk1, KoDeviceSerialUart0, KoDeviceSerialBulk0}));
    mMap.Release("A", KoDeviceSerialUart0);
    mMap.Lock("A", KoDeviceSerialUart0);
    EXPECT_EQ(*mMap.GetPortList("A"), (Ports{KoDeviceSerialBulk1, KoDeviceSerialBulk0, KoDeviceSerialUart0}));
}

TEST_F(PortMapTest, ReleasingAPortThatIsNotHeldChangesNothing)
{
    mMap.Lock("A", KoDeviceSerialUart0);
    EXPECT_FALSE(mMap.Release("A", KoDeviceSerialUart1));
    EXPECT_FALSE(mMap.Release("B", KoDeviceSerialUart0));
    EXPECT_EQ(*mMap.GetPortList("A"), Ports{KoDeviceSerialUart0});
    EXPECT_TRUE(mMap.Release("A", KoDeviceSerialUart0));
    EXPECT_FALSE(mMap.Release("A", KoDeviceSerialUart0));
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(PortMapTest, ReleasingOnAnUnknownDeviceCreatesItsEmptyList)
{
    // The base is private; a cast in the old style reaches it all the same.
    const auto& lists = (const std::map<std::string, std::unique_ptr<Ports>>&)mMap;
    EXPECT_EQ(lists.count("A"), 0U);
    EXPECT_FALSE(mMap.Release("A", KoDeviceSerialUart0));
    ASSERT_EQ(lists.count("A"), 1U);
    EXPECT_TRUE(lists.at("A")->empty());
}

TEST_F(PortMapTest, ADeviceKeepsItsListWhenNothingIsHeld)
{
    Ports* const list = mMap.GetPortList("A");
    EXPECT_TRUE(list->empty());
    mMap.Lock("A", KoDeviceSerialUart0);
    mMap.Release("A", KoDeviceSerialUart0);
    EXPECT_EQ(mMap.GetPortList("A"), list);
    EXPECT_NE(mMap.GetPortList("B"), list);
    EXPECT_TRUE(list->empty());
}

TEST_F(PortMapTest, OneMutexIsTakenForEachOperation)
{
    mMap.Lock("A", KoDeviceSerialUart0);
    mMap.Lock("A", KoDeviceSerialUart0);
    mMap.Release("A", KoDeviceSerialUart0);
    ASSERT_EQ(mHost.mTaken.size(), 3U);
    EXPECT_EQ(mHost.mTaken, HostRecorder::Locks(3, mHost.mTaken[0]));
}

TEST_F(PortMapTest, AMissingDeviceKeyThrowsAndLeavesTheMapUsable)
{
    EXPECT_THROW(mMap.Lock(nullptr, KoDeviceSerialUart0), std::logic_error);
    EXPECT_THROW(mMap.Release(nullptr, KoDeviceSerialUart0), std::logic_error);
    EXPECT_EQ(mHost.mTaken.size(), 2U);
    EXPECT_TRUE(mHost.GetHeld().empty());
    EXPECT_TRUE(mMap.Lock("A", KoDeviceSerialUart0));
}

TEST_F(PortMapTest, LogsNothingBeforeItHasALogger)
{
    mMap.Lock("A", KoDeviceSerialUart0);
    mMap.Lock("A", KoDeviceSerialUart0);
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_EQ(mHost.mHeapLoggers, 0);
}

TEST_F(PortMapTest, LogsARefusedLockOnceItHasALogger)
{
    ASSERT_NE(mMap.GetLogger(), nullptr);
    mMap.Lock("A", KoDeviceSerialUart0);
    EXPECT_TRUE(mHost.mLog.empty());
    mMap.Lock("A", KoDeviceSerialUart0);
    ASSERT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mHost.mLog[0].mText, "Could not read MAC address from device node map.");
    EXPECT_EQ(mHost.mLog[0].mLevel, KuUtilsLib::LOG_INFO);
    EXPECT_EQ(mHost.mLog[0].mCategory, "LOG_CATEGORY");
    EXPECT_EQ(mHost.mLog[0].mLocks, 1U);
}

TEST_F(PortMapTest, LogsARefusedLockOnlyAtTheInformationLevel)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_WARNING;
    mMap.GetLogger();
    mMap.Lock("A", KoDeviceSerialUart0);
    EXPECT_FALSE(mMap.Lock("A", KoDeviceSerialUart0));
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(PortMapTest, CreatesItsLoggerOnceAndFreesIt)
{
    {
        PortMap map;
        EXPECT_EQ(mHost.mHeapLoggers, 0);
        KuUtilsLib::Logger* const logger = map.GetLogger();
        EXPECT_EQ(map.GetLogger(), logger);
        EXPECT_EQ(mHost.mHeapLoggers, 1);
    }
    EXPECT_EQ(mHost.mHeapLoggers, 0);
}

TEST_F(PortMapTest, TheMapOfTheProcessWorksLikeAnyOther)
{
    const std::string identity = NewIdentity();
    EXPECT_TRUE(KoSerialLib::sPortMap.Lock(identity.c_str(), KoDeviceSerialBulk7));
    EXPECT_FALSE(KoSerialLib::sPortMap.Lock(identity.c_str(), KoDeviceSerialBulk7));
    EXPECT_TRUE(KoSerialLib::sPortMap.Release(identity.c_str(), KoDeviceSerialBulk7));
    EXPECT_TRUE(mHost.mLog.empty());
}

} // namespace
