#include "Support/Terminal.h"

#include "Support/Files.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

Terminal::Terminal() : mMaster(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    if (mMaster < 0 || ::grantpt(mMaster) != 0 || ::unlockpt(mMaster) != 0)
    {
        throw std::runtime_error("cannot make a pseudo-terminal");
    }
    mPath = ::ptsname(mMaster);
    mSlave = ::open(mPath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ::tcgetattr(mSlave, &mOrdinaryMode);
    mWatcher = std::thread([this] { Watch(); });
}

Terminal::~Terminal()
{
    // Without the last slave the read of the watcher fails.
    ::close(mSlave);
    mWatcher.join();
    ::close(mMaster);
}

void Terminal::SetWidth(unsigned short aColumns)
{
    winsize size{};
    size.ws_col = aColumns;
    size.ws_row = 24;
    ASSERT_EQ(::ioctl(mMaster, TIOCSWINSZ, &size), 0);
}

void Terminal::SignalForeground(int aSignal)
{
    ASSERT_EQ(::kill(-::tcgetpgrp(mMaster), aSignal), 0);
}

void Terminal::Type(const std::string& aKeys)
{
    ASSERT_EQ(::write(mMaster, aKeys.data(), aKeys.size()), static_cast<ssize_t>(aKeys.size()));
}

std::string Terminal::GetScreen()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mScreen;
}

bool Terminal::WaitFor(const std::string& aText)
{
    return WaitUntil([&] { return GetScreen().find(aText) != std::string::npos; });
}

bool Terminal::IsInOrdinaryMode() const
{
    termios mode{};
    ::tcgetattr(mSlave, &mode);
    return mode.c_lflag == mOrdinaryMode.c_lflag && mode.c_iflag == mOrdinaryMode.c_iflag &&
           mode.c_oflag == mOrdinaryMode.c_oflag && mode.c_cflag == mOrdinaryMode.c_cflag;
}

void Terminal::RestoreOrdinaryMode()
{
    ASSERT_EQ(::tcsetattr(mSlave, TCSANOW, &mOrdinaryMode), 0);
}

void Terminal::Watch()
{
    std::array<char, 1024> buffer{};
    for (ssize_t count = 0; (count = ::read(mMaster, buffer.data(), buffer.size())) > 0;)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mScreen.append(buffer.data(), static_cast<std::size_t>(count));
    }
}
