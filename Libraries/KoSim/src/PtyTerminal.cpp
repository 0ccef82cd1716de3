#include "PtyTerminal.h"

#include "TerminalMark.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <termios.h>

namespace KoSim
{
namespace
{

using Clock = std::chrono::steady_clock;

/// The line is held back while more than this waits for the other program, and released when half of it has gone.
constexpr std::size_t MOST_OUTGOING = std::size_t{1} << 20;
constexpr auto PATIENCE = std::chrono::seconds(1);
constexpr int POLL_PERIOD_MS = 5;

/// No more than this lies unread in the terminal: what is beyond, the kernel keeps where nobody can see that it is
/// read.
constexpr std::size_t TERMINAL_CAPACITY = 2048;

std::string GetSlavePath(int aMaster)
{
    std::array<char, 64> path{};
    if (::grantpt(aMaster) != 0 || ::unlockpt(aMaster) != 0 || ::ptsname_r(aMaster, path.data(), path.size()) != 0)
    {
        ThrowErrno("cannot set up a pseudo-terminal");
    }
    return path.data();
}

void MakeRaw(int aTerminal)
{
    termios settings{};
    ::tcgetattr(aTerminal, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(aTerminal, TCSANOW, &settings);
}

/// Makes the kernel hand on to a terminal what was written on its other side.
void Deliver(int aTerminal)
{
    pollfd polled{aTerminal, POLLIN, 0};
    ::poll(&polled, 1, 0);
}

} // namespace

PtyTerminal::PtyTerminal(const std::string& aLink)
    : mMaster(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), "cannot open a pseudo-terminal"),
      mPath(GetSlavePath(mMaster.Get())),
      mSlave(::open(mPath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), "cannot open a pseudo-terminal"),
      mWake(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), "cannot make an event descriptor")
{
    // Before anybody can find it.
    MakeRaw(mSlave.Get());
    MarkTerminal(mSlave.Get());
    mLink.emplace(aLink, mPath);
}

PtyTerminal::~PtyTerminal()
{
    Stop();
}

void PtyTerminal::Start(ILine& aLine)
{
    mLine = &aLine;
    mStopping = false;
    mThread = std::thread([this] { Run(); });
}

void PtyTerminal::Stop()
{
    if (mThread.joinable())
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mStopping = true;
        }
        Wake();
        mThread.join();
    }
}

void PtyTerminal::Queue(const std::uint8_t* aData, std::size_t aLength)
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mOutgoing.insert(mOutgoing.end(), aData, aData + aLength);
        if (mOutgoing.size() > MOST_OUTGOING)
        {
            HoldBack(true);
        }
    }
    Wake();
}

std::uint64_t PtyTerminal::GetLostBytes()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mLostBytes;
}

void PtyTerminal::Wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(mWake.Get(), &one, sizeof(one));
}

void PtyTerminal::Run()
{
    while (!IsStopping())
    {
        WaitForTraffic();
        MoveToLine();
        MoveToTerminal();
    }
    Drain();
}

bool PtyTerminal::IsStopping()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mStopping;
}

void PtyTerminal::WaitForTraffic()
{
    const bool hasRoom = mLine->GetRoom() > 0;
    const bool mustWait = !hasRoom || GetOutgoingSize() > 0;
    std::array<pollfd, 2> polled{};
    polled[0].fd = mMaster.Get();
    polled[0].events = static_cast<short>(hasRoom ? POLLIN : 0);
    polled[1].fd = mWake.Get();
    polled[1].events = POLLIN;
    ::poll(polled.data(), polled.size(), mustWait ? POLL_PERIOD_MS : -1);

    std::uint64_t wakes = 0;
    [[maybe_unused]] const ssize_t read = ::read(mWake.Get(), &wakes, sizeof(wakes));
}

void PtyTerminal::MoveToLine()
{
    std::array<std::uint8_t, 4096> buffer{};
    const std::size_t room = std::min(buffer.size(), mLine->GetRoom());
    if (room == 0)
    {
        return;
    }
    const ssize_t count = ::read(mMaster.Get(), buffer.data(), room);
    if (count > 0)
    {
        mLine->Send(buffer.data(), static_cast<std::size_t>(count));
    }
}

void PtyTerminal::MoveToTerminal()
{
    const std::size_t inTerminal = std::min(GetTerminalSize(), TERMINAL_CAPACITY);
    const std::vector<std::uint8_t> bytes = PeekOutgoing(TERMINAL_CAPACITY - inTerminal);
    const ssize_t count = ::write(mMaster.Get(), bytes.data(), bytes.size());
    if (count > 0)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mOutgoing.erase(mOutgoing.begin(), mOutgoing.begin() + count);
        if (mOutgoing.size() <= MOST_OUTGOING / 2)
        {
            HoldBack(false);
        }
    }
}

void PtyTerminal::HoldBack(bool aHold)
{
    if (std::exchange(mHoldsBack, aHold) != aHold)
    {
        mLine->HoldBack(aHold);
    }
}

/// The oldest bytes for the other program, copied: the lock is not held while the kernel is asked to do anything,
/// because the thread of the device waits for it.
std::vector<std::uint8_t> PtyTerminal::PeekOutgoing(std::size_t aLimit)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto size = static_cast<std::ptrdiff_t>(std::min(aLimit, mOutgoing.size()));
    return {mOutgoing.begin(), mOutgoing.begin() + size};
}

std::size_t PtyTerminal::GetOutgoingSize()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mOutgoing.size();
}

/// Number of bytes in the terminal that the other program has not read.
std::size_t PtyTerminal::GetTerminalSize() const
{
    Deliver(mSlave.Get());
    int size = 0;
    ::ioctl(mSlave.Get(), FIONREAD, &size);
    return static_cast<std::size_t>(size);
}

/// Takes what the other program has left in the terminal, and tells how much that was.
std::size_t PtyTerminal::EmptyTerminal()
{
    std::array<std::uint8_t, TERMINAL_CAPACITY> buffer{};
    std::size_t taken = 0;
    Deliver(mSlave.Get());
    for (ssize_t count = 0; (count = ::read(mSlave.Get(), buffer.data(), buffer.size())) > 0;)
    {
        taken += static_cast<std::size_t>(count);
    }
    return taken;
}

void PtyTerminal::Drain()
{
    std::size_t unread = 0;
    auto lastProgress = Clock::now();
    do
    {
        MoveToTerminal();
        // The kernel needs a moment to show what was written as unread.
        std::this_thread::sleep_for(std::chrono::milliseconds(POLL_PERIOD_MS));
        const std::size_t previous = std::exchange(unread, GetOutgoingSize() + GetTerminalSize());
        if (unread != previous)
        {
            lastProgress = Clock::now();
        }
    } while (unread > 0 && Clock::now() - lastProgress < PATIENCE);
    const std::size_t inTerminal = EmptyTerminal();
    const std::lock_guard<std::mutex> lock(mMutex);
    mLostBytes += mOutgoing.size() + inTerminal;
    mOutgoing.clear();
    mHoldsBack = false;
}

} // namespace KoSim
