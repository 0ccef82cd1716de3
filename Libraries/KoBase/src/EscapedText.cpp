#include "EscapedText.h"

namespace
{

bool IsControl(unsigned char aPrevious, unsigned char aCharacter)
{
    constexpr unsigned char FIRST_PRINTABLE = 0x20;
    constexpr unsigned char DELETE = 0x7F;
    constexpr unsigned char LAST_CONTROL = 0x9F;
    // Above ASCII: a control character of UTF-8 is 0xC2 with one more byte. The same byte after any other byte of that
    // kind belongs to a letter, and alone it is a control character of older terminals.
    constexpr unsigned char CONTROL_LEAD = 0xC2;
    const bool isInsideLetter = aPrevious > DELETE && aPrevious != CONTROL_LEAD;
    return aCharacter < FIRST_PRINTABLE || aCharacter == DELETE ||
           (aCharacter > DELETE && aCharacter <= LAST_CONTROL && !isInsideLetter);
}

} // namespace

std::string KoBase::EscapeControls(const std::string& aText)
{
    constexpr const char* DIGITS = "0123456789abcdef";
    std::string escaped;
    unsigned char previous = 0;
    for (const char letter : aText)
    {
        const auto character = static_cast<unsigned char>(letter);
        if (IsControl(previous, character))
        {
            escaped += std::string("\\x") + DIGITS[character / 16] + DIGITS[character % 16];
        }
        else
        {
            escaped += letter;
        }
        previous = character;
    }
    return escaped;
}
