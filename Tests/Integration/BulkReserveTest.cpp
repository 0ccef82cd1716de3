// Every reserve of bulk port 0, a megabyte each. The device is the model of the simulator, driven on the thread of the
// writer, so that millions of chunks take no thread switches.

#include "DeviceModel.h"
#include "EmptyAdapter.h"

#include <KoDeviceSerialPort.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr KoSim::Time NOW{0};

/// A device that delivers an interrupt before the access that caused it returns.
class InlineDevice : public EmptyAdapter
{
public:
    explicit InlineDevice(const KoSim::DeviceProfile& aProfile) : mModel(aProfile) {}

    KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t aValue) override
    {
        mModel.WriteRegister(aAddress, aValue, NOW);
        return Ok();
    }
    KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) override
    {
        *aValue = mModel.ReadRegister(aAddress, NOW);
        return Ok();
    }
    KoResult BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength) override
    {
        mModel.BulkTransmit(aData, aLength, aCommand, NOW);
        for (KoSim::OutputQueue& outputs = mModel.GetOutputs(); !outputs.empty(); outputs.pop_front())
        {
            std::visit([this](const auto& aOutput) { Deliver(aOutput); }, outputs.front());
        }
        return Ok();
    }

    KoSim::DeviceModel mModel;
    Bytes mArrived;

private:
    void Deliver(const KoSim::LineOutput& aOutput)
    {
        mArrived.insert(mArrived.end(), aOutput.mBytes.begin(), aOutput.mBytes.end());
    }
    void Deliver(const KoSim::InvalidationOutput& /*aInvalidation*/) {}
    void Deliver(const KoSim::EventOutput& aEvent)
    {
        if (mModel.StartDelivery(aEvent))
        {
            mSink->NotifyEvent(aEvent.mEventId, 0, 0, 0, aEvent.mPayload.data(),
                               static_cast<std::uint32_t>(aEvent.mPayload.size()));
        }
    }
};

/// Bytes to send, and the lengths of the writes that send them: 1 to 5000 bytes each.
struct Traffic
{
    Traffic()
    {
        std::mt19937 random(30);
        std::generate(mBytes.begin(), mBytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        std::uniform_int_distribution<std::size_t> sizes(1, 5000);
        for (std::size_t left = mBytes.size(); left > 0; left -= mWrites.back())
        {
            mWrites.push_back(std::min(sizes(random), left));
        }
    }

    Bytes mBytes = Bytes(std::size_t{1} << 20);
    std::vector<std::size_t> mWrites;
};

void Send(const Traffic& aTraffic, IKoDeviceAdapter& aDevice)
{
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&aDevice, KoDeviceSerialBulk0).IsOK());
    std::size_t done = 0;
    for (const std::size_t size : aTraffic.mWrites)
    {
        std::uint32_t written = 0;
        ASSERT_TRUE(port.Write(&aTraffic.mBytes[done], static_cast<std::uint32_t>(size), written).IsOK());
        ASSERT_EQ(written, size);
        done += size;
    }
    EXPECT_EQ(port.GetBytesSent(), aTraffic.mBytes.size());
    ASSERT_TRUE(port.Close().IsOK());
}

void ExpectAMegabyteToArriveWholeAtEachReserve(KoSim::BulkInterface aInterface, std::uint32_t aLastReserve)
{
    const Traffic traffic;
    for (std::uint32_t reserve = 0; reserve <= aLastReserve; ++reserve)
    {
        KoSim::DeviceProfile profile;
        profile.mBulk0Line = {aInterface, 7, false, reserve};
        InlineDevice device(profile);
        ASSERT_NO_FATAL_FAILURE(Send(traffic, device)) << "reserve " << reserve;
        ASSERT_EQ(device.mArrived, traffic.mBytes) << "reserve " << reserve;
        ASSERT_EQ(device.mModel.GetLineStatistics(KoSim::Port::Bulk0).mTxOverruns, 0U) << "reserve " << reserve;
    }
}

} // namespace

TEST(BulkReserve, OneMegabyteArrivesWholeOverUsrtAtEachReserveFrom0To251)
{
    ExpectAMegabyteToArriveWholeAtEachReserve(KoSim::BulkInterface::Usrt, 251);
}

TEST(BulkReserve, OneMegabyteArrivesWholeOverUartAtEachReserveFrom0To251)
{
    ExpectAMegabyteToArriveWholeAtEachReserve(KoSim::BulkInterface::Uart, 251);
}

TEST(BulkReserve, OneMegabyteArrivesWholeOverI2cAtEachReserveFrom0To250)
{
    ExpectAMegabyteToArriveWholeAtEachReserve(KoSim::BulkInterface::I2c, 250);
}
