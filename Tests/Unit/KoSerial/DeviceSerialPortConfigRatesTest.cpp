#include "ConfigTest.h"

#include <stdexcept>

namespace
{

using Rates = std::vector<std::uint32_t>;

/// The list of the baud rates that the device offers for UART 0.
class DeviceSerialPortConfigRatesTest : public ConfigTest
{
protected:
    DeviceSerialPortConfigRatesTest() { BindUart0(); }

    void Offer(const Texts& aEntries) { mDevice.mEnumerations["Uart0BaudRate"].mEntries = aEntries; }

    Rates Refresh(const Texts& aEntries)
    {
        Offer(aEntries);
        ExpectOk(mConfig.RefreshSupportedBaudRates());
        EXPECT_TRUE(mHost.mLog.empty());
        return mConfig.GetRates();
    }

    void ExpectRefreshFails(std::uint32_t aCode, const char* aText)
    {
        ExpectFailure(mConfig.RefreshSupportedBaudRates(), aCode, "RefreshSupportedBaudRates", aText);
        EXPECT_EQ(mConfig.GetSupportedBaudRateCount(), 0U);
    }
};

TEST_F(DeviceSerialPortConfigRatesTest, RefreshListsTheRatesInTheOrderOfTheDevice)
{
    EXPECT_EQ(Refresh({"Baud115200", "Baud9600", "Baud57600"}), (Rates{115200, 9600, 57600}));
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumWritable Uart0BaudRate", "GetGenEnumEntries Uart0BaudRate"}));
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshReadsHexadecimalAndSkipsWhatIsNoRate)
{
    EXPECT_EQ(Refresh({"Baud9600", "Baud0x2580", "Baud115200", "Custom"}), (Rates{9600, 9600, 115200}));
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshReadsOctalAfterALeadingZero)
{
    EXPECT_EQ(Refresh({"Baud0100", "Baud0X10", "Baud0"}), (Rates{64, 16, 0}));
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshIgnoresBlanksBeforeTheNumber)
{
    EXPECT_EQ(Refresh({"Baud 9600"}), Rates{9600});
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshIgnoresWhatFollowsTheNumber)
{
    EXPECT_EQ(Refresh({"Baud9600bps", "Baud19200 slow", "Baud300Baud600"}), (Rates{9600, 19200, 300}));
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshSkipsEntriesWithoutANumberBehindTheWord)
{
    EXPECT_EQ(Refresh({"", "Baud", "BaudFast", "baud9600", "9600", "MaxBaud9600", "Bau9600"}), Rates{});
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshTakesANegativeRateAsItsBits)
{
    EXPECT_EQ(Refresh({"Baud-1"}), Rates{0xFFFFFFFF});
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshReplacesTheListBefore)
{
    Refresh({"Baud9600", "Baud19200"});
    EXPECT_EQ(Refresh({"Baud57600"}), Rates{57600});
    EXPECT_EQ(Refresh({}), Rates{});
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshFailsWithoutABaudRateFeatureAndEmptiesTheList)
{
    Refresh({"Baud9600"});
    mConfig.mBaudRateFeature = KoString();
    TakeStory();
    ExpectRefreshFails(KoResult::NOT_FOUND, "Device port baud rate is not readable.");
    EXPECT_EQ(TakeStory(), Texts{"[3 25] Device port baud rate is not readable."});
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshFailsWhileUnbound)
{
    TestConfig unbound;
    ExpectFailure(unbound.RefreshSupportedBaudRates(), KoResult::NOT_FOUND, "RefreshSupportedBaudRates",
                  "Device port baud rate is not readable.");
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshFailsWhenTheBaudRateCannotBeWrittenAndEmptiesTheList)
{
    Refresh({"Baud9600"});
    mDevice.mEnumerations["Uart0BaudRate"].mWritable = false;
    TakeStory();
    ExpectRefreshFails(KoResult::NOT_FOUND, "Device port baud rate is not readable.");
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumWritable Uart0BaudRate", "[3 25] Device port baud rate is not readable."}));
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshDoesNotAskWhetherTheBaudRateCanBeRead)
{
    mDevice.mEnumerations["Uart0BaudRate"].mReadable = false;
    EXPECT_EQ(Refresh({"Baud9600"}), Rates{9600});
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshFailsWhenTheEntriesCannotBeReadAndEmptiesTheList)
{
    Refresh({"Baud9600"});
    mDevice.FailCall("GetGenEnumEntries");
    TakeStory();
    ExpectRefreshFails(KoResult::NOT_FOUND, "Error reading device port baud rates count.");
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumWritable Uart0BaudRate", "GetGenEnumEntries Uart0BaudRate",
                                  "[3 25] Error reading device port baud rates count."}));
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshFailsWhenThePortCannotBeSelectedAndEmptiesTheList)
{
    Refresh({"Baud9600"});
    BindBulk3OfSelector("Bulk0");
    mDevice.FailCall("SetGenEnumValue BulkSelector");
    ExpectRefreshFails(KoResult::NOT_SUPPORTED, "Error setting Bulk selector.");
}

TEST_F(DeviceSerialPortConfigRatesTest, RefreshWithoutALoggerFailsWithTheCodeAlone)
{
    KuUtilsLib::Logger::Free(mConfig.mLogger);
    mDevice.FailCall("GetGenEnumEntries");
    ExpectBareFailure(mConfig.RefreshSupportedBaudRates(), KoResult::NOT_FOUND);
    mDevice.mEnumerations["Uart0BaudRate"].mWritable = false;
    ExpectBareFailure(mConfig.RefreshSupportedBaudRates(), KoResult::NOT_FOUND);
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(DeviceSerialPortConfigRatesTest, ARateIsSupportedWhenItIsListed)
{
    Refresh({"Baud9600", "Baud115200", "Baud9600"});
    EXPECT_TRUE(mConfig.IsBaudRateSupported(9600));
    EXPECT_TRUE(mConfig.IsBaudRateSupported(115200));
    EXPECT_FALSE(mConfig.IsBaudRateSupported(19200));
    EXPECT_FALSE(mConfig.IsBaudRateSupported(0));
}

TEST_F(DeviceSerialPortConfigRatesTest, AnIndexPastTheEndThrows)
{
    Refresh({"Baud9600", "Baud19200", "Baud9600"});
    EXPECT_EQ(mConfig.GetSupportedBaudRateCount(), 3U);
    EXPECT_EQ(mConfig.GetSupportedBaudRate(2), 9600U);
    EXPECT_THROW(mConfig.GetSupportedBaudRate(0xFFFFFFFF), std::out_of_range);
    try
    {
        mConfig.GetSupportedBaudRate(3);
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "vector::_M_range_check: __n (which is 3) >= this->size() (which is 3)");
    }
}

TEST_F(DeviceSerialPortConfigRatesTest, EveryRateIsValid)
{
    EXPECT_TRUE(mConfig.IsBaudRateValid(9600));
    EXPECT_TRUE(mConfig.IsBaudRateValid(1));
    EXPECT_TRUE(mConfig.IsBaudRateValid(0));
    EXPECT_TRUE(mConfig.IsBaudRateValid(-1));
}

/// Takes no rate over 50000 and tells which it was asked for.
class SlowConfig : public TestConfig
{
public:
    std::uint32_t GetBaudRate() const override { return 42; }

    bool IsBaudRateValid(int aRate) override
    {
        mAsked.push_back(aRate);
        return aRate <= 50000;
    }

    std::vector<int> mAsked;
};

TEST_F(DeviceSerialPortConfigRatesTest, ADerivedClassNarrowsTheList)
{
    SlowConfig slow;
    slow.SetPort(&mDevice, UART0);
    Offer({"Baud9600", "Custom", "Baud115200", "Baud19200"});
    Forget();
    ExpectOk(slow.RefreshSupportedBaudRates());
    EXPECT_EQ(slow.GetRates(), (Rates{9600, 19200}));
    EXPECT_EQ(slow.mAsked, (std::vector<int>{9600, 115200, 19200}));
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(DeviceSerialPortConfigRatesTest, ADerivedClassTellsItsOwnBaudRate)
{
    const SlowConfig slow;
    const KoSerialLib::DeviceSerialPortConfig& config = slow;
    EXPECT_EQ(config.GetBaudRate(), 42U);
}

} // namespace
