#include <OpenI2cBus.h>

#include <BulkModeScope.h>
#include <Failure.h>
#include <SimulatedSetup.h>

#include "Support/Complaint.h"
#include "Support/Text.h"

#include <IKoDeviceEventSink.h>
#include <KoSim/FaultInjectingAdapter.h>

#include <gtest/gtest.h>

#include <mutex>
#include <vector>

using namespace KoTool;

namespace
{

constexpr std::uint8_t THERMOMETER = 0x48;

/// On bulk port 0 the bus runs in registers, on the others in features.
class OpenI2cBusTest : public testing::TestWithParam<KoDeviceSerial>
{
protected:
    void Run(const std::function<void(OpenI2cBus&)>& aAction) { WithI2cBus(mSetup, GetParam(), true, aAction); }

    std::string GetFailure(const std::function<void(OpenI2cBus&)>& aAction)
    {
        return GetComplaint(STATUS_FAILURE, [&] { Run(aAction); });
    }

    std::string GetMode()
    {
        KoString mode;
        mSetup.GetDevice().GetGenEnumValue("BulkMode", mode);
        return mode.GetAscii();
    }

    SimulatedSetup mSetup{ParseDeviceUri("sim,timing=instant")};
};

INSTANTIATE_TEST_SUITE_P(Ports, OpenI2cBusTest, testing::Values(KoDeviceSerialBulk0, KoDeviceSerialBulk3));

} // namespace

TEST_P(OpenI2cBusTest, FindsASlaveByReadingFromIt)
{
    Run(
        [](OpenI2cBus& aBus)
        {
            EXPECT_TRUE(aBus.IsPresent(THERMOMETER));
            EXPECT_FALSE(aBus.IsPresent(THERMOMETER + 1));
        });
}

TEST_P(OpenI2cBusTest, CarriesOutMessagesInTheirOrder)
{
    Run(
        [](OpenI2cBus& aBus)
        {
            const std::vector<Bytes> received = aBus.Transfer(
                {MakeI2cWrite(THERMOMETER, {3, 0x1E, 0x80}), MakeI2cWrite(THERMOMETER, {2}),
                 MakeI2cRead(THERMOMETER, 2), MakeI2cWrite(THERMOMETER, {3}), MakeI2cRead(THERMOMETER, 2)});
            EXPECT_EQ(received, std::vector<Bytes>({{}, {}, {0x4B, 0x00}, {}, {0x1E, 0x80}}));
        });
}

TEST_P(OpenI2cBusTest, TellsWhereNothingAnswersAndPutsTheModeBack)
{
    EXPECT_EQ(GetFailure([](OpenI2cBus& aBus) { aBus.Transfer({MakeI2cRead(0x51, 4)}); }),
              std::string("nothing answers at 0x51 on ") + (GetParam() == KoDeviceSerialBulk0 ? "bulk0" : "bulk3"));
    EXPECT_EQ(GetMode(), "UART");
}

TEST_P(OpenI2cBusTest, TellsThatThePortIsInUse)
{
    Run(
        [this](OpenI2cBus&)
        {
            const std::string failure = GetFailure([](OpenI2cBus&) {});
            EXPECT_TRUE(Matches(failure, "cannot open the I2C bus on bulk[03]: GENERIC_ERROR: .*"));
        });
}

TEST_P(OpenI2cBusTest, TellsThatTheDeviceIsGone)
{
    Run(
        [this](OpenI2cBus& aBus)
        {
            mSetup.GetDevice().Disconnect();
            const std::string failure = GetComplaint(STATUS_FAILURE, [&] { aBus.IsPresent(THERMOMETER); });
            EXPECT_TRUE(Matches(failure, "cannot read from 0x48 on bulk[03]: NOT_CONNECTED.*"));
            mSetup.GetDevice().Connect();
        });
}

namespace
{

/// A device whose first answer on bulk port 0 comes so late that it arrives while the next request goes out.
class LateAdapter : public KoSim::FaultInjectingAdapter, private IKoDeviceEventSink
{
public:
    using FaultInjectingAdapter::FaultInjectingAdapter;

    KoResult RegisterEventSink(IKoDeviceEventSink* aSink) override
    {
        mSink = aSink;
        return FaultInjectingAdapter::RegisterEventSink(this);
    }

    KoResult UnregisterEventSink(IKoDeviceEventSink* /*aSink*/) override
    {
        return FaultInjectingAdapter::UnregisterEventSink(this);
    }

    KoResult BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength) override
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        if (mState == State::Holding)
        {
            mState = State::InTime;
            mSink->NotifyEvent(0x9000, 0, 0, 0, mAnswer.data(), static_cast<std::uint32_t>(mAnswer.size()));
        }
        return FaultInjectingAdapter::BulkTransmit(aData, aCommand, aLength);
    }

private:
    enum class State
    {
        Waiting,
        Holding,
        InTime,
    };

    /// An event holds a status word and the bytes that came.
    static constexpr std::uint32_t STATUS_SIZE = 4;

    void NotifyEvent(std::uint16_t aEventId, std::uint16_t aChannel, std::uint64_t aBlockId, std::uint64_t aTimestamp,
                     const void* aData, std::uint32_t aLength) override
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            if (mState == State::Waiting && aLength > STATUS_SIZE)
            {
                const auto* const bytes = static_cast<const std::uint8_t*>(aData);
                mAnswer.assign(bytes, bytes + aLength);
                mState = State::Holding;
                return;
            }
        }
        mSink->NotifyEvent(aEventId, aChannel, aBlockId, aTimestamp, aData, aLength);
    }

    void NotifyInvalidatedGenParameter(const KoString& aName) override { mSink->NotifyInvalidatedGenParameter(aName); }

    IKoDeviceEventSink* mSink = nullptr;
    std::mutex mMutex; ///< guards what follows
    State mState = State::Waiting;
    Bytes mAnswer;
};

} // namespace

TEST(OpenI2cBus, DoesNotTakeALateAnswerForThatOfTheNextSlave)
{
    SimulatedSetup setup(ParseDeviceUri("sim,timing=instant"));
    LateAdapter device(setup.GetDevice());
    const BulkModeScope mode(device, KoDeviceSerialBulk0, "I2C");
    OpenI2cBus bus(device, KoDeviceSerialBulk0, true);

    EXPECT_FALSE(bus.IsPresent(THERMOMETER));
    EXPECT_FALSE(bus.IsPresent(THERMOMETER + 1));
    EXPECT_TRUE(bus.IsPresent(THERMOMETER));
    bus.Close();
}

TEST(OpenI2cBus, IsNotThereOnADeviceWithoutI2c)
{
    SimulatedSetup setup(ParseDeviceUri("sim:uart-only"));
    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { WithI2cBus(setup, KoDeviceSerialBulk0, false, [](OpenI2cBus&) {}); }),
              "the device offers no I2C on bulk0");
}

TEST(OpenI2cBus, RefusesAWriteThatWouldNotGoOutInOnePiece)
{
    SimulatedSetup setup(ParseDeviceUri("sim:tiny-downstream,timing=instant"));
    WithI2cBus(setup, KoDeviceSerialBulk3, false,
               [](OpenI2cBus& aBus)
               {
                   EXPECT_NO_THROW(aBus.Transfer({MakeI2cWrite(0x50, Bytes(21))}));
                   EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { aBus.Transfer({MakeI2cWrite(0x50, Bytes(22))}); }),
                             "cannot write 22 bytes to 0x50: bulk3 sends at most 21 in one piece");
               });
}
