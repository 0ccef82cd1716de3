#pragma once

#include "FileDescriptor.h"
#include "OwnProcess.h"
#include "SymbolicLink.h"

#include <KoSim/ILineEnd.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace KoSim
{

/// A pseudo-terminal and the thread that moves bytes between it and a line.
///
/// This side keeps the slave open too: so the terminal lives on when the other program leaves, and its unread bytes can
/// be counted.
class PtyTerminal
{
public:
    /// @throws std::system_error when there is no terminal to be had or the link cannot be made
    explicit PtyTerminal(const std::string& aLink);
    ~PtyTerminal();

    PtyTerminal(const PtyTerminal&) = delete;
    PtyTerminal& operator=(const PtyTerminal&) = delete;

    /// True in a child of the process that made this object: there is no thread here, and nothing can be destroyed.
    bool IsLeft() const { return mProcess.IsLeft(); }

    const std::string& GetPath() const { return mPath; }
    std::uint64_t GetLostBytes();

    /// @param aLine must live until Stop() has returned
    void Start(ILine& aLine);

    /// Waits for the other program to read what is there, as long as it does, and stops.
    void Stop();

    /// Takes bytes for the other program, and holds the line back when they are many.
    void Queue(const std::uint8_t* aData, std::size_t aLength);

private:
    void Wake();
    void Run();
    bool IsStopping();
    void WaitForTraffic();
    void MoveToLine();
    void MoveToTerminal();
    void HoldBack(bool aHold);
    std::vector<std::uint8_t> PeekOutgoing(std::size_t aLimit);
    std::size_t GetOutgoingSize();
    std::size_t GetTerminalSize() const;
    std::size_t EmptyTerminal();
    void Drain();

    const FileDescriptor mMaster;
    const std::string mPath;
    const FileDescriptor mSlave;
    const FileDescriptor mWake;
    std::optional<SymbolicLink> mLink;
    const OwnProcess mProcess;
    ILine* mLine = nullptr;
    std::mutex mMutex; ///< guards what follows; held while the line is held back or released
    std::deque<std::uint8_t> mOutgoing;
    bool mHoldsBack = false; ///< the line
    std::uint64_t mLostBytes = 0;
    bool mStopping = false;
    std::thread mThread;
};

} // namespace KoSim
