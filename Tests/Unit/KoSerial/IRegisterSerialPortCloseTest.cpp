#include "FeaturePortTest.h"

#include <PortMap.h>

namespace
{

using KoSerialLib::sPortMap;

/// Close, and the switch of the event notification that Open and Close share.
class IRegisterSerialPortCloseTest : public FeaturePortTest
{
protected:
    std::string& Selector() { return mDevice.mEnumerations["EventSelector"].mValue; }
    std::string& Notification() { return mDevice.mEnumerations["EventNotification"].mValue; }

    /// Whether the port map has the port as held; asked in the middle of a call of the library.
    bool IsHeld()
    {
        const char* const identity = mDevice.mIdentity.c_str();
        return !sPortMap.Lock(identity, BULK2) || !sPortMap.Release(identity, BULK2);
    }

    void ExpectEverythingIsUndone()
    {
        EXPECT_TRUE(mPort.Close().IsOK());
        EXPECT_FALSE(mPort.IsOpened());
        EXPECT_TRUE(mDevice.mSinks.empty());
        EXPECT_FALSE(IsHeld());
    }
};

TEST_F(IRegisterSerialPortCloseTest, CloseRestoresTheEventUnsubscribesAndReleasesThePort)
{
    Open();
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_EQ(TakeStory(),
              (Texts{"IsConnected", "IsGenEnumPresent EventSelector", "GetGenEnumValue EventSelector",
                     "SetGenEnumValue EventSelector Bulk2UpstreamData", "IsGenEnumPresent EventNotification",
                     "GetGenEnumValue EventNotification", "SetGenEnumValue EventNotification Off",
                     "SetGenEnumValue EventSelector Timer", "UnregisterGenInvalidator EventBulk2UpstreamDataBuffer",
                     "UnregisterEventSink", "GetDeviceId"}));
    EXPECT_FALSE(mPort.IsOpened());
    EXPECT_EQ(mPort.mDevice, nullptr);
    EXPECT_EQ(mPort.mPort, KoDeviceSerialInvalid);
    EXPECT_STREQ(mPort.mPortName, "");
    EXPECT_STREQ(mPort.mDownstreamData, "");
    EXPECT_STREQ(mPort.mUpstreamDataLength, "");
    EXPECT_STREQ(mPort.mUpstreamDataBuffer, "");
    EXPECT_STREQ(mPort.mPreviousEventNotification, "");
    EXPECT_EQ(Notification(), "Off");
    EXPECT_EQ(Selector(), "Timer");
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_FALSE(IsHeld());
}

TEST_F(IRegisterSerialPortCloseTest, CloseKeepsTheNamesUntilTheSinkIsGoneAndThePortUntilTheNamesAre)
{
    Open();
    int checks = 0;
    mDevice.mOnCall = [&](const std::string& aCall)
    {
        if (aCall == "UnregisterEventSink")
        {
            ++checks;
            EXPECT_STREQ(mPort.mUpstreamDataBuffer, UPSTREAM_BUFFER);
            EXPECT_TRUE(IsHeld());
        }
        if (aCall == "GetDeviceId")
        {
            ++checks;
            EXPECT_STREQ(mPort.mDownstreamData, "");
            EXPECT_STREQ(mPort.mUpstreamDataLength, "");
            EXPECT_STREQ(mPort.mUpstreamDataBuffer, "");
            EXPECT_STREQ(mPort.mPreviousEventNotification, "");
            EXPECT_TRUE(IsHeld());
            EXPECT_EQ(mPort.mPort, BULK2);
        }
    };
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_EQ(checks, 2);
}

TEST_F(IRegisterSerialPortCloseTest, CloseForgetsUnreadBytesAndTheWriteProgressButKeepsTheBuffers)
{
    Open();
    EXPECT_TRUE(Write({1, 2, 3}).IsOK());
    mDevice.mIntegers[UPSTREAM_LENGTH] = 3;
    mDevice.Invalidate(UPSTREAM_BUFFER);
    const std::uint8_t* const downstream = mPort.mDownstreamBuffer.get();
    const std::uint8_t* const upstream = mPort.mUpstreamBuffer.get();
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_EQ(mPort.ReadAll(), Bytes{});
    ExpectNoProgress();
    EXPECT_EQ(mPort.mDownstreamBufferSize, 32U);
    EXPECT_EQ(mPort.mUpstreamBufferSize, 512U);
    EXPECT_EQ(mPort.mBytesSent, 3U);
    Open();
    EXPECT_TRUE(Write({1, 2, 3}).IsOK());
    EXPECT_EQ(mPort.mDownstreamBuffer.get(), downstream);
    EXPECT_EQ(mPort.mUpstreamBuffer.get(), upstream);
}

TEST_F(IRegisterSerialPortCloseTest, CloseFailsWhenNeverOpenedAndWhenClosedAlready)
{
    ExpectFailure(mPort.Close(), KoResult::NOT_CONNECTED, "Close", "Device pointer is NULL.");
    Open();
    EXPECT_TRUE(mPort.Close().IsOK());
    Forget();
    ExpectFailure(mPort.Close(), KoResult::NOT_CONNECTED, "Close", "Device pointer is NULL.");
    EXPECT_EQ(TakeStory(), Texts{"[3 23] Device pointer is NULL."});
}

TEST_F(IRegisterSerialPortCloseTest, CloseOnADisconnectedDeviceUndoesNothing)
{
    Open();
    mDevice.mConnected = false;
    ExpectFailure(mPort.Close(), KoResult::NOT_CONNECTED, "Close", "The device is not currently connected.");
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "[3 23] The device is not currently connected."}));
    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_STREQ(mPort.mPreviousEventNotification, "Off");
    EXPECT_EQ(mDevice.mSinks.size(), 1U);

    mDevice.mConnected = true;
    TestFeaturePort second(false);
    ExpectFailure(second.Open(&mDevice, BULK2), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
    ExpectEverythingIsUndone();
}

TEST_F(IRegisterSerialPortCloseTest, CloseIgnoresEveryFailureOfTheDevice)
{
    for (const char* const call :
         {"IsGenEnumPresent EventSelector", "SetGenEnumValue EventSelector", "IsGenEnumPresent EventNotification",
          "SetGenEnumValue EventNotification", "UnregisterGenInvalidator", "UnregisterEventSink"})
    {
        Selector() = "Timer";
        Open();
        mDevice.FailCall(call);
        ExpectEverythingIsUndone();
    }
}

TEST_F(IRegisterSerialPortCloseTest, CloseReleasesThePortUnderTheIdentityThatTheDeviceTellsThen)
{
    const std::string identity = mDevice.mIdentity;
    Open();
    mDevice.mIdentity = NewIdentity();
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_FALSE(IsHeld());
    mDevice.mIdentity = identity;
    EXPECT_TRUE(IsHeld());
}

TEST_F(IRegisterSerialPortCloseTest, ADeviceWithoutIdentityOpensAndCloses)
{
    mDevice.FailEvery("GetDeviceId");
    EXPECT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
    EXPECT_STREQ(mPort.mPortName, "");
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
}

TEST_F(IRegisterSerialPortCloseTest, AnEventThatIsOnAlreadyIsNeitherSwitchedOnNorOff)
{
    Notification() = "On";
    EXPECT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
    EXPECT_STREQ(mPort.mPreviousEventNotification, "On");
    EXPECT_TRUE(mPort.Close().IsOK());
    for (const std::string& call : TakeStory())
    {
        EXPECT_EQ(call.find("SetGenEnumValue EventNotification"), std::string::npos) << call;
    }
    EXPECT_EQ(Selector(), "Timer");
}

TEST_F(IRegisterSerialPortCloseTest, ASelectorThatIsOnTheEventAlreadyIsNotTouched)
{
    Selector() = "Bulk2UpstreamData";
    EXPECT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
    EXPECT_EQ(Notification(), "On");
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_EQ(Notification(), "Off");
    for (const std::string& call : TakeStory())
    {
        EXPECT_EQ(call.find("SetGenEnumValue EventSelector"), std::string::npos) << call;
    }
}

TEST_F(IRegisterSerialPortCloseTest, ASelectorThatCannotBeReadIsSetToNothingAfterwards)
{
    mDevice.FailCall("GetGenEnumValue EventSelector");
    EXPECT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
    EXPECT_EQ(TakeStory().back(), "SetGenEnumValue EventSelector ");
}

TEST_F(IRegisterSerialPortCloseTest, ANotificationThatCannotBeReadIsSwitchedOnAndToNothingByClose)
{
    Notification() = "On";
    mDevice.FailCall("GetGenEnumValue EventNotification");
    EXPECT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
    EXPECT_STREQ(mPort.mPreviousEventNotification, "");
    const Texts opened = TakeStory();
    EXPECT_EQ(opened.at(opened.size() - 2), "SetGenEnumValue EventNotification On");
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_EQ(Notification(), "");
}

TEST_F(IRegisterSerialPortCloseTest, ASelectorThatCannotBePutBackIsNoFailure)
{
    mDevice.FailCall("SetGenEnumValue EventSelector Timer");
    EXPECT_TRUE(mPort.Open(&mDevice, BULK2).IsOK());
    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_EQ(Selector(), "Bulk2UpstreamData");
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(IRegisterSerialPortCloseTest, TheSwitchOfTheEventTellsThePreviousValueToWhoeverAsks)
{
    Open();
    KoString previous("untouched");
    EXPECT_TRUE(mPort.SetEventNotification("Once", &previous).IsOK());
    EXPECT_STREQ(previous, "On");
    EXPECT_EQ(Notification(), "Once");
    EXPECT_EQ(Selector(), "Timer");
    EXPECT_TRUE(mPort.SetEventNotification("Off", nullptr).IsOK());
    EXPECT_EQ(Notification(), "Off");
    EXPECT_EQ(Selector(), "Timer");
}

TEST_F(IRegisterSerialPortCloseTest, AFailedSwitchOfTheEventTellsNothingAndLeavesTheSelectorThere)
{
    struct Row
    {
        const char* mFailing;
        const char* mText;
        const char* mSelector;
    };
    for (const Row& row :
         {Row{"IsGenEnumPresent EventSelector", "Couldn't get EventSelector parameter.", "Timer"},
          Row{"SetGenEnumValue EventSelector", "Failed setting parameter EventSelector to Bulk2UpstreamData.", "Timer"},
          Row{"IsGenEnumPresent EventNotification", "Couldn't get EventNotification parameter.", "Bulk2UpstreamData"},
          Row{"SetGenEnumValue EventNotification", "Failed setting parameter EventNotification to Once.",
              "Bulk2UpstreamData"}})
    {
        if (!mPort.IsOpened())
        {
            Open();
        }
        Selector() = "Timer";
        mDevice.mRefusal = FailureOfDevice();
        mDevice.FailCall(row.mFailing);
        KoString previous("untouched");
        ExpectFailure(mPort.SetEventNotification("Once", &previous), KoResult::GENERIC_ERROR, "SetEventNotification",
                      row.mText);
        EXPECT_STREQ(previous, "untouched");
        EXPECT_EQ(Selector(), row.mSelector) << row.mFailing;
        EXPECT_EQ(Notification(), "On");
    }
}

TEST_F(IRegisterSerialPortCloseTest, ThePortOpensAgainAfterClose)
{
    for (int i = 0; i < 3; ++i)
    {
        Open();
        EXPECT_TRUE(Write({1}).IsOK());
        ExpectEverythingIsUndone();
    }
}

} // namespace
