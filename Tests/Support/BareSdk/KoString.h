#pragma once

#include <cstddef>
#include <string>

/// A text with the operations that the library may use and no other. Equality is deleted: left out, it would silently
/// compare addresses through the conversion to a C string.
class KoString
{
public:
    KoString() = default;
    explicit KoString(const char* aText) : mText(aText) {}

    bool operator!=(const KoString& aOther) const { return mText != aOther.mText; }
    bool operator!=(const char* aOther) const { return mText != aOther; }
    bool operator==(const KoString& aOther) const = delete;
    bool operator==(const char* aOther) const = delete;

    const char* GetAscii() const { return mText.c_str(); }
    operator const char*() const { return mText.c_str(); }
    std::size_t GetLength() const { return mText.size(); }

private:
    std::string mText;
};
