// Bulk port 0 through the register block of a simulated device, with real threads.

#include <IKoDeviceEventSink.h>
#include <KoDeviceSerialPort.h>
#include <KoSim/Loopback.h>
#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace std::chrono_literals;

using Bytes = std::vector<std::uint8_t>;

/// No block that a host hands over is larger.
constexpr std::size_t FIFO_SIZE = 256;

/// Keeps what arrives at the far end.
class Collector : public KoSim::ILineEnd
{
public:
    void Attach(KoSim::ILine& /*aLine*/) override {}
    void Detach() override {}
    void Receive(const std::uint8_t* aData, std::size_t aLength) override
    {
        mBytes.insert(mBytes.end(), aData, aData + aLength);
    }

    Bytes mBytes;
};

Bytes MakeRandomBytes(std::size_t aCount)
{
    std::mt19937 random(20);
    Bytes bytes(aCount);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

std::uint32_t SizeOf(const Bytes& aBytes)
{
    return static_cast<std::uint32_t>(aBytes.size());
}

KoSim::DeviceProfile MakeProfile(KoSim::BulkInterface aInterface, std::uint32_t aReserve)
{
    KoSim::DeviceProfile profile;
    profile.mBulk0Line = {aInterface, 7, false, aReserve};
    return profile;
}

/// Counts the blocks that the device has reported to have taken.
class BlockCounter : public IKoDeviceEventSink
{
public:
    void NotifyEvent(std::uint16_t, std::uint16_t, std::uint64_t, std::uint64_t, const void* aData,
                     std::uint32_t) override
    {
        constexpr std::uint8_t TX_INTERRUPTS = 0x18;
        const bool isReport = (static_cast<const std::uint8_t*>(aData)[1] & TX_INTERRUPTS) != 0;
        mCount += isReport ? 1 : 0;
    }
    void NotifyInvalidatedGenParameter(const KoString& /*aName*/) override {}

    std::atomic<std::size_t> mCount{0};
};

/// A simulated device with a collector at the far end of bulk port 0, and the port opened on it.
class BulkSession
{
public:
    explicit BulkSession(const KoSim::DeviceProfile& aProfile) : mDevice(aProfile)
    {
        mDevice.SetLineEnd(KoSim::Port::Bulk0, mCollector);
        EXPECT_TRUE(mDevice.RegisterEventSink(&mReported).IsOK());
        EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    }

    ~BulkSession()
    {
        EXPECT_TRUE(mPort.Close().IsOK());
        EXPECT_TRUE(mDevice.UnregisterEventSink(&mReported).IsOK());
    }

    /// Everything that has arrived at the far end.
    const Bytes& TakeArrived()
    {
        EXPECT_TRUE(mDevice.WaitUntilQuiet(30s));
        return mCollector->mBytes;
    }

    BlockCounter mReported;
    std::shared_ptr<Collector> mCollector = std::make_shared<Collector>();
    KoSim::SimulatedDevice mDevice;
    KoDeviceSerialPort mPort;
};

/// Writes everything in pieces of 1 to 5000 bytes. A write that times out, because a busy machine has kept the thread
/// of the device from running for 300 ms, is no failure: the next one goes on where it ended.
void WriteInPieces(KoDeviceSerialPort& aPort, const Bytes& aBytes, unsigned aSeed)
{
    std::mt19937 random(aSeed);
    std::uniform_int_distribution<std::size_t> sizes(1, 5000);
    for (std::size_t done = 0; done < aBytes.size();)
    {
        const auto size = static_cast<std::uint32_t>(std::min(sizes(random), aBytes.size() - done));
        std::uint32_t written = 0;
        const KoResult result = aPort.Write(&aBytes[done], size, written);
        if (result.GetCode() != KoResult::TIMEOUT)
        {
            ASSERT_TRUE(result.IsOK());
            ASSERT_EQ(written, size);
        }
        done += written;
    }
}

} // namespace

class BulkInterfaceTest : public ::testing::TestWithParam<KoSim::BulkInterface>
{
};

TEST_P(BulkInterfaceTest, OneMegabyteArrivesWhole)
{
    const Bytes sent = MakeRandomBytes(std::size_t{1} << 20);
    for (const std::uint32_t reserve : {0U, 124U, 200U})
    {
        BulkSession session(MakeProfile(GetParam(), reserve));
        WriteInPieces(session.mPort, sent, reserve);

        EXPECT_EQ(session.TakeArrived(), sent) << "reserve " << reserve;
        EXPECT_GE(session.mReported.mCount, sent.size() / FIFO_SIZE) << "reserve " << reserve;
        EXPECT_EQ(session.mDevice.GetLineStatistics(KoSim::Port::Bulk0).mTxOverruns, 0U) << "reserve " << reserve;
    }
}

TEST_P(BulkInterfaceTest, BytesArriveWholeAtAnyReserveThatLeavesRoomForAChunk)
{
    const Bytes sent = MakeRandomBytes(4000);
    const std::uint32_t last = GetParam() == KoSim::BulkInterface::I2c ? 250 : 251;
    for (std::uint32_t reserve = 0; reserve <= last; ++reserve)
    {
        BulkSession session(MakeProfile(GetParam(), reserve));
        WriteInPieces(session.mPort, sent, reserve);

        ASSERT_EQ(session.TakeArrived(), sent) << "reserve " << reserve;
        ASSERT_EQ(session.mDevice.GetLineStatistics(KoSim::Port::Bulk0).mTxOverruns, 0U) << "reserve " << reserve;
    }
}

TEST_P(BulkInterfaceTest, AReserveThatLeavesNoRoomForALaterChunkEndsInATimeOutAfterTheFirst)
{
    const bool isI2c = GetParam() == KoSim::BulkInterface::I2c;
    const std::uint32_t first = isI2c ? 254 : 256;
    BulkSession session(MakeProfile(GetParam(), isI2c ? 251 : 252));
    const Bytes sent = MakeRandomBytes(1000);
    std::uint32_t written = 0;
    const KoResult result = session.mPort.Write(sent.data(), SizeOf(sent), written);

    EXPECT_EQ(result.GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(result.GetDescription(),
              ("Timed out waiting for Tx interrupt after sending " + std::to_string(first) + " bytes").c_str());
    EXPECT_EQ(written, first);
    EXPECT_EQ(session.TakeArrived().size(), first);
}

TEST_P(BulkInterfaceTest, AReserveBeyondTheFifoSendsTheWholeRestAtOnceAndTheDeviceCountsWhatItCouldNotTake)
{
    const bool isI2c = GetParam() == KoSim::BulkInterface::I2c;
    const std::uint32_t first = isI2c ? 254 : 256;
    BulkSession session(MakeProfile(GetParam(), isI2c ? 252 : 253));
    const Bytes sent = MakeRandomBytes(1000);
    std::uint32_t written = 0;
    EXPECT_TRUE(session.mPort.Write(sent.data(), SizeOf(sent), written).IsOK());

    EXPECT_EQ(written, 1000U);
    EXPECT_EQ(session.TakeArrived().size(), first + 256);
    EXPECT_EQ(session.mDevice.GetLineStatistics(KoSim::Port::Bulk0).mTxOverruns, 1000 - first - 256);
}

std::string NameOf(const ::testing::TestParamInfo<KoSim::BulkInterface>& aInfo)
{
    switch (aInfo.param)
    {
    case KoSim::BulkInterface::Usrt:
        return "Usrt";
    case KoSim::BulkInterface::Uart:
        return "Uart";
    case KoSim::BulkInterface::I2c:
        break;
    }
    return "I2c";
}

INSTANTIATE_TEST_SUITE_P(AllInterfaces, BulkInterfaceTest,
                         ::testing::Values(KoSim::BulkInterface::Usrt, KoSim::BulkInterface::Uart,
                                           KoSim::BulkInterface::I2c),
                         NameOf);

class BulkEventTest : public ::testing::TestWithParam<std::uint16_t>
{
};

TEST_P(BulkEventTest, EverythingComesBackFromALoopbackWithEitherEventIdentifier)
{
    KoSim::DeviceProfile profile = MakeProfile(KoSim::BulkInterface::Uart, 124);
    profile.mBulk0EventId = GetParam();
    KoSim::SimulatedDevice device(profile);
    device.SetLineEnd(KoSim::Port::Bulk0, std::make_shared<KoSim::Loopback>());
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialBulk0).IsOK());
    ASSERT_TRUE(port.SetRxBufferSize(200000).IsOK());

    const Bytes sent = MakeRandomBytes(100000);
    WriteInPieces(port, sent, 1);
    Bytes received;
    while (received.size() < sent.size())
    {
        Bytes piece(4096);
        std::uint32_t count = 0;
        ASSERT_TRUE(port.Read(piece.data(), SizeOf(piece), count, 5000).IsOK());
        received.insert(received.end(), piece.begin(), piece.begin() + count);
    }
    EXPECT_EQ(received, sent);
    EXPECT_TRUE(port.Close().IsOK());
}

INSTANTIATE_TEST_SUITE_P(BothEvents, BulkEventTest, ::testing::Values(0x9000, 0x9001));

TEST(BulkRegister, ADeviceThatStopsAnsweringEndsAWriteWithATimeOutAndThePortOpensAgain)
{
    BulkSession session(MakeProfile(KoSim::BulkInterface::Uart, 124));
    session.mDevice.Freeze(true);
    const Bytes sent = MakeRandomBytes(1000);
    std::uint32_t written = 0;
    const KoResult result = session.mPort.Write(sent.data(), SizeOf(sent), written);

    EXPECT_EQ(result.GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(result.GetDescription(), "Timed out waiting for Tx interrupt after sending 256 bytes");
    EXPECT_EQ(written, 256U);
    std::uint32_t done = 0;
    std::uint32_t total = 0;
    EXPECT_TRUE(session.mPort.GetWriteProgress(done, total).IsOK());
    EXPECT_EQ(done, 256U);
    EXPECT_EQ(total, 1000U);

    session.mDevice.Freeze(false);
    EXPECT_TRUE(session.mPort.Close().IsOK());
    EXPECT_TRUE(session.mPort.Open(&session.mDevice, KoDeviceSerialBulk0).IsOK());
    EXPECT_TRUE(session.mPort.Write(sent.data(), SizeOf(sent), written).IsOK());
}

TEST(BulkRegister, ADeviceThatIsUnpluggedInTheMiddleOfAWriteMakesItFail)
{
    BulkSession session(MakeProfile(KoSim::BulkInterface::Uart, 124));
    session.mDevice.Disconnect();
    const Bytes sent = MakeRandomBytes(10);
    std::uint32_t written = 0;
    EXPECT_EQ(session.mPort.Write(sent.data(), SizeOf(sent), written).GetCode(), KoResult::NOT_CONNECTED);
    session.mDevice.Connect();
}
