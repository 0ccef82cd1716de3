#pragma once

#include <KoSim/KoSimExport.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace KoSim
{

/// The contents of a memory chip; every byte is 0xFF at first, as in an erased chip.
class KO_SIM_API MemoryImage
{
public:
    /// Contents that are gone with the object.
    explicit MemoryImage(std::size_t aSize);

    /// Contents that are those of a file, at any time and for everyone who has the same file open. The file is made
    /// when there is none, or an empty one.
    /// @throws std::system_error when the file cannot be made or used
    /// @throws std::invalid_argument when it has another size
    MemoryImage(std::size_t aSize, const std::string& aPath);

    std::size_t GetSize() const { return mBytes.get_deleter().mSize; }

    std::uint8_t& operator[](std::size_t aIndex) { return mBytes.get()[aIndex]; }
    std::uint8_t operator[](std::size_t aIndex) const { return mBytes.get()[aIndex]; }

private:
    struct KO_SIM_API Unmap
    {
        void operator()(std::uint8_t* aBytes) const;
        std::size_t mSize;
    };

    std::unique_ptr<std::uint8_t, Unmap> mBytes;
};

} // namespace KoSim
