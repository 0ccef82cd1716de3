#include "StoryTest.h"

#include <StateStack.h>

#include <optional>
#include <type_traits>

namespace
{

using KoSerialLib::StateStack;

static_assert(!std::is_polymorphic_v<StateStack>);
static_assert(std::is_nothrow_destructible_v<StateStack>);

/// A stack on a device with three enumerations that show "Old".
class StateStackTest : public StoryTest
{
protected:
    StateStackTest()
    {
        mDevice.mEnumerations["First"].mValue = "Old";
        mDevice.mEnumerations["Second"].mValue = "Old";
        mDevice.mEnumerations["Third"].mValue = "Old";
        mDevice.mRefusal = KoResult(4711, KoString("The device is on fire."));
        mStack.emplace(&mDevice);
    }

    std::uint32_t Set(const char* aName, const char* aValue)
    {
        const KuUtilsLib::Result result = mStack->SetValue(KoString(aName), KoString(aValue));
        EXPECT_EQ(result.GetDescription(), nullptr);
        return result.GetCode();
    }

    void End() { mStack.reset(); }

    std::optional<StateStack> mStack;
};

/// A stack that shows what it has recorded.
class OpenStateStack : public StateStack
{
public:
    using StateStack::mStates;
    using StateStack::StateStack;
};

TEST_F(StateStackTest, RecordsTheNameAndTheValueThatWereSet)
{
    OpenStateStack stack(&mDevice);
    ASSERT_EQ(stack.SetValue(KoString("First"), KoString("New")).GetCode(), KoResult::OK);
    ASSERT_EQ(stack.mStates.size(), 1U);
    EXPECT_STREQ(stack.mStates.front().name.GetAscii(), "First");
    EXPECT_STREQ(stack.mStates.front().value.GetAscii(), "New");
}

TEST_F(StateStackTest, TouchesNoDeviceAsLongAsNothingIsSet)
{
    End();
    EXPECT_EQ(TakeStory(), Texts{});
    const StateStack withoutDevice(nullptr);
}

TEST_F(StateStackTest, SetsAFeatureThatShowsAnotherValue)
{
    EXPECT_EQ(Set("First", "New"), KoResult::OK);
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue First", "SetGenEnumValue First New"}));
    EXPECT_EQ(mDevice.mEnumerations["First"].mValue, "New");
}

TEST_F(StateStackTest, WritesAtItsEndWhatItHasSetAndNotWhatWasThereBefore)
{
    Set("First", "New");
    TakeStory();
    End();
    EXPECT_EQ(TakeStory(), Texts{"SetGenEnumValue First New"});
    EXPECT_EQ(mDevice.mEnumerations["First"].mValue, "New");
}

TEST_F(StateStackTest, OverwritesAtItsEndWhatSomebodyElseHasSetMeanwhile)
{
    Set("First", "New");
    mDevice.mEnumerations["First"].mValue = "Foreign";
    End();
    EXPECT_EQ(mDevice.mEnumerations["First"].mValue, "New");
}

TEST_F(StateStackTest, LeavesAFeatureAloneThatShowsTheValueAlready)
{
    EXPECT_EQ(Set("First", "Old"), KoResult::OK);
    End();
    EXPECT_EQ(TakeStory(), Texts{"GetGenEnumValue First"});
}

TEST_F(StateStackTest, LeavesAFeatureAloneThatCannotBeRead)
{
    mDevice.FailCall("GetGenEnumValue First");
    EXPECT_EQ(Set("First", "New"), KoResult::OK);
    End();
    EXPECT_EQ(TakeStory(), Texts{"GetGenEnumValue First"});
}

TEST_F(StateStackTest, GivesTheCodeOfAWriteThatFailsAndForgetsIt)
{
    mDevice.FailCall("SetGenEnumValue First");
    EXPECT_EQ(Set("First", "New"), 4711U);
    End();
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue First", "SetGenEnumValue First New"}));
}

TEST_F(StateStackTest, WritesTheNewestFirstAtItsEnd)
{
    Set("First", "One");
    Set("Second", "Two");
    Set("First", "Three");
    Set("Third", "Four");
    TakeStory();
    End();
    EXPECT_EQ(TakeStory(), (Texts{"SetGenEnumValue Third Four", "SetGenEnumValue First Three",
                                  "SetGenEnumValue Second Two", "SetGenEnumValue First One"}));
}

TEST_F(StateStackTest, WritesAllTheOthersAtItsEndWhenOneFails)
{
    Set("First", "One");
    Set("Second", "Two");
    Set("Third", "Three");
    TakeStory();
    mDevice.FailEvery("SetGenEnumValue");
    End();
    EXPECT_EQ(TakeStory(),
              (Texts{"SetGenEnumValue Third Three", "SetGenEnumValue Second Two", "SetGenEnumValue First One"}));
}

} // namespace
