// All ten ports of a device at once, each with a writer and a reader of its own and a loopback at its far end.

#include "UartFixture.h"

#include <KoDeviceSerialPort.h>
#include <KoSim/Loopback.h>
#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace std::chrono_literals;

constexpr std::size_t PORT_COUNT = 10;
constexpr std::size_t UART_BYTES = 16 * 1024;
constexpr std::size_t BULK_BYTES = 1024 * 1024;
constexpr std::size_t PIECE = 64 * 1024;

bool IsUart(std::size_t aPort)
{
    return aPort <= KoDeviceSerialUart1;
}

std::size_t GetTraffic(std::size_t aPort)
{
    return IsUart(aPort) ? UART_BYTES : BULK_BYTES;
}

/// A device with a loopback at every line.
class LoopedDevice
{
public:
    explicit LoopedDevice(const KoSim::DeviceProfile& aProfile) : mDevice(aProfile)
    {
        for (std::size_t port = 0; port < PORT_COUNT; ++port)
        {
            mDevice.SetLineEnd(static_cast<KoSim::Port>(port), std::make_shared<KoSim::Loopback>());
        }
    }

    KoSim::SimulatedDevice mDevice;
};

/// Writes all of aText; stops at the first failure. A time-out, because a busy machine has kept the thread of the
/// device from running for 300 ms, is none: the rest goes on.
void WriteAll(KoDeviceSerialPort& aPort, const std::string& aText)
{
    for (std::size_t done = 0; done < aText.size();)
    {
        std::uint32_t written = 0;
        const KoResult result = Write(aPort, aText.substr(done, PIECE), written);
        if (!result.IsOK() && result.GetCode() != KoResult::TIMEOUT)
        {
            return;
        }
        done += written;
    }
}

/// Writes aText while another thread reads. Returns what came back.
std::string SendAround(KoDeviceSerialPort& aPort, const std::string& aText, std::uint32_t aTimeoutMs)
{
    std::string received;
    std::thread reader([&] { received = Read(aPort, aText.size(), aTimeoutMs); });
    WriteAll(aPort, aText);
    reader.join();
    return received;
}

} // namespace

TEST(AllPorts, LoseAndSwapNothingWhenAllAreBusyAtOnce)
{
    LoopedDevice looped(KoSim::DeviceProfile::FullDevice());
    std::array<KoDeviceSerialPort, PORT_COUNT> ports;
    std::array<std::string, PORT_COUNT> received;
    std::array<std::string, PORT_COUNT> sent;
    for (std::size_t i = 0; i < PORT_COUNT; ++i)
    {
        sent.at(i) = MakeText(GetTraffic(i), static_cast<std::uint32_t>(i + 1));
        ASSERT_TRUE(ports.at(i).Open(&looped.mDevice, static_cast<KoDeviceSerial>(i)).IsOK());
        // The ring takes everything, however late its reader runs.
        ASSERT_TRUE(ports.at(i).SetRxBufferSize(static_cast<std::uint32_t>(sent.at(i).size() + 1)).IsOK());
    }
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < PORT_COUNT; ++i)
    {
        threads.emplace_back([&, i] { received.at(i) = SendAround(ports.at(i), sent.at(i), LONG_TIME_MS); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    for (std::size_t i = 0; i < PORT_COUNT; ++i)
    {
        EXPECT_TRUE(ports.at(i).Close().IsOK());
        EXPECT_TRUE(received.at(i) == sent.at(i)) << "port " << i << " got " << received.at(i).size() << " bytes";
        const KoSim::LineStatistics line = looped.mDevice.GetLineStatistics(static_cast<KoSim::Port>(i));
        EXPECT_EQ(line.mLostBytes + line.mTxOverruns + line.mMalformedFrames, 0U) << "port " << i;
    }
}

/// Traffic on all ports of a device that is unplugged at a moment that the seed picks.
class UnpluggedDeviceTest : public ::testing::TestWithParam<std::uint32_t>
{
protected:
    void RunTraffic(std::chrono::microseconds aUnplugAfter)
    {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < PORT_COUNT; ++i)
        {
            ASSERT_TRUE(mPorts.at(i).Open(&mLooped.mDevice, static_cast<KoDeviceSerial>(i)).IsOK());
        }
        for (std::size_t i = 0; i < PORT_COUNT; ++i)
        {
            threads.emplace_back([this, i] { SendAround(mPorts.at(i), MakeText(IsUart(i) ? 2000 : 200000), 50); });
        }
        std::this_thread::sleep_for(aUnplugAfter);
        mLooped.mDevice.Disconnect();
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }

    LoopedDevice mLooped{KoSim::DeviceProfile::FullDevice()};
    std::array<KoDeviceSerialPort, PORT_COUNT> mPorts;
};

TEST_P(UnpluggedDeviceTest, EveryCallReturnsAndThePortsOpenAgainWhenItIsBack)
{
    constexpr std::uint32_t ROUNDS = 10;
    std::mt19937 random(GetParam());
    for (std::uint32_t round = 0; round < ROUNDS; ++round)
    {
        ASSERT_NO_FATAL_FAILURE(RunTraffic(std::chrono::microseconds(random() % 5000)));

        std::uint32_t written = 0;
        for (KoDeviceSerialPort& port : mPorts)
        {
            EXPECT_EQ(Write(port, "x", written).GetCode(), KoResult::NOT_CONNECTED);
            EXPECT_EQ(port.Close().GetCode(), KoResult::NOT_CONNECTED);
            EXPECT_TRUE(port.IsOpened());
        }
        mLooped.mDevice.Connect();
        for (KoDeviceSerialPort& port : mPorts)
        {
            EXPECT_TRUE(port.Close().IsOK());
        }
        EXPECT_EQ(mLooped.mDevice.GetEventSinkCount(), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, UnpluggedDeviceTest, ::testing::Range(1U, 11U));
