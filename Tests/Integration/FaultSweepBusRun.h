#pragma once

#include "BusFixture.h"
#include "FaultSweep.h"
#include "FaultSweepModel.h"

#include <memory>
#include <string>
#include <tuple>

using ProfileAndBusPort = std::tuple<FaultSweepProfile, KoDeviceSerial>;

inline std::string GetName(const ::testing::TestParamInfo<ProfileAndBusPort>& aInfo)
{
    return GetSweptPortName(std::get<0>(aInfo.param), std::get<1>(aInfo.param));
}

/// What an application does with a bus, as far as it is the same for all: Bus is a public class of the library.
template <typename Bus>
class FaultSweepBusRun : public FaultSweepRun
{
public:
    FaultSweepBusRun(const KoSim::DeviceProfile& aProfile, KoDeviceSerial aPort, const char* aMode, const Plan& aPlan)
        : FaultSweepRun(aProfile, aPlan),
          mPort(aPort)
    {
        if (mDevice.IsGenEnumPresent("BulkMode"))
        {
            SetBulkMode(mDevice, mPort, aMode);
        }
    }

    std::uint64_t Run()
    {
        IsSupported();
        OpenPatiently();
        Use();
        CloseFirmly();
        mFaulty.Reconnect();
        OpenPatiently();
        UseAgain();
        Destroy();
        const std::uint64_t faults = GetFaultCount();
        TryWithAnother();
        return faults;
    }

protected:
    using Calls = FaultSweepCalls;
    using FaultSweepRun::ToText;

    static constexpr std::uint32_t UNTOUCHED = 77;

    /// Transfers of all kinds.
    virtual void Use() = 0;

    /// A short transfer.
    virtual void UseAgain() = 0;

    virtual bool PredictSupport(Calls& aCalls) = 0;
    virtual FaultSweepResult PredictOpen(Calls& aCalls) = 0;

    /// True when the same object can be opened again without a leak.
    virtual bool CanReopen() const = 0;

    const KoDeviceSerial mPort;
    FaultSweepModel mModel{mProfile, mPort};
    std::unique_ptr<Bus> mBus = std::make_unique<Bus>();
    std::string mRead; ///< by the operation that is under way
    std::string mExpectedRead;

private:
    void IsSupported()
    {
        Do(
            "IsSupported", [&] { return std::to_string(Bus::IsSupported(&mFaulty, mPort)); },
            [&](Calls& aCalls) { return std::to_string(PredictSupport(aCalls)); });
    }

    bool Open()
    {
        bool opened = false;
        const auto act = [&]
        {
            const KoResult result = mBus->Open(&mFaulty, mPort);
            opened = result.IsOK();
            return ToText(result);
        };
        Do("Open", act, [&](Calls& aCalls) { return ToText(PredictOpen(aCalls)); });
        return opened;
    }

    /// As an application that cleans up after a failure and tries once more.
    void OpenPatiently()
    {
        for (int i = 0; i < 2 && !mBus->IsOpened(); ++i)
        {
            if (mModel.mEngine != FaultSweepModel::Engine::None && !CanReopen())
            {
                Destroy();
                mBus = std::make_unique<Bus>();
            }
            if (Open())
            {
                return;
            }
            CloseFirmly();
        }
    }

    void Close()
    {
        Do(
            "Close", [&] { return ToText(mBus->Close()); },
            [&](Calls& aCalls) { return ToText(mModel.Close(aCalls)); });
    }

    /// As an application that waits for the device to be plugged in again.
    void CloseFirmly()
    {
        Close();
        if (mBus->IsOpened())
        {
            mFaulty.Reconnect();
            Close();
        }
    }

    void Destroy()
    {
        const auto act = [&]
        {
            mBus.reset();
            return std::string();
        };
        const auto predict = [&](Calls& aCalls)
        {
            if (mModel.mOpened)
            {
                mModel.Close(aCalls);
            }
            mModel.ForgetObject();
            return std::string();
        };
        Do("the destructor", act, predict);
    }

    /// Whether another object can open the port tells whether it is held.
    void TryWithAnother()
    {
        mFaulty.ClearFaults();
        mFaulty.Reconnect();
        mBus = std::make_unique<Bus>();
        if (Open())
        {
            Close();
        }
    }

    std::string Observe() override
    {
        if (mPort >= KoDeviceSerialBulk0)
        {
            mDevice.DropUnreported(mPort);
        }
        return Describe(mDevice.GetEventSinkCount(), mEchoes.Take(), mBus != nullptr && mBus->IsOpened(), mRead);
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

    std::uint32_t TakeStatedWaitMs() override { return mModel.TakeWaitMs(); }
};
