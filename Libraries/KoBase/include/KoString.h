#pragma once

#include <KoBaseExport.h>

#include <cstddef>
#include <string>

/// A text, as the interfaces of the SDK pass it.
///
/// A value type: copies are independent. One object must not be changed by one thread while another uses it.
class KO_BASE_API KoString
{
public:
    /// Creates the empty text.
    KoString() = default;

    /// Copies a NUL-terminated text; NULL gives the empty text.
    KoString(const char* aText) : mText(aText == nullptr ? "" : aText) {}

    /// The text, NUL-terminated. Never NULL; valid until this object is changed or destroyed.
    const char* GetAscii() const { return mText.c_str(); }

    /// Same as GetAscii().
    operator const char*() const { return GetAscii(); }

    /// Number of characters before the terminating NUL.
    std::size_t GetLength() const { return mText.size(); }

    bool operator==(const KoString& aOther) const { return mText == aOther.mText; }
    bool operator!=(const KoString& aOther) const { return mText != aOther.mText; }

    /// Compares with a NUL-terminated text; NULL counts as the empty text.
    bool operator==(const char* aOther) const { return mText == (aOther == nullptr ? "" : aOther); }
    bool operator!=(const char* aOther) const { return !(*this == aOther); }

private:
    std::string mText;
};
