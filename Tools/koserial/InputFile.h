#pragma once

#include "Bytes.h"
#include "Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace KoTool
{

/// Where bytes to be sent come from: a file or standard input.
class InputFile
{
public:
    /// @throws Failure when it cannot be opened
    explicit InputFile(const std::string& aPath);
    virtual ~InputFile() = default;

    /// Takes the next bytes, as many as there are.
    /// @param aTimeoutMs how long to wait for the first one
    /// @return number of bytes, 0 at the end of the input; nothing when none came in time
    /// @throws Failure
    virtual std::optional<std::size_t> Read(std::uint8_t* aBuffer, std::size_t aSize, int aTimeoutMs);

    /// Number of bytes until the end; nothing when only reading can tell.
    std::optional<std::uint64_t> GetRemainingSize() const;

    const Descriptor& GetDescriptor() const { return mDescriptor; }

private:
    const Descriptor mDescriptor;
};

/// Reads up to the end of the input, or aLimit bytes of a longer one.
/// @throws Failure, also when a signal has come
Bytes ReadAll(InputFile& aInput, std::size_t aLimit);

} // namespace KoTool
