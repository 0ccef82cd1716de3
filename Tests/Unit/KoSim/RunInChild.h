#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace KoSim
{

/// Runs aAction() in a child process; false when it does not come to its end there within half a minute.
template <typename Action>
bool RunInChild(Action aAction)
{
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::alarm(30);
        aAction();
        ::_exit(0);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace KoSim
