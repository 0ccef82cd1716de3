#include "Descriptor.h"

#include "Failure.h"
#include "Interruption.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KoTool
{
namespace
{

constexpr mode_t NEW_FILE_MODE = 0666;

int Open(const std::string& aPath, int aFlags)
{
    const int descriptor = ::open(aPath.c_str(), aFlags | O_CLOEXEC, NEW_FILE_MODE);
    if (descriptor < 0)
    {
        const int error = errno;
        Interruption::ThrowIfRequested();
        throw MakeSystemFailure("cannot open " + aPath, error);
    }
    return descriptor;
}

} // namespace

Descriptor::Descriptor(const std::string& aPath, int aFlags, int aStandard)
    : mName(aPath),
      mDescriptor(aStandard),
      mOwned(aPath != STANDARD_STREAM)
{
    if (mOwned)
    {
        mDescriptor = Open(aPath, aFlags);
    }
    else
    {
        mName = aStandard == STDIN_FILENO ? "standard input" : "standard output";
    }
}

Descriptor::~Descriptor()
{
    if (mOwned)
    {
        ::close(mDescriptor);
    }
}

bool Descriptor::Poll(short aEvents, int aTimeoutMs) const
{
    pollfd polled{mDescriptor, aEvents, 0};
    return ::poll(&polled, 1, aTimeoutMs) > 0;
}

} // namespace KoTool
