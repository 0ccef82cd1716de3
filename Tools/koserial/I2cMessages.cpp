#include "I2cMessages.h"

#include "Failure.h"

#include <optional>

namespace KoTool
{
namespace
{

using Words = std::vector<std::string>;

void CheckKind(const std::string& aWord)
{
    if (aWord.empty() || (aWord.front() != 'r' && aWord.front() != 'w'))
    {
        throw MakeUsageFailure("'" + aWord +
                               "' is no message: a message is rLENGTH[@ADDRESS] or wLENGTH[@ADDRESS] BYTE...");
    }
}

std::uint8_t ParseAddress(const std::string& aWord, std::optional<std::uint8_t> aPrevious)
{
    const std::size_t at = aWord.find('@');
    if (at != std::string::npos)
    {
        return static_cast<std::uint8_t>(
            ParseNumber("the address of '" + aWord + "'", aWord.substr(at + 1), I2C_ADDRESSES));
    }
    if (!aPrevious)
    {
        throw MakeUsageFailure("the first message needs an address: '" + aWord + "@ADDRESS'");
    }
    return *aPrevious;
}

std::uint32_t ParseLength(const std::string& aWord, NumberRange aRange)
{
    return static_cast<std::uint32_t>(
        ParseNumber("the length of '" + aWord + "'", aWord.substr(1, aWord.find('@') - 1), aRange));
}

/// Takes the bytes of a write off the words after it.
Bytes TakeBytes(const std::string& aWrite, std::uint32_t aLength, const Words& aWords, std::size_t& aNext)
{
    const std::size_t left = aWords.size() - aNext;
    if (left < aLength)
    {
        throw MakeUsageFailure("'" + aWrite + "' needs " + std::to_string(aLength) + " bytes, but only " +
                               std::to_string(left) + " follow");
    }
    Bytes bytes;
    for (std::uint32_t i = 1; i <= aLength; ++i)
    {
        const std::string name = "byte " + std::to_string(i) + " of '" + aWrite + "'";
        bytes.push_back(static_cast<std::uint8_t>(ParseNumber(name, aWords[aNext++], BYTE_VALUES)));
    }
    return bytes;
}

I2cMessage TakeMessage(std::optional<std::uint8_t> aPreviousAddress, const Words& aWords, std::size_t& aNext)
{
    const std::string& word = aWords[aNext++];
    CheckKind(word);
    const std::uint8_t address = ParseAddress(word, aPreviousAddress);
    if (word.front() == 'r')
    {
        return MakeI2cRead(address, ParseLength(word, I2C_READ_LENGTHS));
    }
    return MakeI2cWrite(address, TakeBytes(word, ParseLength(word, I2C_WRITE_LENGTHS), aWords, aNext));
}

} // namespace

I2cMessage MakeI2cRead(std::uint8_t aAddress, std::uint32_t aLength)
{
    return {true, aAddress, aLength, {}};
}

I2cMessage MakeI2cWrite(std::uint8_t aAddress, const Bytes& aData)
{
    return {false, aAddress, 0, aData};
}

std::vector<I2cMessage> ParseI2cMessages(const Words& aWords)
{
    std::vector<I2cMessage> messages;
    std::optional<std::uint8_t> address;
    for (std::size_t next = 0; next < aWords.size();)
    {
        messages.push_back(TakeMessage(address, aWords, next));
        address = messages.back().mAddress;
    }
    return messages;
}

} // namespace KoTool
