#pragma once

#include <KoSim/KoSimExport.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace KoSim
{

class FileDescriptor;

/// The contents of a memory chip; every byte is 0xFF at first, as in an erased chip.
class KO_SIM_API MemoryImage
{
public:
    /// Contents that are gone with the object.
    explicit MemoryImage(std::size_t aSize);

    /// Contents that are those of a file, at any time and for everyone who has the same file open. The file is made
    /// when there is none, or an empty one; several processes may do so at once.
    ///
    /// Bytes that somebody cuts off the file while it is in use read as erased; the next write makes the file as long
    /// as before.
    /// @throws std::system_error when the file cannot be made or used; a new file is empty then
    /// @throws std::invalid_argument when it has another size
    MemoryImage(std::size_t aSize, const std::string& aPath);

    ~MemoryImage();
    MemoryImage(MemoryImage&&) noexcept;
    MemoryImage& operator=(MemoryImage&&) noexcept;

    std::size_t GetSize() const { return mSize; }

    std::uint8_t operator[](std::size_t aIndex) const;
    void Set(std::size_t aIndex, std::uint8_t aByte);

private:
    std::size_t mSize;
    std::vector<std::uint8_t> mBytes;      ///< without a file
    std::unique_ptr<FileDescriptor> mFile; ///< with one
};

} // namespace KoSim
