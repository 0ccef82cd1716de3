#include "Exchange.h"

#include "Interruption.h"
#include "OpenPort.h"
#include "Receiver.h"
#include "Sender.h"

#include <chrono>

namespace KoTool
{
namespace
{

/// Waits until the thread has ended, at most the time from one tick to the next. True when there is no thread.
bool HasEnded(const std::future<void>& aThread)
{
    return !aThread.valid() || aThread.wait_for(std::chrono::milliseconds(50)) == std::future_status::ready;
}

bool HasEndedEarly(const std::future<void>& aThread)
{
    return aThread.valid() && aThread.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

void Rethrow(std::future<void>& aThread)
{
    if (aThread.valid())
    {
        aThread.get();
    }
}

} // namespace

Exchange::Exchange(OpenPort& aPort, Sender* aSender, Receiver* aReceiver, std::uint32_t aQuietMs)
    : mPort(aPort),
      mSender(aSender),
      mReceiver(aReceiver),
      mQuietMs(aQuietMs)
{
}

Exchange::~Exchange()
{
    if (mSender != nullptr)
    {
        mSender->Stop();
    }
    if (mReceiver != nullptr)
    {
        mReceiver->Finish(0);
    }
}

void Exchange::Run(const std::function<void()>& aOnTick)
{
    if (mReceiver != nullptr)
    {
        mReceiving = std::async(std::launch::async, [this] { mReceiver->Run(); });
    }
    if (mSender != nullptr)
    {
        mSending = std::async(std::launch::async, [this] { mSender->Run(); });
    }
    AwaitSender(aOnTick);
    AwaitReceiver();
}

void Exchange::Check()
{
    Interruption::ThrowIfRequested();
    Rethrow(mSending);
    Rethrow(mReceiving);
    mPort.CheckConnected();
}

bool Exchange::MustStop() const
{
    return Interruption::IsRequested() || !mPort.IsConnected();
}

void Exchange::AwaitSender(const std::function<void()>& aOnTick)
{
    while (!HasEnded(mSending))
    {
        aOnTick();
        if (MustStop() || HasEndedEarly(mReceiving))
        {
            mSender->Stop();
        }
    }
}

void Exchange::AwaitReceiver()
{
    if (mReceiver == nullptr)
    {
        return;
    }
    mReceiver->Finish(mQuietMs);
    while (!HasEnded(mReceiving))
    {
        if (MustStop())
        {
            mReceiver->Finish(0);
        }
    }
}

} // namespace KoTool
