#pragma once

#include "OutputFile.h"

#include <array>
#include <streambuf>

namespace KoTool
{

/// Makes `std::cout` tell when standard output cannot be written, for as long as the object lives: what is inserted or
/// flushed then ends with the Failure of OutputFile::Write(), which says why, and nothing more is written. There is one
/// at a time.
class StandardOutput : private std::streambuf
{
public:
    StandardOutput();

    /// Writes what is left, if that is possible. Call Flush() before to know.
    ~StandardOutput() override;

    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    /// Writes what has been inserted.
    /// @throws Failure
    void Flush();

private:
    int_type overflow(int_type aCharacter) override;
    int sync() override;

    OutputFile mFile{STANDARD_STREAM};
    std::array<char, 4096> mBuffer{};
    std::streambuf* const mFormerBuffer;
};

} // namespace KoTool
