#pragma once

#include "Bytes.h"
#include "Numbers.h"

#include <cstdint>
#include <string>
#include <vector>

namespace KoTool
{

constexpr NumberRange I2C_ADDRESSES = {0x00, 0x7F};
/// As many as a bus object holds of bytes that have arrived; of more, some could be pushed out before they are read.
constexpr NumberRange I2C_READ_LENGTHS = {1, 16383};

/// Bytes after the address: more would not go out in one piece, and what begins each further piece would be taken for
/// the address of another slave.
constexpr NumberRange I2C_WRITE_LENGTHS = {1, 253};

/// One message on an I2C bus: a start, the address of a slave, and bytes in one direction.
struct I2cMessage
{
    bool mIsRead = false;
    std::uint8_t mAddress = 0;
    std::uint32_t mReadLength = 0; ///< of a read
    Bytes mData;                   ///< of a write
};

I2cMessage MakeI2cRead(std::uint8_t aAddress, std::uint32_t aLength);
I2cMessage MakeI2cWrite(std::uint8_t aAddress, const Bytes& aData);

/// Reads messages as the command line gives them, word by word: `{r|w}LENGTH[@ADDRESS]`, for a write followed by as
/// many bytes. Without an address it is that of the message before: "w2@0x50 0x00 0x10 r16".
/// @throws Failure with STATUS_USAGE, naming the word that is wrong
std::vector<I2cMessage> ParseI2cMessages(const std::vector<std::string>& aWords);

} // namespace KoTool
