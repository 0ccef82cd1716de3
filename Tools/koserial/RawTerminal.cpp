#include "RawTerminal.h"

#include "Failure.h"

#include <cerrno>

namespace KoTool
{
namespace
{

/// What the signal handlers use; it stays as it is while they are installed.
struct
{
    int mDescriptor = -1;
    termios mFormer{};
    termios mRaw{};
} sTerminal;

/// With SA_RESTART a wait for a key goes on.
void SetHandler(int aSignal, void (*aHandler)(int), struct sigaction* aFormer = nullptr)
{
    struct sigaction action = {};
    action.sa_handler = aHandler;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(aSignal, &action, aFormer);
}

/// Lets a signal that was raised in its own handler take effect now and not after the handler.
void Unblock(int aSignal)
{
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, aSignal);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

/// In the background this stops the program until it is in the foreground.
void Continue(int /*aSignal*/)
{
    const int error = errno;
    ::tcsetattr(sTerminal.mDescriptor, TCSANOW, &sTerminal.mRaw);
    errno = error;
}

void Stop(int aSignal)
{
    const int error = errno;
    ::tcsetattr(sTerminal.mDescriptor, TCSANOW, &sTerminal.mFormer);
    SetHandler(aSignal, SIG_DFL);
    ::raise(aSignal);
    Unblock(aSignal);
    SetHandler(aSignal, &Stop);
    // The signal has no effect where no shell could ever continue the program.
    Continue(SIGCONT);
    errno = error;
}

} // namespace

RawTerminal::RawTerminal(int aDescriptor)
{
    sTerminal.mDescriptor = aDescriptor;
    if (::tcgetattr(aDescriptor, &sTerminal.mFormer) != 0)
    {
        throw MakeSystemFailure("cannot read the settings of the terminal", errno);
    }
    sTerminal.mRaw = sTerminal.mFormer;
    ::cfmakeraw(&sTerminal.mRaw);
    if (::tcsetattr(aDescriptor, TCSADRAIN, &sTerminal.mRaw) != 0)
    {
        throw MakeSystemFailure("cannot change the settings of the terminal", errno);
    }
    ::sigaction(SIGTSTP, nullptr, &mFormerStop);
    if (mFormerStop.sa_handler != SIG_IGN)
    {
        SetHandler(SIGTSTP, &Stop);
    }
    SetHandler(SIGCONT, &Continue, &mFormerContinue);
}

RawTerminal::~RawTerminal()
{
    ::sigaction(SIGCONT, &mFormerContinue, nullptr);
    ::sigaction(SIGTSTP, &mFormerStop, nullptr);
    ::tcsetattr(sTerminal.mDescriptor, TCSADRAIN, &sTerminal.mFormer);
}

} // namespace KoTool
