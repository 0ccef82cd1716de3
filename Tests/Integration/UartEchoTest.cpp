#include "UartFixture.h"

#include <KoDeviceSerialPortEchoSink.h>
#include <KoSim/Loopback.h>

#include <atomic>
#include <map>
#include <memory>
#include <thread>
#include <vector>

using namespace KoSim;

namespace
{

/// Keeps what it is shown. The library makes one call at a time.
class TestEchoSink : public KoDeviceSerialPortEchoSink
{
public:
    TestEchoSink() { EXPECT_TRUE(KoDeviceSerialPort::RegisterEchoSink(this).IsOK()); }
    ~TestEchoSink() override { EXPECT_TRUE(KoDeviceSerialPort::UnregisterEchoSink(this).IsOK()); }

    void OnTransmitted(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData,
                       std::uint32_t aLength, std::uint64_t aTimestamp) override
    {
        Note(aPortName, aPort, "sent " + MakeString(aData, aLength), aTimestamp);
        mSent[GetKey(aPortName, aPort)] += MakeString(aData, aLength);
    }

    void OnRead(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData, std::uint32_t aLength,
                std::uint64_t aTimestamp) override
    {
        Note(aPortName, aPort, "read " + MakeString(aData, aLength), aTimestamp);
        mRead[GetKey(aPortName, aPort)] += MakeString(aData, aLength);
    }

    void OnReadComplete(const KoString& aPortName, KoDeviceSerial aPort, std::uint64_t aTimestamp) override
    {
        Note(aPortName, aPort, "complete", aTimestamp);
    }

    std::vector<std::string> mCalls;
    std::map<std::string, std::string> mSent; ///< by device and port
    std::map<std::string, std::string> mRead; ///< by device and port
    std::uint64_t mLastTimestamp = 0;

private:
    static std::string MakeString(const std::uint8_t* aData, std::uint32_t aLength)
    {
        return std::string(aData, aData + aLength);
    }

    static std::string GetKey(const KoString& aPortName, KoDeviceSerial aPort)
    {
        return std::string(aPortName.GetAscii()) + "/" + std::to_string(aPort);
    }

    void Note(const KoString& aPortName, KoDeviceSerial aPort, const std::string& aCall, std::uint64_t aTimestamp)
    {
        EXPECT_GE(aTimestamp, mLastTimestamp);
        mLastTimestamp = aTimestamp;
        mCalls.push_back(GetKey(aPortName, aPort) + " " + aCall);
    }
};

using Calls = std::vector<std::string>;

/// A device whose two UARTs end in loopbacks.
class LoopedDevice : public SimulatedDevice
{
public:
    explicit LoopedDevice(const char* aId) : SimulatedDevice(WithId(aId))
    {
        SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
        SetLineEnd(Port::Uart1, std::make_shared<Loopback>());
    }
};

class OpenPort : public KoDeviceSerialPort
{
public:
    OpenPort(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort) { EXPECT_TRUE(Open(&aDevice, aPort).IsOK()); }
    ~OpenPort() override { EXPECT_TRUE(Close().IsOK()); }
};

} // namespace

TEST(UartEchoTest, ShowsTheTrafficOfEveryPortOfEveryDevice)
{
    TestEchoSink echo;
    LoopedDevice left("left");
    LoopedDevice right("right");
    OpenPort first(left, KoDeviceSerialUart0);
    OpenPort second(right, KoDeviceSerialUart0);
    OpenPort third(right, KoDeviceSerialUart1);
    EXPECT_TRUE(Write(first, "A"));
    EXPECT_TRUE(Write(second, "BB"));
    EXPECT_TRUE(Write(third, "C"));
    EXPECT_EQ(Read(third, 1), "C");
    EXPECT_EQ(Read(first, 1), "A");
    EXPECT_TRUE(second.NotifyReadComplete().IsOK());

    EXPECT_EQ(echo.mCalls, (Calls{"left/0 sent A", "right/0 sent BB", "right/1 sent C", "right/1 read C",
                                  "left/0 read A", "right/0 complete"}));
}

TEST(UartEchoTest, TellsTheTrafficOfTwoDevicesApartThatTalkAtOnce)
{
    const std::string toLeft = MakeText(1000, 1);
    const std::string toRight = MakeText(1000, 2);
    TestEchoSink echo;
    LoopedDevice left("left");
    LoopedDevice right("right");
    OpenPort first(left, KoDeviceSerialUart0);
    OpenPort second(right, KoDeviceSerialUart0);
    const auto talk = [](KoDeviceSerialPort& aPort, const std::string& aText)
    {
        for (std::size_t i = 0; i < aText.size(); i += 100)
        {
            EXPECT_TRUE(Write(aPort, aText.substr(i, 100)));
            EXPECT_EQ(Read(aPort, 100), aText.substr(i, 100));
        }
    };
    std::thread other([&] { talk(second, toRight); });
    talk(first, toLeft);
    other.join();

    EXPECT_EQ(echo.mSent["left/0"], toLeft);
    EXPECT_EQ(echo.mRead["left/0"], toLeft);
    EXPECT_EQ(echo.mSent["right/0"], toRight);
    EXPECT_EQ(echo.mRead["right/0"], toRight);
}

TEST(UartEchoTest, ShowsReadsAndWritesOfNothing)
{
    TestEchoSink echo;
    LoopedDevice device("left");
    OpenPort port(device, KoDeviceSerialUart0);
    EXPECT_TRUE(Write(port, ""));
    EXPECT_EQ(Read(port, 1, 0), "");
    EXPECT_EQ(Read(port, 1, 1), "");

    EXPECT_EQ(echo.mCalls, (Calls{"left/0 sent ", "left/0 read "}));
}

TEST(UartEchoTest, DoesNotShowAWriteThatFailed)
{
    const QuietLog quiet;
    TestEchoSink echo;
    LoopedDevice device("left");
    OpenPort port(device, KoDeviceSerialUart0);
    device.Disconnect();
    EXPECT_FALSE(Write(port, "A"));
    device.Connect();

    EXPECT_TRUE(echo.mCalls.empty());
}

TEST(UartEchoTest, ShowsTheSameToEverySink)
{
    TestEchoSink first;
    LoopedDevice device("left");
    OpenPort port(device, KoDeviceSerialUart0);
    EXPECT_TRUE(Write(port, "A"));
    {
        TestEchoSink second;
        EXPECT_TRUE(Write(port, "B"));
        EXPECT_EQ(second.mCalls, Calls{"left/0 sent B"});
    }
    EXPECT_TRUE(Write(port, "C"));

    EXPECT_EQ(first.mCalls, (Calls{"left/0 sent A", "left/0 sent B", "left/0 sent C"}));
}

TEST(UartEchoTest, LetsSinksComeAndGoWhilePortsAreBusy)
{
    LoopedDevice device("left");
    OpenPort port(device, KoDeviceSerialUart0);
    std::atomic<bool> done{false};
    std::thread talking(
        [&]
        {
            while (!done)
            {
                EXPECT_TRUE(Write(port, "A"));
                EXPECT_EQ(Read(port, 1), "A");
            }
        });
    for (int i = 0; i < 200; ++i)
    {
        TestEchoSink echo;
    }
    done = true;
    talking.join();
}
