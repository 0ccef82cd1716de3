#include "DeviceModel.h"

#include "ModelOutputs.h"
#include "RecordingChips.h"
#include "Registers.h"

#include <KoSim/BulkLine.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint32_t UNKNOWN_ADDRESS = 0xB834;

/// The fields of the capabilities that are about UARTs.
constexpr std::uint32_t CAPS_UARTS = 0x80000007;

DeviceProfile WithUarts(std::uint32_t aCount)
{
    DeviceProfile profile;
    profile.mUartCount = aCount;
    return profile;
}

/// UART0 needs 10 ms for a byte, UART1 needs 11 ms.
DeviceProfile WithRealTiming()
{
    DeviceProfile profile;
    profile.mTiming = LineTiming::Real;
    profile.mLines[0] = {1000, LineParity::None, 8, 1};
    profile.mLines[1] = {1000, LineParity::Even, 8, 1};
    return profile;
}

void SwitchEventOn(DeviceModel& aModel, const std::string& aEvent)
{
    aModel.SetEnumValue("EventSelector", aEvent);
    aModel.SetEnumValue("EventNotification", "On");
}

} // namespace

TEST(DeviceModelTest, TellsTheNumberOfItsUarts)
{
    for (std::uint32_t count = 0; count <= 2; ++count)
    {
        DeviceModel model(WithUarts(count));

        EXPECT_EQ(model.ReadRegister(REG_FUNCTION_CAPS, 0ms) & CAPS_UARTS, 0x80000000 | count);
    }
}

TEST(DeviceModelTest, KeepsItsCapabilitiesWhenTheyAreWritten)
{
    DeviceModel model(WithUarts(2));
    model.WriteRegister(REG_FUNCTION_CAPS, 0, 0ms);

    EXPECT_EQ(model.ReadRegister(REG_FUNCTION_CAPS, 0ms) & CAPS_UARTS, 0x80000002);
    EXPECT_EQ(model.GetUnknownAccessCount(), 0U);
}

TEST(DeviceModelTest, GivesTheInterruptEnableBitsBack)
{
    DeviceModel model(WithUarts(2));
    EXPECT_EQ(model.ReadRegister(REG_INTERRUPT_ENABLE, 0ms), 0U);
    model.WriteRegister(REG_INTERRUPT_ENABLE, 0x1F05, 0ms);

    EXPECT_EQ(model.ReadRegister(REG_INTERRUPT_ENABLE, 0ms), 0x1F05U);
    EXPECT_EQ(model.GetUnknownAccessCount(), 0U);
}

TEST(DeviceModelTest, ReadsZeroFromAnAddressThatItDoesNotHaveAndCountsIt)
{
    DeviceModel model(WithUarts(2));

    EXPECT_EQ(model.ReadRegister(UNKNOWN_ADDRESS, 0ms), 0U);
    EXPECT_EQ(model.GetUnknownAccessCount(), 1U);
}

TEST(DeviceModelTest, IgnoresWritesToAnAddressThatItDoesNotHaveAndCountsThem)
{
    DeviceModel model(WithUarts(2));
    model.WriteRegister(UNKNOWN_ADDRESS, 1, 0ms);

    EXPECT_EQ(model.GetUnknownAccessCount(), 1U);
    EXPECT_EQ(model.ReadRegister(UNKNOWN_ADDRESS, 0ms), 0U);
    EXPECT_EQ(model.GetUnknownAccessCount(), 2U);
}

TEST(DeviceModelTest, DoesNotHaveTheDataRegisterOfAUartThatIsMissing)
{
    DeviceModel one(WithUarts(1));
    one.WriteRegister(REG_UART0_DATA, 'A', 0ms);
    EXPECT_EQ(one.GetUnknownAccessCount(), 0U);
    one.WriteRegister(REG_UART1_DATA, 'A', 0ms);
    EXPECT_EQ(one.ReadRegister(REG_UART1_DATA, 0ms), 0U);
    EXPECT_EQ(one.GetUnknownAccessCount(), 2U);

    DeviceModel none(WithUarts(0));
    EXPECT_EQ(none.ReadRegister(REG_UART0_DATA, 0ms), 0U);
    EXPECT_EQ(none.GetUnknownAccessCount(), 1U);
}

TEST(DeviceModelTest, RefusesMoreThanTwoUarts)
{
    EXPECT_THROW(DeviceModel(WithUarts(3)), std::invalid_argument);
}

TEST(DeviceModelTest, RefusesALineWithoutBaudRate)
{
    DeviceProfile profile;
    profile.mLines[1].mBaudRate = 0;

    EXPECT_THROW(DeviceModel{profile}, std::invalid_argument);
}

TEST(DeviceModelTest, RefusesBulkLinesWithoutBaudRate)
{
    DeviceProfile profile;
    profile.mBulkLine.mBaudRate = 0;

    EXPECT_THROW(DeviceModel{profile}, std::invalid_argument);
}

TEST(DeviceModelTest, RefusesALineWithNoStopBitsOrThree)
{
    for (const std::uint32_t count : {0U, 3U})
    {
        DeviceProfile profile;
        profile.mLines[1].mStopBits = count;
        EXPECT_THROW(DeviceModel{profile}, std::invalid_argument);
    }
}

TEST(DeviceModelTest, GivesEachUartTheSettingsOfItsLine)
{
    DeviceModel model(WithRealTiming());
    model.WriteRegister(REG_UART0_DATA, 'A', 0ms);
    model.WriteRegister(REG_UART1_DATA, 'B', 0ms);
    EXPECT_EQ(model.ReadRegister(REG_UART0_DATA, 0ms), UART_DATA_TX_BUSY);
    EXPECT_EQ(model.ReadRegister(REG_UART1_DATA, 0ms), UART_DATA_TX_BUSY);
    EXPECT_EQ(model.GetDeadline(), Time(10ms));

    model.Advance(10ms);
    EXPECT_EQ(TakeLineBytes(model.GetOutputs()), "A");
    EXPECT_EQ(model.GetDeadline(), Time(11ms));
    model.Advance(11ms);
    EXPECT_EQ(TakeLineBytes(model.GetOutputs()), "B");
    EXPECT_EQ(model.GetDeadline(), std::nullopt);
}

TEST(DeviceModelTest, PassesTheBaudRateOverOnInstantLines)
{
    DeviceProfile profile = WithRealTiming();
    profile.mTiming = LineTiming::Instant;
    DeviceModel model(profile);
    model.WriteRegister(REG_UART0_DATA, 'A', 1ms);
    model.Advance(1ms);

    EXPECT_EQ(TakeLineBytes(model.GetOutputs()), "A");
}

TEST(DeviceModelTest, SwitchesEachInterruptByItsOwnBit)
{
    const std::uint8_t byte = 'Z';
    for (const std::uint32_t bit : {0x1U, 0x2U, 0x4U, 0x8U})
    {
        DeviceModel model(WithUarts(2));
        model.WriteRegister(REG_INTERRUPT_ENABLE, bit, 0ms);
        model.WriteRegister(REG_UART0_DATA, 'A', 0ms);
        model.WriteRegister(REG_UART1_DATA, 'B', 0ms);
        model.Receive(Port::Uart0, &byte, 1, 0ms);
        model.Receive(Port::Uart1, &byte, 1, 0ms);
        model.Advance(0ms);
        const std::vector<SerialEvent> events = TakeEvents(model.GetOutputs());

        ASSERT_EQ(events.size(), 1U) << bit;
        EXPECT_EQ(events[0].mStatus, bit);
    }
}

TEST(DeviceModelTest, KeepsTheRoomOfEachLineApart)
{
    const std::string text(100, 'x');
    DeviceModel model(WithUarts(2));
    const std::size_t room = model.GetRoom(Port::Uart0);
    model.Receive(Port::Uart0, AsBytes(text), text.size(), 0ms);

    EXPECT_EQ(model.GetRoom(Port::Uart0), room - text.size());
    EXPECT_EQ(model.GetRoom(Port::Uart1), room);
}

TEST(DeviceModelTest, DoesNotStartToDeliverAnOutdatedInterrupt)
{
    DeviceModel model(WithRealTiming());
    model.WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_BULK_TX_EMPTY, 0ms);
    model.BulkTransmit(AsBytes("a"), 1, 0, 0ms);
    model.BulkTransmit(AsBytes("b"), 1, 0, 1s);
    model.Advance(2s);
    OutputQueue events;
    std::copy_if(model.GetOutputs().begin(), model.GetOutputs().end(), std::back_inserter(events),
                 [](const Output& aOutput) { return std::holds_alternative<EventOutput>(aOutput); });

    ASSERT_EQ(events.size(), 2U);
    EXPECT_FALSE(model.StartDelivery(std::get<EventOutput>(events[0])));
    EXPECT_TRUE(model.StartDelivery(std::get<EventOutput>(events[1])));
    EXPECT_TRUE(model.StartDelivery({Port::Uart1, EVENT_SERIAL_INTERRUPT, 0ms, 5, {}}));
}

TEST(DeviceModelTest, CountsTheBytesOfAnEventAsReceivedOrLost)
{
    DeviceModel model(WithUarts(2));
    const EventOutput event{Port::Uart1, EVENT_SERIAL_INTERRUPT, 0ms, 5, {}};
    model.CountEvent(event, true);
    model.CountEvent(event, true);
    model.CountEvent(event, false);

    EXPECT_EQ(model.GetLineStatistics(Port::Uart1).mReceivedBytes, 10U);
    EXPECT_EQ(model.GetLineStatistics(Port::Uart1).mLostBytes, 5U);
    EXPECT_EQ(model.GetLineStatistics(Port::Uart0).mReceivedBytes, 0U);
}

TEST(DeviceModelTest, CountsWhatHappenedOnEachLine)
{
    DeviceModel model(WithRealTiming());
    model.WriteRegister(REG_UART1_DATA, 'A', 0ms);
    model.WriteRegister(REG_UART1_DATA, 'B', 0ms);
    model.Advance(1s);

    EXPECT_EQ(model.GetLineStatistics(Port::Uart1).mSentBytes, 1U);
    EXPECT_EQ(model.GetLineStatistics(Port::Uart1).mTxOverruns, 1U);
    EXPECT_EQ(model.GetLineStatistics(Port::Uart0).mSentBytes, 0U);
    EXPECT_EQ(model.GetLineStatistics(Port::Uart0).mTxOverruns, 0U);
}

TEST(DeviceModelTest, WiresBulk0AsItsModeSays)
{
    DeviceModel model{DeviceProfile()};
    const auto getInterface = [&] { return GetBulkLine(model.ReadRegister(REG_BULK_0_CONFIG, 0ms)).mInterface; };
    EXPECT_EQ(getInterface(), BulkInterface::Uart);

    model.SetEnumValue("BulkMode", "I2C");
    EXPECT_EQ(getInterface(), BulkInterface::I2c);
    model.SetEnumValue("BulkMode", "USRT");
    EXPECT_EQ(getInterface(), BulkInterface::Usrt);
    model.SetEnumValue("BulkMode", "SPI");
    EXPECT_EQ(getInterface(), BulkInterface::Usrt);
    model.SetEnumValue("BulkSelector", "Bulk3");
    model.SetEnumValue("BulkMode", "I2C");
    EXPECT_EQ(getInterface(), BulkInterface::Usrt);
}

TEST(DeviceModelTest, HasTheModeThatBulk0IsWiredAs)
{
    for (const bool hasSelector : {true, false})
    {
        DeviceProfile profile;
        profile.mHasBulkSelector = hasSelector;
        profile.mBulk0Line.mInterface = BulkInterface::I2c;
        DeviceModel model(profile);

        EXPECT_EQ(model.GetFeatures().GetEnumValue("BulkMode"), "I2C");
    }
}

TEST(DeviceModelTest, HasTheChipsOfBulk0BehindItsRegistersAndItsFeatures)
{
    DeviceModel model{DeviceProfile()};
    const auto slave = std::make_shared<RecordingI2cSlave>();
    model.SetI2cSlave(Port::Bulk0, 0x50, slave);
    model.SetEnumValue("BulkMode", "I2C");

    model.BulkTransmit(AsBytes("\xA0\x01"), 2, 0x80001C00, 0ms);
    const std::uint8_t frame[] = {0x70, 0, 0, 0, 0, 0, 0, 2, 0xA0, 0x02, 0, 0};
    model.WriteBlock("Bulk0DownstreamData", frame, sizeof(frame), 0ms);
    EXPECT_EQ(slave->mLog, "S 01 P S 02 P ");
}

TEST(DeviceModelTest, RefusesChipsWhereThereIsNoBus)
{
    DeviceModel model{DeviceProfile()};

    EXPECT_THROW(model.SetI2cSlave(Port::Uart1, 0x50, nullptr), std::invalid_argument);
    EXPECT_THROW(model.SetI2cSlave(Port::Bulk0, 0x80, nullptr), std::invalid_argument);
    EXPECT_THROW(model.SetSpiSlave(Port::Uart0, nullptr), std::invalid_argument);
}

TEST(DeviceModelTest, HasSettingsForEveryPort)
{
    DeviceProfile profile;
    profile.mHasBulkSelector = false;
    profile.mLines[1].mBaudRate = 19200;
    profile.mBulk0Line.mRateIndex = 1;
    profile.mBulkLine = {38400, LineParity::Even, 8, 1};
    DeviceModel model(profile);
    FeatureTree& features = model.GetFeatures();

    EXPECT_EQ(features.GetEnumValue("Uart0BaudRate"), "Baud115200");
    EXPECT_EQ(features.GetEnumValue("Uart1BaudRate"), "Baud19200");
    EXPECT_EQ(features.GetEnumValue("Bulk0BaudRate"), "Baud14400");
    EXPECT_EQ(features.GetEnumValue("Bulk0Parity"), "None");
    EXPECT_EQ(features.GetEnumValue("Bulk7BaudRate"), "Baud38400");
    EXPECT_EQ(features.GetEnumValue("Bulk7Parity"), "Even");
}

TEST(DeviceModelTest, HasNoSettingsForAPortThatItDoesNotHave)
{
    DeviceProfile profile = DeviceProfile::UartOnly();
    profile.mUartCount = 1;
    DeviceModel model(profile);

    EXPECT_TRUE(model.GetFeatures().Has("Uart0Parity"));
    EXPECT_FALSE(model.GetFeatures().Has("Uart1Parity"));
    EXPECT_FALSE(model.GetFeatures().Has("BulkParity"));
}

TEST(DeviceModelTest, SwitchesAUartToNewSettingsWhenItIsOpenedNext)
{
    DeviceModel model(WithRealTiming());
    const auto sendAndWait = [&](Time aNow)
    {
        model.WriteRegister(REG_UART0_DATA, 'a', aNow);
        const Time time = *model.GetDeadline() - aNow;
        model.Advance(aNow + time);
        return time;
    };
    model.WriteRegister(REG_INTERRUPT_ENABLE, 0x3, 0s);
    model.SetEnumValue("Uart0BaudRate", "Baud9600");
    model.WriteRegister(REG_INTERRUPT_ENABLE, 0x3, 0s);
    EXPECT_EQ(sendAndWait(0s), 10ms);
    model.WriteRegister(REG_INTERRUPT_ENABLE, 0x0, 1s);
    EXPECT_EQ(sendAndWait(1s), 10ms);
    model.WriteRegister(REG_INTERRUPT_ENABLE, 0x3, 2s);
    EXPECT_EQ(sendAndWait(2s), Time(10s) / 9600);
}

TEST(DeviceModelTest, SwitchesABulkPortToNewSettingsWhenItIsOpenedNext)
{
    DeviceModel model(WithRealTiming());
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 1, 'a', 0, 0, 0};
    const auto sendAndWait = [&](Time aNow)
    {
        model.WriteBlock("Bulk3DownstreamData", frame, sizeof(frame), aNow);
        const Time time = *model.GetDeadline() - aNow;
        model.Advance(aNow + time);
        return time;
    };
    model.SetEnumValue("EventSelector", "Bulk3UpstreamData");
    model.SetEnumValue("EventNotification", "On");
    model.SetEnumValue("BulkSelector", "Bulk3");
    model.SetEnumValue("BulkBaudRate", "Baud9600");
    EXPECT_EQ(sendAndWait(0s), Time(10s) / 115200);
    model.SetEnumValue("EventNotification", "Off");
    model.SetEnumValue("EventNotification", "On");
    EXPECT_EQ(sendAndWait(1s), Time(10s) / 9600);
}

TEST(DeviceModelTest, ShowsTheRateOfBulk0InItsRegister)
{
    DeviceModel model{DeviceProfile()};
    model.SetEnumValue("BulkBaudRate", "Baud9600");
    EXPECT_EQ(GetBulkLine(model.ReadRegister(REG_BULK_0_CONFIG, 0ms)).mRateIndex, 0U);
    model.SetEnumValue("BulkSelector", "Bulk1");
    model.SetEnumValue("BulkBaudRate", "Baud230400");
    EXPECT_EQ(GetBulkLine(model.ReadRegister(REG_BULK_0_CONFIG, 0ms)).mRateIndex, 0U);
}

TEST(DeviceModelTest, GarblesBothDirectionsOfALineWhoseEndsDoNotAgree)
{
    DeviceModel model{DeviceProfile()};
    model.WriteRegister(REG_INTERRUPT_ENABLE, 0x3, 0s);
    model.SetFarEndSettings(Port::Uart0, LineSettings{9600, LineParity::None, 8, 1});

    model.WriteRegister(REG_UART0_DATA, 'a', 0s);
    model.Advance(0s);
    const std::string sent = TakeLineBytes(model.GetOutputs());
    EXPECT_NE(sent, "a");
    model.Receive(Port::Uart0, AsBytes(sent), sent.size(), 0s);
    model.Advance(0s);
    EXPECT_NE(TakeEvents(model.GetOutputs()).front().mBytes, "a");
    EXPECT_EQ(model.GetLineStatistics(Port::Uart0).mFramingErrors, 2U);
    EXPECT_EQ(model.GetLineStatistics(Port::Uart1).mFramingErrors, 0U);

    model.SetFarEndSettings(Port::Uart0, std::nullopt);
    model.WriteRegister(REG_UART0_DATA, 'a', 0s);
    model.Advance(0s);
    EXPECT_EQ(TakeLineBytes(model.GetOutputs()), "a");
}

TEST(DeviceModelTest, TakesEveryByteThatIsWrittenToAnInstantLine)
{
    DeviceModel model{DeviceProfile()};
    for (int i = 0; i < 1000; ++i)
    {
        model.WriteRegister(REG_UART0_DATA, 'A', 0ms);
    }
    model.Advance(0ms);

    EXPECT_EQ(TakeLineBytes(model.GetOutputs()), std::string(1000, 'A'));
    EXPECT_EQ(model.GetLineStatistics(Port::Uart0).mTxOverruns, 0U);
}

TEST(DeviceModelTest, GivesEveryByteOfAnInstantLineThroughItsRegister)
{
    DeviceModel model{DeviceProfile()};
    model.Receive(Port::Uart0, AsBytes("ABC"), 3, 0ms);

    for (const char byte : {'A', 'B', 'C'})
    {
        EXPECT_EQ(model.ReadRegister(REG_UART0_DATA, 0ms), UART_DATA_RX_VALID | static_cast<std::uint8_t>(byte));
    }
    EXPECT_EQ(model.ReadRegister(REG_UART0_DATA, 0ms), 0U);
}

TEST(DeviceModelTest, HoldsOneLineBackAndNoOther)
{
    DeviceModel model{DeviceProfile()};
    model.HoldBack(Port::Uart0, true);
    EXPECT_TRUE(model.IsHeldBack());
    model.WriteRegister(REG_UART0_DATA, 'A', 0ms);
    model.WriteRegister(REG_UART1_DATA, 'B', 0ms);
    model.Advance(0ms);
    EXPECT_EQ(TakeLineBytes(model.GetOutputs()), "B");

    model.HoldBack(Port::Uart0, false);
    EXPECT_FALSE(model.IsHeldBack());
    model.Advance(0ms);
    EXPECT_EQ(TakeLineBytes(model.GetOutputs()), "A");
}

TEST(DeviceModelTest, IsDueWhenAByteArrivesThoughNothingIsSent)
{
    DeviceProfile profile = WithRealTiming();
    profile.mBulk0Line.mRateIndex = 0;
    profile.mBulkLine = {1000, LineParity::None, 8, 1};
    const std::array<std::pair<Port, Time>, 3> arrivals = {
        {{Port::Uart1, 11ms}, {Port::Bulk0, Time(10s) / 9600}, {Port::Bulk3, 10ms}}};
    for (const auto& [port, time] : arrivals)
    {
        DeviceModel model(profile);
        model.WriteRegister(REG_INTERRUPT_ENABLE, 0x1F0F, 0ms);
        SwitchEventOn(model, "Bulk3UpstreamData");
        model.Receive(port, AsBytes("A"), 1, 0ms);

        EXPECT_EQ(model.GetDeadline(), time);
    }
}

TEST(DeviceModelTest, ReportsAnUpstreamBlockToAHostThatWatchesItLater)
{
    DeviceModel model{DeviceProfile()};
    SwitchEventOn(model, "Bulk3UpstreamData");
    model.Receive(Port::Bulk3, AsBytes("abc"), 3, 0ms);
    model.Advance(0ms);
    EXPECT_TRUE(model.GetOutputs().empty());

    EXPECT_TRUE(model.Watch("EventBulk3UpstreamDataBuffer"));
    model.Advance(0ms);
    ASSERT_EQ(model.GetOutputs().size(), 1U);
    EXPECT_EQ(std::get<InvalidationOutput>(model.GetOutputs().front()).mFeature, "EventBulk3UpstreamDataBuffer");
}

TEST(DeviceModelTest, GivesBytesForBulk0ToItsFeaturesWhileTheirEventIsOn)
{
    DeviceModel model{DeviceProfile()};
    model.WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_BULK_RX, 0ms);
    SwitchEventOn(model, "Bulk0UpstreamData");
    model.Receive(Port::Bulk0, AsBytes("abc"), 3, 0ms);
    model.Advance(0ms);
    EXPECT_EQ(model.GetFeatures().mIntegers["EventBulk0UpstreamDataLength"], 3);
    EXPECT_TRUE(TakeEvents(model.GetOutputs()).empty());

    model.SetEnumValue("EventNotification", "Off");
    model.Receive(Port::Bulk0, AsBytes("de"), 2, 0ms);
    model.Advance(0ms);
    EXPECT_EQ(model.GetFeatures().mIntegers["EventBulk0UpstreamDataLength"], 3);
    const std::vector<SerialEvent> events = TakeEvents(model.GetOutputs());
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].mReceivedBytes, 2U);
}

TEST(DeviceModelTest, HasTheErrorEventSelectedAtFirst)
{
    DeviceModel model{DeviceProfile()};

    EXPECT_EQ(model.GetFeatures().GetEnumValue("EventSelector"), "Error");
}

TEST(DeviceModelTest, TellsWhetherBulk0RunsI2cInItsRegisters)
{
    for (const bool runsI2c : {true, false})
    {
        DeviceProfile profile;
        profile.mBulk0RunsI2c = runsI2c;
        DeviceModel model(profile);

        EXPECT_EQ(model.ReadRegister(REG_BULK_0_3_CONFIG, 0ms), runsI2c ? BULK_0_3_CONFIG_I2C : 0U);
    }
}

TEST(DeviceModelTest, DoesNotHaveTheRegistersOfABulkPortThatIsNotThere)
{
    DeviceModel model{DeviceProfile::UartOnly()};
    std::uint64_t count = 0;
    for (const std::uint32_t address : {REG_BULK_0_CONFIG, REG_BULK_0_CLOCK_DIVIDER, REG_BULK_0_3_CONFIG})
    {
        model.WriteRegister(address, 0xFFFFFFFF, 0ms);
        EXPECT_EQ(model.GetUnknownAccessCount(), ++count);
        EXPECT_EQ(model.ReadRegister(address, 0ms), 0U);
        EXPECT_EQ(model.GetUnknownAccessCount(), ++count);
    }
}
