#include <KoSim/MemoryImage.h>

#include "FileDescriptor.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace KoSim
{
namespace
{

constexpr std::uint8_t ERASED = 0xFF;
constexpr mode_t READ_AND_WRITE_FOR_ALL = 0666;

/// Keeps other processes from a file that one of them may have to fill first.
class FileLock
{
public:
    FileLock(int aFile, const std::string& aPath) : mFile(aFile)
    {
        while (::flock(mFile, LOCK_EX) != 0)
        {
            if (errno != EINTR)
            {
                ThrowErrno("cannot lock " + aPath);
            }
        }
    }
    ~FileLock() { ::flock(mFile, LOCK_UN); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    const int mFile;
};

std::size_t GetFileSize(int aFile)
{
    struct stat status = {};
    return ::fstat(aFile, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

/// Adds erased bytes until the file has aSize bytes; false when it cannot have as many.
bool Fill(int aFile, std::size_t aSize)
{
    const std::vector<std::uint8_t> erased(4096, ERASED);
    for (std::size_t size = GetFileSize(aFile); size < aSize;)
    {
        const std::size_t most = std::min(erased.size(), aSize - size);
        const ssize_t written = ::pwrite(aFile, erased.data(), most, static_cast<off_t>(size));
        if (written < 0)
        {
            return false;
        }
        size += static_cast<std::size_t>(written);
    }
    return true;
}

/// Makes contents of an empty file, and refuses one that belongs to another chip.
void Prepare(int aFile, std::size_t aSize, const std::string& aPath)
{
    const FileLock lock(aFile, aPath);
    const std::size_t size = GetFileSize(aFile);
    if (size != 0 && size != aSize)
    {
        throw std::invalid_argument(aPath + " has " + std::to_string(size) + " bytes and not the " +
                                    std::to_string(aSize) + " of the chip");
    }
    if (!Fill(aFile, aSize))
    {
        const int reason = errno;
        [[maybe_unused]] const int emptied = ::ftruncate(aFile, 0);
        throw std::system_error(reason, std::generic_category(), "cannot write " + aPath);
    }
}

} // namespace

MemoryImage::MemoryImage(std::size_t aSize) : mSize(aSize), mBytes(aSize, ERASED) {}

MemoryImage::MemoryImage(std::size_t aSize, const std::string& aPath)
    : mSize(aSize),
      mFile(
          std::make_unique<FileDescriptor>(::open(aPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, READ_AND_WRITE_FOR_ALL),
                                           ("cannot open " + aPath).c_str()))
{
    Prepare(mFile->Get(), aSize, aPath);
}

MemoryImage::~MemoryImage() = default;
MemoryImage::MemoryImage(MemoryImage&&) noexcept = default;
MemoryImage& MemoryImage::operator=(MemoryImage&&) noexcept = default;

std::uint8_t MemoryImage::operator[](std::size_t aIndex) const
{
    if (mFile == nullptr)
    {
        return mBytes[aIndex];
    }
    // Read and not mapped: what is mapped ends the process when somebody cuts the file off.
    std::uint8_t byte = ERASED;
    return ::pread(mFile->Get(), &byte, 1, static_cast<off_t>(aIndex)) == 1 ? byte : ERASED;
}

void MemoryImage::Set(std::size_t aIndex, std::uint8_t aByte)
{
    if (mFile == nullptr)
    {
        mBytes[aIndex] = aByte;
        return;
    }
    if (GetFileSize(mFile->Get()) < mSize)
    {
        Fill(mFile->Get(), mSize);
    }
    [[maybe_unused]] const ssize_t written = ::pwrite(mFile->Get(), &aByte, 1, static_cast<off_t>(aIndex));
}

} // namespace KoSim
