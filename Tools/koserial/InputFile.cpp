#include "InputFile.h"

#include "Failure.h"
#include "Interruption.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KoTool
{
namespace
{

constexpr int POLL_PERIOD_MS = 50;
constexpr std::size_t LARGEST_READ = 65536;

} // namespace

InputFile::InputFile(const std::string& aPath) : mDescriptor(aPath, O_RDONLY, STDIN_FILENO)
{
    struct stat status = {};
    ::fstat(mDescriptor.Get(), &status);
    if (S_ISDIR(status.st_mode))
    {
        throw MakeSystemFailure("cannot read " + mDescriptor.GetName(), EISDIR);
    }
}

std::optional<std::size_t> InputFile::Read(std::uint8_t* aBuffer, std::size_t aSize, int aTimeoutMs)
{
    if (!mDescriptor.Poll(POLLIN, aTimeoutMs))
    {
        return std::nullopt;
    }
    const ssize_t count = ::read(mDescriptor.Get(), aBuffer, aSize);
    if (count >= 0)
    {
        return static_cast<std::size_t>(count);
    }
    if (errno != EINTR && errno != EAGAIN)
    {
        throw MakeSystemFailure("cannot read " + mDescriptor.GetName(), errno);
    }
    return std::nullopt;
}

std::optional<std::uint64_t> InputFile::GetRemainingSize() const
{
    struct stat status = {};
    const off_t position = ::lseek(mDescriptor.Get(), 0, SEEK_CUR);
    if (::fstat(mDescriptor.Get(), &status) != 0 || !S_ISREG(status.st_mode) || position < 0)
    {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(status.st_size > position ? status.st_size - position : 0);
}

Bytes ReadAll(InputFile& aInput, std::size_t aLimit)
{
    Bytes content;
    Bytes buffer(std::min(aLimit, LARGEST_READ));
    while (content.size() < aLimit)
    {
        const std::optional<std::size_t> count =
            aInput.Read(buffer.data(), std::min(buffer.size(), aLimit - content.size()), POLL_PERIOD_MS);
        Interruption::ThrowIfRequested();
        if (count == 0U)
        {
            break;
        }
        content.insert(content.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count.value_or(0)));
    }
    return content;
}

} // namespace KoTool
