#pragma once

#include <cstdint>
#include <functional>
#include <future>

namespace KoTool
{

class OpenPort;
class Receiver;
class Sender;

/// Sends and receives on one port at the same time, each on a thread of its own, until the sending is done and the line
/// has been quiet for a while; a request to stop, a failure or the loss of the device ends it early.
class Exchange
{
public:
    /// @param aPort the port
    /// @param aSender NULL to receive only
    /// @param aReceiver NULL to send only
    /// @param aQuietMs how long the line must be quiet, in milliseconds, counted from the end of the sending
    Exchange(OpenPort& aPort, Sender* aSender, Receiver* aReceiver, std::uint32_t aQuietMs);

    /// Stops what still runs.
    ~Exchange();

    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    /// Returns when both threads have ended, well or not.
    /// @param aOnTick called several times a second while sending
    void Run(const std::function<void()>& aOnTick);

    /// @throws Failure with the reason when Run() has ended early
    void Check();

private:
    bool MustStop() const;
    void AwaitSender(const std::function<void()>& aOnTick);
    void AwaitReceiver();

    OpenPort& mPort;
    Sender* const mSender;
    Receiver* const mReceiver;
    const std::uint32_t mQuietMs;
    std::future<void> mSending;
    std::future<void> mReceiving;
};

} // namespace KoTool
