#include "FeatureTree.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using namespace KoSim;

namespace
{

using Names = std::vector<std::string>;

} // namespace

/// "Selector" switches between values of "Mode".
class FeatureTreeTest : public ::testing::Test
{
protected:
    FeatureTreeTest()
    {
        mTree.mEnumerations["Selector"] = {{"A", "B"}, "A"};
        mTree.mEnumerations["Mode"] = {{"Slow", "Fast"}, "Slow", "Selector"};
    }

    FeatureTree mTree;
};

TEST_F(FeatureTreeTest, KeepsAValueForEachEntryOfTheSelector)
{
    mTree.SetEnumValue("Selector", "B");
    mTree.SetEnumValue("Mode", "Fast");
    EXPECT_EQ(mTree.GetEnumValue("Mode"), "Fast");

    mTree.SetEnumValue("Selector", "A");
    EXPECT_EQ(mTree.GetEnumValue("Mode"), "Slow");
    EXPECT_EQ(mTree.GetEnumValue("Mode", "B"), "Fast");
}

TEST_F(FeatureTreeTest, KeepsOneValueWhenTheSelectorDoesNotExist)
{
    mTree.Remove("Selector");
    mTree.SetEnumValue("Mode", "Fast");

    EXPECT_EQ(mTree.GetEnumValue("Mode"), "Fast");
    EXPECT_EQ(mTree.GetEnumValue("Mode", "B"), "Fast");
}

TEST_F(FeatureTreeTest, OffersTheEntriesThatAreAvailable)
{
    EXPECT_TRUE(mTree.IsEntryAvailable("Mode", "Fast"));
    EXPECT_FALSE(mTree.IsEntryAvailable("Mode", "Medium"));
    EXPECT_FALSE(mTree.IsEntryAvailable("Width", "Fast"));

    mTree.mEnumerations["Mode"].mUnavailable.insert("Fast");
    EXPECT_FALSE(mTree.IsEntryAvailable("Mode", "Fast"));
}

TEST_F(FeatureTreeTest, ReportsChangesOfWatchedFeaturesOnly)
{
    mTree.Invalidate("Mode");
    EXPECT_EQ(mTree.TakeInvalidated(), Names{});

    EXPECT_TRUE(mTree.Watch("Mode"));
    mTree.Invalidate("Mode");
    EXPECT_EQ(mTree.TakeInvalidated(), Names{"Mode"});
    EXPECT_EQ(mTree.TakeInvalidated(), Names{});
}

TEST_F(FeatureTreeTest, ReportsWhatASelectorSwitches)
{
    mTree.Watch("Mode");
    mTree.SetEnumValue("Selector", "B");

    EXPECT_EQ(mTree.TakeInvalidated(), Names{"Mode"});
}

TEST_F(FeatureTreeTest, StopsReportingWhenEveryWatchHasEnded)
{
    mTree.Watch("Mode");
    mTree.Watch("Mode");
    EXPECT_TRUE(mTree.Unwatch("Mode"));
    mTree.Invalidate("Mode");
    EXPECT_EQ(mTree.TakeInvalidated(), Names{"Mode"});

    EXPECT_TRUE(mTree.Unwatch("Mode"));
    EXPECT_FALSE(mTree.Unwatch("Mode"));
    mTree.Invalidate("Mode");
    EXPECT_EQ(mTree.TakeInvalidated(), Names{});
}

TEST_F(FeatureTreeTest, DoesNotWatchWhatDoesNotExist)
{
    EXPECT_FALSE(mTree.Watch("Width"));
}

TEST_F(FeatureTreeTest, HasNothingToTellOfWhatDoesNotExist)
{
    EXPECT_EQ(mTree.GetEnumValue("Width"), "");
    EXPECT_EQ(mTree.GetEnumValue("Width", "B"), "");
    EXPECT_EQ(mTree.GetBlockLength("Width"), 0);
}

TEST_F(FeatureTreeTest, ChangesNothingThatDoesNotExist)
{
    mTree.SetEnumValue("Width", "Full");
    mTree.SetInteger("Width", 1);

    EXPECT_FALSE(mTree.Has("Width"));
}

TEST(Block, HasWholeWordsBehindIt)
{
    EXPECT_EQ(Block{0}.GetPaddedLength(), 0);
    EXPECT_EQ(Block{30}.GetPaddedLength(), 32);
    EXPECT_EQ(Block{32}.GetPaddedLength(), 32);
    EXPECT_EQ(Block{-5}.GetPaddedLength(), -5);
    EXPECT_EQ(Block{std::numeric_limits<std::int64_t>::max()}.GetPaddedLength(),
              std::numeric_limits<std::int64_t>::max());
}
