#pragma once

#include "Attachment.h"
#include "DeviceModel.h"
#include "OwnProcess.h"

#include <KoResult.h>
#include <KoSim/DeviceProfile.h>
#include <KoSim/ILineEnd.h>
#include <KoSim/Port.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

class IKoDeviceEventSink;

namespace KoSim
{

/// Runs a device model: guards it, gives it real time and carries its outputs to sinks and far ends, on a thread of its
/// own and with nothing locked. Every operation may be called from any thread.
class DeviceRunner
{
public:
    explicit DeviceRunner(const DeviceProfile& aProfile);
    ~DeviceRunner();

    DeviceRunner(const DeviceRunner&) = delete;
    DeviceRunner& operator=(const DeviceRunner&) = delete;

    /// Runs aAccess(model, now), which returns a KoResult, when the device is connected; fails with NOT_CONNECTED
    /// otherwise.
    template <typename Access>
    KoResult WithConnectedModel(Access aAccess)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        if (!mConnected)
        {
            return KoResult(KoResult::NOT_CONNECTED, "The simulated device is not connected.");
        }
        KoResult result = aAccess(mModel, Now());
        mWork.notify_one();
        return result;
    }

    /// Runs aQuery(model), connected or not.
    template <typename Query>
    auto WithModel(Query aQuery)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return aQuery(mModel);
    }

    /// Runs aChange(model), connected or not; what was waiting for it happens.
    template <typename Change>
    void ChangeModel(Change aChange)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        aChange(mModel);
        mWork.notify_one();
    }

    bool IsConnected();
    void SetConnected(bool aConnected);
    void SetFrozen(bool aFrozen);

    /// Waits until nothing is under way or due any more; false when the time runs out first.
    bool WaitUntilQuiet(std::chrono::milliseconds aTimeout);

    /// Waits until no frame of the host is on its way out any more; false when the time runs out first.
    bool WaitUntilSent(std::chrono::milliseconds aTimeout);

    bool AddSink(IKoDeviceEventSink* aSink);

    /// False when the sink was not registered. After the return no call to it runs or will come.
    bool RemoveSink(IKoDeviceEventSink* aSink);

    std::size_t GetSinkCount();

    void SetLineEnd(Port aPort, std::shared_ptr<ILineEnd> aLineEnd);
    void SetI2cSlave(Port aPort, std::uint8_t aAddress, const std::shared_ptr<II2cSlave>& aSlave);
    void SetSpiSlave(Port aPort, const std::shared_ptr<ISpiSlave>& aSlave);

    /// True in a child of the process that made this object: there is no thread here, and nothing can be destroyed.
    bool IsLeft() const { return mProcess.IsLeft(); }

private:
    /// The line of one port, as its far end sees it.
    class Line final : public ILine
    {
    public:
        Line(DeviceRunner& aRunner, Port aPort) : mRunner(aRunner), mPort(aPort) {}
        void Send(const std::uint8_t* aData, std::size_t aLength) override;
        std::size_t GetRoom() override;
        void HoldBack(bool aHold) override;

    private:
        DeviceRunner& mRunner;
        const Port mPort;
    };

    /// A place for a chip: a port and an address on its I2C bus, or none on its SPI bus.
    using Socket = std::pair<Port, std::optional<std::uint8_t>>;

    using Lock = std::unique_lock<std::mutex>;

    template <typename Change>
    void SetChip(const Socket& aSocket, const void* aChip, Change aChange);
    Time Now() const;
    void Run();
    void WaitForWork(Lock& aLock);
    void Deliver(Lock& aLock, const EventOutput& aEvent);
    void Deliver(Lock& aLock, const LineOutput& aBytes);
    void Deliver(Lock& aLock, const InvalidationOutput& aInvalidation);
    template <typename Call>
    void CallSinks(Lock& aLock, Call aCall);
    bool IsQuiet();
    bool IsRegistered(const IKoDeviceEventSink* aSink) const;
    void WaitUntilNotCalled(Lock& aLock, const void* aCallee);

    template <typename Call>
    void CallUnlocked(Lock& aLock, const void* aCallee, Call aCall);

    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now(); ///< time 0 of the device
    std::optional<Time> mFrozenSince;
    std::mutex mLineEndChange; ///< held while a far end is replaced; taken before mMutex
    std::mutex mMutex;
    std::condition_variable mWork;     ///< the device thread has something to do
    std::condition_variable mReturned; ///< a call from the device thread has returned, or there is no more to do
    DeviceModel mModel;
    std::vector<IKoDeviceEventSink*> mSinks;
    std::vector<std::unique_ptr<Line>> mLines; ///< by port
    std::array<std::shared_ptr<ILineEnd>, PORT_COUNT> mLineEnds;
    std::array<std::unique_ptr<Attachment>, PORT_COUNT> mLineEndAttachments; ///< guarded by mLineEndChange
    std::map<Socket, std::unique_ptr<Attachment>> mChipAttachments;
    const void* mCallee = nullptr; ///< the sink or far end that the device thread is calling
    std::uint64_t mBlockId = 0;
    bool mConnected = true;
    bool mStopping = false;
    const OwnProcess mProcess;
    std::thread mThread;
};

} // namespace KoSim
