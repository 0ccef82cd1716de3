// A serial port on each port of each device, with a fault at every call that the library makes to the device.

#include "BusFixture.h"
#include "FaultSweepObjectRun.h"

#include <KoDeviceSerialPort.h>

#include <array>
#include <memory>
#include <string>
#include <tuple>

using KoSim::DeviceProfile;

namespace
{

constexpr std::uint32_t UNTOUCHED = 77;
constexpr std::uint32_t SHORT_TIME_MS = 1;
constexpr std::uint32_t OTHER_RING_SIZE = 64;

/// More than one byte, chunk or frame.
std::size_t GetPayloadLength(KoDeviceSerial aPort)
{
    return aPort < KoDeviceSerialBulk0 ? 3 : aPort == KoDeviceSerialBulk0 ? 300 : 60;
}

/// What an application does with a port, from asking for it to losing it.
class SerialPortRun : public FaultSweepObjectRun<KoDeviceSerialPort>
{
public:
    SerialPortRun(const DeviceProfile& aProfile, KoDeviceSerial aPort, const Plan& aPlan)
        : FaultSweepObjectRun(aProfile, aPort, aPlan)
    {
        mDevice.SetLineEnd(ToSimulatedPort(mPort), mLineEnd);
    }

    std::uint64_t Run()
    {
        IsSupported();
        if (OpenPatiently())
        {
            Write(MakeText(GetPayloadLength(mPort)));
            Receive("hello");
            Read(3, SHORT_TIME_MS);
            Read(3, SHORT_TIME_MS);
            Read(3, SHORT_TIME_MS);
            Read(3, 0);
            NotifyReadComplete();
            SetRxBufferSize();
            Receive("again");
            FlushRxBuffer();
            Read(3, 0);
            ResetStatistics();
        }
        else
        {
            Write("x");
        }
        CloseFirmly();
        mFaulty.Reconnect();
        if (OpenPatiently())
        {
            Write("y");
        }
        Destroy();
        const std::uint64_t faults = GetFaultCount();
        TryWithAnother();
        return faults;
    }

private:
    bool PredictSupport(Calls& aCalls) override { return mModel.IsPortSupported(aCalls); }
    FaultSweepResult PredictOpen(Calls& aCalls) override { return mModel.OpenPort(aCalls); }

    void Write(const std::string& aData)
    {
        const auto act = [&]
        {
            std::uint32_t written = UNTOUCHED;
            const KoResult result = ::Write(*mObject, aData, written);
            return ToText(result) + ' ' + std::to_string(written);
        };
        const auto predict = [&](Calls& aCalls)
        {
            std::uint32_t written = UNTOUCHED;
            const FaultSweepResult result = mModel.Write(aCalls, aData, written);
            return ToText(result) + ' ' + std::to_string(written);
        };
        Do("Write", act, predict);
    }

    void Receive(const std::string& aData)
    {
        const auto act = [&]
        {
            mLineEnd->Send(aData);
            mDevice.Settle();
            return std::string();
        };
        const auto predict = [&](Calls& aCalls)
        {
            mModel.Receive(aCalls, aData);
            return std::string();
        };
        Do("Receive", act, predict);
        mDevice.DropUnreported(mPort);
    }

    void Read(std::uint32_t aSize, std::uint32_t aTimeoutMs)
    {
        const auto act = [&]
        {
            std::string data(aSize, '\0');
            std::uint32_t count = UNTOUCHED;
            const KoResult result =
                mObject->Read(reinterpret_cast<std::uint8_t*>(data.data()), aSize, count, aTimeoutMs);
            return ToText(result) + ' ' + std::to_string(count) + ' ' + data.substr(0, count);
        };
        const auto predict = [&](Calls&)
        {
            const FaultSweepResult result = mModel.Read(aSize, aTimeoutMs);
            return ToText(result) + ' ' + std::to_string(result.mData.size()) + ' ' + result.mData;
        };
        Do("Read", act, predict);
    }

    void NotifyReadComplete()
    {
        const auto predict = [&](Calls&)
        {
            mModel.NotifyReadComplete();
            return ToText(FaultSweepResult());
        };
        Do(
            "NotifyReadComplete", [&] { return ToText(mObject->NotifyReadComplete()); }, predict);
    }

    void SetRxBufferSize()
    {
        const auto predict = [&](Calls&)
        {
            mModel.SetRxBufferSize(OTHER_RING_SIZE);
            return ToText(FaultSweepResult());
        };
        Do(
            "SetRxBufferSize", [&] { return ToText(mObject->SetRxBufferSize(OTHER_RING_SIZE)); }, predict);
    }

    void FlushRxBuffer()
    {
        const auto predict = [&](Calls&)
        {
            mModel.FlushRxBuffer();
            return ToText(FaultSweepResult());
        };
        Do(
            "FlushRxBuffer", [&] { return ToText(mObject->FlushRxBuffer()); }, predict);
    }

    void ResetStatistics()
    {
        const auto act = [&]
        {
            mObject->ResetStatistics();
            return std::string();
        };
        const auto predict = [&](Calls&)
        {
            mModel.ResetStatistics();
            return std::string();
        };
        Do("ResetStatistics", act, predict);
    }

    std::string Observe() override
    {
        std::string text =
            " sinks " + std::to_string(mDevice.GetEventSinkCount()) + FaultSweepRun::ToText(mEchoes.Take());
        if (mObject == nullptr)
        {
            return text;
        }
        std::array<std::uint32_t, 2> progress{};
        std::uint32_t ready = 0;
        std::uint32_t ringSize = 0;
        const KoResult known = mObject->GetWriteProgress(progress[0], progress[1]);
        EXPECT_TRUE(mObject->GetRxBytesReady(ready).IsOK());
        EXPECT_TRUE(mObject->GetRxBufferSize(ringSize).IsOK());
        return text + Describe(mObject->IsOpened(), ToText(known), progress,
                               {mObject->GetBytesSent(), mObject->GetBytesReceived(), ready, ringSize});
    }

    std::string Expect() override
    {
        std::string text =
            " sinks " + std::to_string(mModel.GetSinkCount()) + FaultSweepRun::ToText(mModel.TakeEchoes());
        if (mObject == nullptr)
        {
            return text;
        }
        const bool known = mModel.mWriteTotal != 0;
        const FaultSweepResult unknown = {
            KoResult::STATE_ERROR,
            "Serial Port write progress queried when no write operation has been started or completed", ""};
        return text + Describe(mModel.mOpened, ToText(known ? FaultSweepResult() : unknown),
                               {known ? mModel.mWriteDone : 0, mModel.mWriteTotal},
                               {mModel.mSent, mModel.mReceived, mModel.mRing.size(), mModel.mRingSize});
    }

    static std::string Describe(bool aOpened, const std::string& aKnown, const std::array<std::uint32_t, 2>& aProgress,
                                const std::array<std::uint64_t, 4>& aCounts)
    {
        return std::string("\n  opened ") + (aOpened ? "yes" : "no") + "\n  progress " + aKnown + ' ' +
               std::to_string(aProgress[0]) + " of " + std::to_string(aProgress[1]) + "\n  sent " +
               std::to_string(aCounts[0]) + " received " + std::to_string(aCounts[1]) + " ready " +
               std::to_string(aCounts[2]) + " ring " + std::to_string(aCounts[3]);
    }

    const std::shared_ptr<TestLineEnd> mLineEnd = std::make_shared<TestLineEnd>();
};

using ProfileAndPort = std::tuple<FaultSweepProfile, int>;

class FaultSweepSerialPort : public ::testing::TestWithParam<ProfileAndPort>
{
};

} // namespace

TEST_P(FaultSweepSerialPort, EveryFaultHasTheStatedConsequences)
{
    const DeviceProfile profile = std::get<0>(GetParam()).mMake();
    const auto port = static_cast<KoDeviceSerial>(std::get<1>(GetParam()));
    SweepFaults("KoDeviceSerialPort",
                [&](const FaultSweepRun::Plan& aPlan) { return SerialPortRun(profile, port, aPlan).Run(); });
}

INSTANTIATE_TEST_SUITE_P(Ports, FaultSweepSerialPort,
                         ::testing::Combine(::testing::ValuesIn(FAULT_SWEEP_PROFILES),
                                            ::testing::Range(0, static_cast<int>(KoSim::PORT_COUNT))),
                         [](const ::testing::TestParamInfo<ProfileAndPort>& aInfo) {
                             return GetSweptPortName(std::get<0>(aInfo.param),
                                                     static_cast<KoDeviceSerial>(std::get<1>(aInfo.param)));
                         });
