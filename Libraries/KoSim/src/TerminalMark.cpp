#include "TerminalMark.h"

#include "FileDescriptor.h"

#include <fcntl.h>

namespace KoSim
{
namespace
{

/// A lock of the open file on the first byte. Programs that lock a serial port use flock() or a lock file.
struct flock GetMark()
{
    struct flock mark = {};
    mark.l_type = F_WRLCK;
    mark.l_whence = SEEK_SET;
    mark.l_len = 1;
    return mark;
}

} // namespace

void MarkTerminal(int aTerminal)
{
    struct flock mark = GetMark();
    if (::fcntl(aTerminal, F_OFD_SETLK, &mark) != 0)
    {
        ThrowErrno("cannot mark a pseudo-terminal");
    }
}

bool IsTerminalInUse(const std::string& aPath)
{
    const int terminal = ::open(aPath.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (terminal < 0)
    {
        return errno != ENOENT && errno != EIO;
    }
    const FileDescriptor owned(terminal, "");
    struct flock mark = GetMark();
    return ::fcntl(owned.Get(), F_OFD_GETLK, &mark) != 0 || mark.l_type != F_UNLCK;
}

} // namespace KoSim
