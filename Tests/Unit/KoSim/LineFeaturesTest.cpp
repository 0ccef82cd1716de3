#include "LineFeatures.h"

#include <gtest/gtest.h>

using namespace KoSim;

namespace
{

const std::vector<std::string> TEN_RATES = {"Baud9600",  "Baud14400",  "Baud19200",  "Baud28800",  "Baud38400",
                                            "Baud57600", "Baud115200", "Baud230400", "Baud460800", "Baud921600"};

constexpr LineSettings EVERYTHING_ELSE = {9600, LineParity::Even, 7, 2};

} // namespace

class LineFeaturesTest : public ::testing::Test
{
protected:
    FeatureTree mTree;
    LineFeatures mFeatures{mTree, false};
};

/// The same on a device whose bulk ports share features that a selector switches.
class SelectedLineFeaturesTest : public ::testing::Test
{
protected:
    SelectedLineFeaturesTest()
    {
        mTree.mEnumerations["BulkSelector"] = {{"Bulk0", "Bulk3"}, "Bulk0"};
        mFeatures.Add(Port::Bulk0, {9600, LineParity::None, 8, 1});
        mFeatures.Add(Port::Bulk3, {19200, LineParity::Odd, 8, 2});
    }

    FeatureTree mTree;
    LineFeatures mFeatures{mTree, true};
};

TEST_F(LineFeaturesTest, OfAUartHaveItsName)
{
    mFeatures.Add(Port::Uart1, {115200, LineParity::Odd, 8, 2});

    EXPECT_EQ(mTree.GetEnumValue("Uart1BaudRate"), "Baud115200");
    EXPECT_EQ(mTree.GetEnumValue("Uart1Parity"), "Odd");
    EXPECT_EQ(mTree.GetEnumValue("Uart1NumOfStopBits"), "Two");
    EXPECT_EQ(mTree.mEnumerations.size(), 3U);
}

TEST_F(LineFeaturesTest, HaveAnEntryForEverySetting)
{
    mFeatures.Add(Port::Uart0, LineSettings());

    EXPECT_EQ(mTree.mEnumerations["Uart0BaudRate"].mEntries, TEN_RATES);
    EXPECT_EQ(mTree.mEnumerations["Uart0Parity"].mEntries, (std::vector<std::string>{"None", "Even", "Odd"}));
    EXPECT_EQ(mTree.mEnumerations["Uart0NumOfStopBits"].mEntries, (std::vector<std::string>{"One", "Two"}));
}

TEST_F(LineFeaturesTest, HaveAnEntryMoreForAnUnusualRate)
{
    mFeatures.Add(Port::Uart0, {1000, LineParity::None, 8, 1});

    EXPECT_EQ(mTree.GetEnumValue("Uart0BaudRate"), "Baud1000");
    EXPECT_EQ(mTree.mEnumerations["Uart0BaudRate"].mEntries.size(), 11U);
    EXPECT_EQ(mTree.mEnumerations["Uart0BaudRate"].mEntries.back(), "Baud1000");
}

TEST_F(LineFeaturesTest, OfABulkPortHaveItsNameWithoutASelector)
{
    mFeatures.Add(Port::Bulk3, {57600, LineParity::None, 8, 1});

    EXPECT_EQ(mTree.GetEnumValue("Bulk3BaudRate"), "Baud57600");
    EXPECT_EQ(mFeatures.Get(Port::Bulk3, EVERYTHING_ELSE).mBaudRate, 57600U);
}

TEST_F(LineFeaturesTest, TellWhatTheyShow)
{
    mFeatures.Add(Port::Uart0, LineSettings());
    mTree.SetEnumValue("Uart0BaudRate", "Baud921600");
    mTree.SetEnumValue("Uart0Parity", "Even");
    mTree.SetEnumValue("Uart0NumOfStopBits", "Two");

    EXPECT_EQ(mFeatures.Get(Port::Uart0, {1, LineParity::None, 7, 1}), (LineSettings{921600, LineParity::Even, 7, 2}));
}

TEST_F(LineFeaturesTest, LeaveAloneWhatTheyDoNotHave)
{
    EXPECT_EQ(mFeatures.Get(Port::Uart0, EVERYTHING_ELSE), EVERYTHING_ELSE);
}

TEST_F(LineFeaturesTest, KnowWhichPortTheyAreAbout)
{
    EXPECT_TRUE(mFeatures.IsAbout(Port::Bulk0, "Bulk0BaudRate"));
    EXPECT_TRUE(mFeatures.IsAbout(Port::Bulk0, "Bulk0Parity"));
    EXPECT_TRUE(mFeatures.IsAbout(Port::Bulk0, "Bulk0NumOfStopBits"));
    EXPECT_FALSE(mFeatures.IsAbout(Port::Bulk0, "Bulk1BaudRate"));
    EXPECT_FALSE(mFeatures.IsAbout(Port::Bulk0, "BulkBaudRate"));
    EXPECT_FALSE(mFeatures.IsAbout(Port::Bulk0, "BulkMode"));
}

TEST_F(SelectedLineFeaturesTest, AreSwitchedByTheSelector)
{
    EXPECT_EQ(mTree.GetEnumValue("BulkBaudRate"), "Baud9600");
    mTree.SetEnumValue("BulkSelector", "Bulk3");
    EXPECT_EQ(mTree.GetEnumValue("BulkBaudRate"), "Baud19200");
    EXPECT_EQ(mTree.GetEnumValue("BulkParity"), "Odd");
    EXPECT_EQ(mTree.GetEnumValue("BulkNumOfStopBits"), "Two");
}

TEST_F(SelectedLineFeaturesTest, TellWhatTheyShowForEachPort)
{
    mTree.SetEnumValue("BulkSelector", "Bulk3");
    mTree.SetEnumValue("BulkBaudRate", "Baud230400");

    EXPECT_EQ(mFeatures.Get(Port::Bulk3, LineSettings()), (LineSettings{230400, LineParity::Odd, 8, 2}));
    EXPECT_EQ(mFeatures.Get(Port::Bulk0, LineSettings()), (LineSettings{9600, LineParity::None, 8, 1}));
}

TEST_F(SelectedLineFeaturesTest, AreAboutEveryBulkPort)
{
    EXPECT_TRUE(mFeatures.IsAbout(Port::Bulk0, "BulkBaudRate"));
    EXPECT_FALSE(mFeatures.IsAbout(Port::Bulk0, "Bulk0BaudRate"));
    EXPECT_FALSE(mFeatures.IsAbout(Port::Uart0, "BulkBaudRate"));
}
