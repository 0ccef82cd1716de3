#include "DeviceRunner.h"

#include <IKoDeviceEventSink.h>

#include <algorithm>

namespace KoSim
{

DeviceRunner::DeviceRunner(const DeviceProfile& aProfile) : mModel(aProfile)
{
    for (std::size_t port = 0; port < PORT_COUNT; ++port)
    {
        mLines.push_back(std::make_unique<Line>(*this, static_cast<Port>(port)));
    }
    mThread = std::thread([this] { Run(); });
}

DeviceRunner::~DeviceRunner()
{
    for (std::size_t port = 0; port < PORT_COUNT; ++port)
    {
        SetLineEnd(static_cast<Port>(port), nullptr);
    }
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
        mWork.notify_one();
    }
    mThread.join();
}

bool DeviceRunner::IsConnected()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mConnected;
}

void DeviceRunner::SetConnected(bool aConnected)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mConnected = aConnected;
    mModel.RepeatReports();
    mWork.notify_one();
}

void DeviceRunner::SetFrozen(bool aFrozen)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (aFrozen == mFrozenSince.has_value())
    {
        return;
    }
    if (aFrozen)
    {
        mFrozenSince = Now();
    }
    else
    {
        // For the device no time has passed.
        mStart = std::chrono::steady_clock::now() - *mFrozenSince;
        mFrozenSince.reset();
    }
    mModel.SetFrozen(aFrozen);
    mWork.notify_one();
}

bool DeviceRunner::WaitUntilQuiet(std::chrono::milliseconds aTimeout)
{
    Lock lock(mMutex);
    return mReturned.wait_for(lock, aTimeout, [this] { return IsQuiet(); });
}

bool DeviceRunner::WaitUntilSent(std::chrono::milliseconds aTimeout)
{
    Lock lock(mMutex);
    return mReturned.wait_for(lock, aTimeout, [this] { return !mModel.IsSending(); });
}

bool DeviceRunner::AddSink(IKoDeviceEventSink* aSink)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (aSink == nullptr || IsRegistered(aSink))
    {
        return false;
    }
    mSinks.push_back(aSink);
    return true;
}

bool DeviceRunner::RemoveSink(IKoDeviceEventSink* aSink)
{
    Lock lock(mMutex);
    const auto registered = std::find(mSinks.begin(), mSinks.end(), aSink);
    if (registered == mSinks.end())
    {
        return false;
    }
    mSinks.erase(registered);
    WaitUntilNotCalled(lock, aSink);
    return true;
}

std::size_t DeviceRunner::GetSinkCount()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mSinks.size();
}

void DeviceRunner::SetLineEnd(Port aPort, std::shared_ptr<ILineEnd> aLineEnd)
{
    const std::lock_guard<std::mutex> change(mLineEndChange);
    const auto port = static_cast<std::size_t>(aPort);
    auto attachment =
        std::make_unique<Attachment>(aLineEnd.get(), mLines.at(port).get(), "the far end sits on another line already");
    std::shared_ptr<ILineEnd> previous;
    {
        Lock lock(mMutex);
        previous = std::move(mLineEnds.at(port));
        mLineEnds.at(port) = nullptr;
        mModel.SetFarEndSettings(aPort, std::nullopt);
        WaitUntilNotCalled(lock, previous.get());
    }
    if (previous != nullptr)
    {
        previous->Detach();
        ChangeModel([&](DeviceModel& aModel) { aModel.HoldBack(aPort, false); });
    }
    if (aLineEnd != nullptr)
    {
        WithModel([&](DeviceModel& aModel) { aModel.SetFarEndSettings(aPort, aLineEnd->GetSettings()); });
        aLineEnd->Attach(*mLines.at(port));
        const std::lock_guard<std::mutex> lock(mMutex);
        mLineEnds.at(port) = std::move(aLineEnd);
    }
    mLineEndAttachments.at(port) = std::move(attachment);
}

void DeviceRunner::SetI2cSlave(Port aPort, std::uint8_t aAddress, const std::shared_ptr<II2cSlave>& aSlave)
{
    SetChip({aPort, aAddress}, aSlave.get(), [&](DeviceModel& aModel) { aModel.SetI2cSlave(aPort, aAddress, aSlave); });
}

void DeviceRunner::SetSpiSlave(Port aPort, const std::shared_ptr<ISpiSlave>& aSlave)
{
    SetChip({aPort, std::nullopt}, aSlave.get(), [&](DeviceModel& aModel) { aModel.SetSpiSlave(aPort, aSlave); });
}

/// Runs aChange(model), which puts a chip into a socket.
template <typename Change>
void DeviceRunner::SetChip(const Socket& aSocket, const void* aChip, Change aChange)
{
    auto attachment = std::make_unique<Attachment>(aChip, this, "the chip sits in another device already");
    const std::lock_guard<std::mutex> lock(mMutex);
    aChange(mModel);
    mChipAttachments[aSocket] = std::move(attachment);
}

void DeviceRunner::Line::Send(const std::uint8_t* aData, std::size_t aLength)
{
    const std::lock_guard<std::mutex> lock(mRunner.mMutex);
    mRunner.mModel.Receive(mPort, aData, aLength, mRunner.Now());
    mRunner.mWork.notify_one();
}

std::size_t DeviceRunner::Line::GetRoom()
{
    const std::lock_guard<std::mutex> lock(mRunner.mMutex);
    return mRunner.mModel.GetRoom(mPort);
}

void DeviceRunner::Line::HoldBack(bool aHold)
{
    mRunner.ChangeModel([&](DeviceModel& aModel) { aModel.HoldBack(mPort, aHold); });
}

Time DeviceRunner::Now() const
{
    return mFrozenSince ? *mFrozenSince : std::chrono::steady_clock::now() - mStart;
}

void DeviceRunner::Run()
{
    Lock lock(mMutex);
    while (!mStopping)
    {
        if (mFrozenSince)
        {
            mWork.wait(lock);
            continue;
        }
        mModel.Advance(Now());
        OutputQueue& outputs = mModel.GetOutputs();
        if (outputs.empty())
        {
            mReturned.notify_all();
            WaitForWork(lock);
            continue;
        }
        const Output output = std::move(outputs.front());
        outputs.pop_front();
        std::visit([&](const auto& aOutput) { Deliver(lock, aOutput); }, output);
    }
}

void DeviceRunner::WaitForWork(Lock& aLock)
{
    const std::optional<Time> deadline = mModel.GetDeadline();
    if (deadline)
    {
        mWork.wait_until(aLock, mStart + *deadline);
    }
    else
    {
        mWork.wait(aLock);
    }
}

void DeviceRunner::Deliver(Lock& aLock, const EventOutput& aEvent)
{
    if (!mModel.StartDelivery(aEvent))
    {
        return;
    }
    const std::uint64_t blockId = ++mBlockId;
    const auto timestamp = static_cast<std::uint64_t>(aEvent.mTime.count());
    mModel.CountEvent(aEvent, mConnected && !mSinks.empty());
    CallSinks(aLock,
              [&](IKoDeviceEventSink& aSink)
              {
                  aSink.NotifyEvent(aEvent.mEventId, 0, blockId, timestamp, aEvent.mPayload.data(),
                                    static_cast<std::uint32_t>(aEvent.mPayload.size()));
              });
}

void DeviceRunner::Deliver(Lock& aLock, const InvalidationOutput& aInvalidation)
{
    const KoString name(aInvalidation.mFeature.c_str());
    CallSinks(aLock, [&](IKoDeviceEventSink& aSink) { aSink.NotifyInvalidatedGenParameter(name); });
}

void DeviceRunner::Deliver(Lock& aLock, const LineOutput& aBytes)
{
    const std::shared_ptr<ILineEnd> lineEnd = mLineEnds.at(static_cast<std::size_t>(aBytes.mPort));
    if (lineEnd != nullptr)
    {
        CallUnlocked(aLock, lineEnd.get(), [&] { lineEnd->Receive(aBytes.mBytes.data(), aBytes.mBytes.size()); });
    }
    aBytes.mSender->CountDelivered(aBytes.mBytes.size());
}

bool DeviceRunner::IsQuiet()
{
    // Registers may have been written since the device thread looked last.
    mModel.Advance(Now());
    return mModel.GetOutputs().empty() && !mModel.GetDeadline() && !mModel.IsHeldBack() && mCallee == nullptr;
}

bool DeviceRunner::IsRegistered(const IKoDeviceEventSink* aSink) const
{
    return std::find(mSinks.begin(), mSinks.end(), aSink) != mSinks.end();
}

void DeviceRunner::WaitUntilNotCalled(Lock& aLock, const void* aCallee)
{
    if (aCallee != nullptr && std::this_thread::get_id() != mThread.get_id())
    {
        mReturned.wait(aLock, [&] { return mCallee != aCallee; });
    }
}

/// Runs aCall(sink) for each sink of a connected device.
template <typename Call>
void DeviceRunner::CallSinks(Lock& aLock, Call aCall)
{
    if (!mConnected)
    {
        return;
    }
    const std::vector<IKoDeviceEventSink*> sinks = mSinks;
    for (IKoDeviceEventSink* const sink : sinks)
    {
        if (IsRegistered(sink))
        {
            CallUnlocked(aLock, sink, [&] { aCall(*sink); });
        }
    }
}

template <typename Call>
void DeviceRunner::CallUnlocked(Lock& aLock, const void* aCallee, Call aCall)
{
    mCallee = aCallee;
    aLock.unlock();
    aCall();
    aLock.lock();
    mCallee = nullptr;
    mReturned.notify_all();
}

} // namespace KoSim
