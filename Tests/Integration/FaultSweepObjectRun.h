#pragma once

#include "FaultSweep.h"
#include "FaultSweepModel.h"

#include <memory>
#include <string>

/// What an application does with any object on a port, from asking for it to losing it: Object is a public class of the
/// library.
template <typename Object>
class FaultSweepObjectRun : public FaultSweepRun
{
protected:
    using Calls = FaultSweepCalls;

    FaultSweepObjectRun(const KoSim::DeviceProfile& aProfile, KoDeviceSerial aPort, const Plan& aPlan)
        : FaultSweepRun(aProfile, aPlan),
          mPort(aPort)
    {
    }

    virtual bool PredictSupport(Calls& aCalls) = 0;
    virtual FaultSweepResult PredictOpen(Calls& aCalls) = 0;

    /// True when the same object can be opened again without a leak.
    virtual bool CanReopen() const { return true; }

    void IsSupported()
    {
        Do(
            "IsSupported", [&] { return std::to_string(Object::IsSupported(&mFaulty, mPort)); },
            [&](Calls& aCalls) { return std::to_string(PredictSupport(aCalls)); });
    }

    /// As an application that cleans up after a failure and tries once more.
    bool OpenPatiently()
    {
        for (int i = 0; i < 2 && !mObject->IsOpened(); ++i)
        {
            if (mModel.mEngine != FaultSweepModel::Engine::None && !CanReopen())
            {
                Destroy();
                mObject = std::make_unique<Object>();
            }
            if (Open())
            {
                return true;
            }
            CloseFirmly();
        }
        return false;
    }

    /// As an application that waits for the device to be plugged in again.
    void CloseFirmly()
    {
        Close();
        if (mObject->IsOpened())
        {
            mFaulty.Reconnect();
            Close();
        }
    }

    void Destroy()
    {
        const auto act = [&]
        {
            mObject.reset();
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
        mObject = std::make_unique<Object>();
        if (Open())
        {
            Close();
        }
    }

    const KoDeviceSerial mPort;
    FaultSweepModel mModel{mProfile, mPort};
    std::unique_ptr<Object> mObject = std::make_unique<Object>();

private:
    bool Open()
    {
        bool opened = false;
        const auto act = [&]
        {
            const KoResult result = mObject->Open(&mFaulty, mPort);
            opened = result.IsOK();
            return ToText(result);
        };
        Do("Open", act, [&](Calls& aCalls) { return ToText(PredictOpen(aCalls)); });
        return opened;
    }

    void Close()
    {
        Do(
            "Close", [&] { return ToText(mObject->Close()); },
            [&](Calls& aCalls) { return ToText(mModel.Close(aCalls)); });
    }

    std::uint32_t TakeStatedWaitMs() override { return mModel.TakeWaitMs(); }
};
