#pragma once

#include <unistd.h>

namespace KoSim
{

/// Knows the process that it was made in. In a child of fork() an object has lost its threads, and what it made for the
/// outside world still belongs to the parent.
class OwnProcess
{
public:
    /// True in a child of the process that this object was made in.
    bool IsLeft() const { return ::getpid() != mProcess; }

private:
    const pid_t mProcess = ::getpid();
};

} // namespace KoSim
