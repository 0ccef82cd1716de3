#include "OutputFile.h"

#include "Failure.h"
#include "InputFile.h"
#include "Interruption.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KoTool
{
namespace
{

constexpr int POLL_PERIOD_MS = 50;
constexpr auto PATIENCE = std::chrono::seconds(1);

bool IsSameFile(const struct stat& aOne, const struct stat& aOther)
{
    return aOne.st_dev == aOther.st_dev && aOne.st_ino == aOther.st_ino;
}

} // namespace

OutputFile::OutputFile(const std::string& aPath, const InputFile* aInput)
    : mDescriptor(aPath, O_WRONLY | O_CREAT, STDOUT_FILENO)
{
    if (aPath != STANDARD_STREAM)
    {
        Empty(aInput);
    }
}

bool OutputFile::IsStandardOutput() const
{
    return mDescriptor.Get() == STDOUT_FILENO;
}

void OutputFile::Empty(const InputFile* aInput)
{
    struct stat status = {};
    ::fstat(mDescriptor.Get(), &status);
    if (!S_ISREG(status.st_mode))
    {
        return;
    }
    struct stat input = {};
    if (aInput != nullptr && ::fstat(aInput->GetDescriptor().Get(), &input) == 0 && IsSameFile(status, input))
    {
        throw Failure(mDescriptor.GetName() + " cannot be both sent and written");
    }
    if (::ftruncate(mDescriptor.Get(), 0) != 0)
    {
        throw MakeSystemFailure("cannot write " + mDescriptor.GetName(), errno);
    }
}

void OutputFile::Write(const std::uint8_t* aData, std::size_t aSize)
{
    for (std::size_t done = 0; done < aSize;)
    {
        WaitUntilWritable();
        done += WriteSome(aData + done, aSize - done);
    }
}

void OutputFile::WaitUntilWritable()
{
    const auto start = std::chrono::steady_clock::now();
    while (!mDescriptor.Poll(POLLOUT, POLL_PERIOD_MS))
    {
        if (std::chrono::steady_clock::now() - start > PATIENCE)
        {
            Interruption::ThrowIfRequested();
        }
    }
}

std::size_t OutputFile::WriteSome(const std::uint8_t* aData, std::size_t aSize)
{
    // A pipe that is writable takes this much without blocking.
    const ssize_t count = ::write(mDescriptor.Get(), aData, std::min<std::size_t>(aSize, PIPE_BUF));
    if (count >= 0)
    {
        return static_cast<std::size_t>(count);
    }
    if (errno != EINTR && errno != EAGAIN)
    {
        throw MakeSystemFailure("cannot write " + mDescriptor.GetName(), errno);
    }
    return 0;
}

} // namespace KoTool
