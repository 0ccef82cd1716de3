#pragma once

#include "BusFixture.h"
#include "FaultSweepObjectRun.h"

#include <string>
#include <tuple>
#include <vector>

using ProfileAndBusPort = std::tuple<FaultSweepProfile, KoDeviceSerial>;

inline std::string GetName(const ::testing::TestParamInfo<ProfileAndBusPort>& aInfo)
{
    return GetSweptPortName(std::get<0>(aInfo.param), std::get<1>(aInfo.param));
}

/// What an application does with a bus, as far as it is the same for all.
template <typename Bus>
class FaultSweepBusRun : public FaultSweepObjectRun<Bus>
{
public:
    using typename FaultSweepRun::Plan;

    FaultSweepBusRun(const KoSim::DeviceProfile& aProfile, KoDeviceSerial aPort, const char* aMode, const Plan& aPlan)
        : FaultSweepObjectRun<Bus>(aProfile, aPort, aPlan)
    {
        if (mDevice.IsGenEnumPresent("BulkMode"))
        {
            SetBulkMode(mDevice, mPort, aMode);
        }
    }

    std::uint64_t Run()
    {
        this->IsSupported();
        this->OpenPatiently();
        Use();
        this->CloseFirmly();
        mFaulty.Reconnect();
        this->OpenPatiently();
        UseAgain();
        this->Destroy();
        const std::uint64_t faults = this->GetFaultCount();
        this->TryWithAnother();
        return faults;
    }

protected:
    using FaultSweepObjectRun<Bus>::mModel;
    using FaultSweepObjectRun<Bus>::mObject;
    using FaultSweepObjectRun<Bus>::mPort;
    using FaultSweepRun::mDevice;
    using FaultSweepRun::mEchoes;
    using FaultSweepRun::mFaulty;
    using FaultSweepRun::ToText;

    static constexpr std::uint32_t UNTOUCHED = 77;

    /// Transfers of all kinds.
    virtual void Use() = 0;

    /// A short transfer.
    virtual void UseAgain() = 0;

    std::string mRead; ///< by the operation that is under way
    std::string mExpectedRead;

private:
    std::string Observe() override
    {
        mDevice.DropUnreported(mPort);
        return Describe(mDevice.GetEventSinkCount(), mEchoes.Take(), mObject != nullptr && mObject->IsOpened(), mRead);
    }

    std::string Expect() override
    {
        return Describe(mModel.GetSinkCount(), mModel.TakeEchoes(), mModel.mOpened, mExpectedRead);
    }

    std::string Describe(std::size_t aSinks, const std::vector<std::string>& aEchoes, bool aOpened,
                         const std::string& aRead) const
    {
        return " sinks " + std::to_string(aSinks) + ToText(aEchoes) + "\n  opened " + (aOpened ? "yes" : "no") +
               "\n  read " + ToText(aRead);
    }
};
