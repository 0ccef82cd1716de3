#pragma once

#include "Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace KoTool
{

class InputFile;

/// Where received bytes go: a file, which is emptied first, or standard output. Make it when nothing else can fail any
/// more before the bytes come, so that the file keeps what it holds until then.
class OutputFile
{
public:
    /// @param aPath path of the file, or STANDARD_STREAM
    /// @param aInput what is read at the same time; may be NULL
    /// @throws Failure when the file cannot be opened or is the same as aInput
    explicit OutputFile(const std::string& aPath, const InputFile* aInput = nullptr);

    bool IsStandardOutput() const;

    /// Writes all bytes. After a signal it gives up when nobody takes them.
    /// @throws Failure
    void Write(const std::uint8_t* aData, std::size_t aSize);

private:
    void Empty(const InputFile* aInput);
    void WaitUntilWritable();
    std::size_t WriteSome(const std::uint8_t* aData, std::size_t aSize);

    const Descriptor mDescriptor;
};

} // namespace KoTool
