#pragma once

#include <mutex>
#include <string>
#include <thread>

#include <termios.h>

/// A terminal with a person at it: a pseudo-terminal in its ordinary mode.
class Terminal
{
public:
    Terminal();
    ~Terminal();

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Path of the terminal, for a program.
    const std::string& GetPath() const { return mPath; }

    /// Makes it that many columns wide.
    void SetWidth(unsigned short aColumns);

    /// Sends a signal to the programs in the foreground, as some keys do.
    void SignalForeground(int aSignal);

    /// Presses keys.
    void Type(const std::string& aKeys);

    /// Everything that has been printed on it so far.
    std::string GetScreen();

    /// Waits until that text has been printed on it.
    bool WaitFor(const std::string& aText);

    /// True in the mode that it was made in.
    bool IsInOrdinaryMode() const;

    /// Puts it back into that mode, as many shells do when a program is suspended.
    void RestoreOrdinaryMode();

private:
    void Watch();

    int mMaster;
    int mSlave;
    std::string mPath;
    termios mOrdinaryMode{};
    std::mutex mMutex;
    std::string mScreen; ///< guarded by mMutex
    std::thread mWatcher;
};
