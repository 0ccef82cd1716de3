#include <KoSim/MemoryImage.h>

#include "FileDescriptor.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace KoSim
{
namespace
{

constexpr std::uint8_t ERASED = 0xFF;
constexpr mode_t READ_AND_WRITE_FOR_ALL = 0666;

std::uint8_t* Map(std::size_t aSize, int aFlags, int aDescriptor, const std::string& aWhat)
{
    void* const bytes = ::mmap(nullptr, aSize, PROT_READ | PROT_WRITE, aFlags, aDescriptor, 0);
    if (bytes == MAP_FAILED)
    {
        ThrowErrno(aWhat);
    }
    return static_cast<std::uint8_t*>(bytes);
}

void Erase(int aDescriptor, std::size_t aSize, const std::string& aPath)
{
    const std::vector<std::uint8_t> erased(aSize, ERASED);
    // Written and not merely mapped: a full disk must show now, not when a chip is written.
    if (::pwrite(aDescriptor, erased.data(), erased.size(), 0) != static_cast<ssize_t>(aSize))
    {
        ThrowErrno("cannot write " + aPath);
    }
}

std::uint8_t* MapFile(std::size_t aSize, const std::string& aPath)
{
    const FileDescriptor file(::open(aPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, READ_AND_WRITE_FOR_ALL),
                              ("cannot open " + aPath).c_str());
    struct stat status = {};
    if (::fstat(file.Get(), &status) != 0)
    {
        ThrowErrno("cannot use " + aPath);
    }
    if (status.st_size == 0)
    {
        Erase(file.Get(), aSize, aPath);
    }
    else if (static_cast<std::size_t>(status.st_size) != aSize)
    {
        throw std::invalid_argument(aPath + " has " + std::to_string(status.st_size) + " bytes and not the " +
                                    std::to_string(aSize) + " of the chip");
    }
    return Map(aSize, MAP_SHARED, file.Get(), "cannot use " + aPath);
}

} // namespace

MemoryImage::MemoryImage(std::size_t aSize)
    : mBytes(Map(aSize, MAP_PRIVATE | MAP_ANONYMOUS, -1, "cannot make room for a chip"), Unmap{aSize})
{
    std::fill_n(mBytes.get(), aSize, ERASED);
}

MemoryImage::MemoryImage(std::size_t aSize, const std::string& aPath) : mBytes(MapFile(aSize, aPath), Unmap{aSize}) {}

void MemoryImage::Unmap::operator()(std::uint8_t* aBytes) const
{
    ::munmap(aBytes, mSize);
}

} // namespace KoSim
