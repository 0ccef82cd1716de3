#include "StandardOutput.h"

#include "Failure.h"

#include <iostream>

namespace KoTool
{

StandardOutput::StandardOutput() : mFormerBuffer(std::cout.rdbuf(this))
{
    setp(mBuffer.data(), mBuffer.data() + mBuffer.size());
    // A stream keeps what its buffer throws to itself unless it is told otherwise.
    std::cout.exceptions(std::ios_base::badbit);
}

StandardOutput::~StandardOutput()
{
    try
    {
        Flush();
    }
    catch (const Failure&)
    {
        // Another failure ends the command already.
    }
    std::cout.exceptions(std::ios_base::goodbit);
    std::cout.rdbuf(mFormerBuffer);
}

void StandardOutput::Flush()
{
    // After a failure nothing is written twice.
    const auto size = static_cast<std::size_t>(pptr() - pbase());
    setp(mBuffer.data(), mBuffer.data() + mBuffer.size());
    mFile.Write(reinterpret_cast<const std::uint8_t*>(mBuffer.data()), size);
}

StandardOutput::int_type StandardOutput::overflow(int_type aCharacter)
{
    Flush();
    return traits_type::eq_int_type(aCharacter, traits_type::eof()) ? traits_type::not_eof(aCharacter)
                                                                    : sputc(traits_type::to_char_type(aCharacter));
}

int StandardOutput::sync()
{
    Flush();
    return 0;
}

} // namespace KoTool
