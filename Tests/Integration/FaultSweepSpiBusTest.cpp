// An SPI bus with a flash on each device, with a fault at every call that the library makes to the device.

#include "FaultSweepBusRun.h"

#include <KoDeviceSPIBus.h>
#include <KoSim/SpiFlash.h>

using KoSim::DeviceProfile;

namespace
{

constexpr std::uint32_t SHORT_TIME_MS = 1;
constexpr std::uint32_t TOO_LONG = 256;

class SpiBusRun : public FaultSweepBusRun<KoDeviceSPIBus>
{
public:
    SpiBusRun(const DeviceProfile& aProfile, KoDeviceSerial aPort, const std::shared_ptr<KoSim::SpiFlash>& aFlash,
              const Plan& aPlan)
        : FaultSweepBusRun(aProfile, aPort, "SPI", aPlan)
    {
        mDevice.SetSpiSlave(ToSimulatedPort(aPort), aFlash);
    }

private:
    void Use() override
    {
        Transfer({0x9F}, "\xEF\x40\x14");
        Read(3);
        Transfer({0x9F, 0, 0, 0}, "\xFF\xEF\x40\x14", true);
        Read(4);
        Transfer({}, "\xFF\xFF");
        Read(2);
        TransferTooMuch();
    }

    void UseAgain() override { Transfer({0x9F}, "\xEF\x40\x14"); }

    void Transfer(Bytes aRequest, const std::string& aAnswer, bool aSimultaneous = false)
    {
        const auto act = [&]
        {
            return ToText(mObject->BurstWriteAndRead(aRequest.data(), static_cast<std::uint32_t>(aRequest.size()),
                                                     static_cast<std::uint32_t>(aAnswer.size()), aSimultaneous, false));
        };
        Do("BurstWriteAndRead", act,
           [&](Calls& aCalls)
           { return ToText(mModel.Request(aCalls, std::string(aRequest.begin(), aRequest.end()), aAnswer)); });
    }

    void TransferTooMuch()
    {
        const auto predict = [&](Calls& aCalls)
        {
            const bool exists = mModel.mEngine != FaultSweepModel::Engine::None;
            return ToText(exists ? FaultSweepResult{KoResult::INVALID_PARAMETER,
                                                    "SPI read and write only support up to 255 bytes", ""}
                                 : mModel.Close(aCalls));
        };
        Do(
            "BurstWriteAndRead", [&] { return ToText(mObject->BurstWriteAndRead(nullptr, 0, TOO_LONG, false, false)); },
            predict);
    }

    void Read(std::uint32_t aLength)
    {
        const auto act = [&]
        {
            Bytes buffer(aLength);
            std::uint32_t count = 0;
            const KoResult result = mObject->BurstRead(buffer.data(), aLength, count, SHORT_TIME_MS);
            mRead.assign(buffer.begin(), buffer.begin() + count);
            return ToText(result);
        };
        const auto predict = [&](Calls& aCalls)
        {
            const bool exists = mModel.mEngine != FaultSweepModel::Engine::None;
            const FaultSweepResult result = exists ? mModel.Read(aLength, SHORT_TIME_MS) : mModel.Close(aCalls);
            mExpectedRead = result.mData;
            return ToText(result);
        };
        Do("BurstRead", act, predict);
    }

    bool PredictSupport(Calls& aCalls) override { return mModel.IsSpiSupported(aCalls); }
    FaultSweepResult PredictOpen(Calls& aCalls) override { return mModel.OpenSpi(aCalls); }
    bool CanReopen() const override { return true; }
};

class FaultSweepSpiBus : public ::testing::TestWithParam<ProfileAndBusPort>
{
};

} // namespace

TEST_P(FaultSweepSpiBus, EveryFaultHasTheStatedConsequences)
{
    const auto [profile, port] = GetParam();
    const auto flash = std::make_shared<KoSim::SpiFlash>(KoSim::MemoryImage(KoSim::SpiFlash::SIZE),
                                                         KoSim::SpiFlash::Timing{KoSim::Time(0), KoSim::Time(0)});
    SweepFaults("KoDeviceSPIBus", [&, made = profile.mMake(), port = port](const FaultSweepRun::Plan& aPlan)
                { return SpiBusRun(made, port, flash, aPlan).Run(); });
}

INSTANTIATE_TEST_SUITE_P(Ports, FaultSweepSpiBus,
                         ::testing::Combine(::testing::ValuesIn(FAULT_SWEEP_PROFILES),
                                            ::testing::Values(KoDeviceSerialBulk0, KoDeviceSerialBulk7)),
                         &GetName);
