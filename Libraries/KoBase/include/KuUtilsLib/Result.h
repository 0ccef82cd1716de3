#pragma once

#include <KoBaseExport.h>
#include <KoResult.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace KuUtilsLib
{

/// Outcome of an operation of the utilities: one of the codes of KoResult and an optional text.
class KO_BASE_API Result
{
public:
    /// Creates a result without text.
    explicit Result(std::uint32_t aCode) : mCode(aCode) {}

    /// Creates a result with a text; NULL or "" stands for no text.
    Result(std::uint32_t aCode, const char* aDescription)
        : mCode(aCode),
          mDescription(aDescription == nullptr ? "" : aDescription)
    {
    }

    /// The code; 0 is success.
    std::uint32_t GetCode() const { return mCode; }

    /// Name of the code, the same that KoResult::GetCodeString() gives. Static storage, never NULL.
    const char* GetCodeString() const;

    /// The text, or NULL when there is none. Valid as long as this object.
    const char* GetDescription() const { return mDescription.empty() ? nullptr : mDescription.c_str(); }

    /// True when that is the code, whatever the text.
    friend bool operator==(const Result& aResult, KoResult::Code aCode) { return aResult.mCode == aCode; }
    friend bool operator==(KoResult::Code aCode, const Result& aResult) { return aResult == aCode; }
    friend bool operator!=(const Result& aResult, KoResult::Code aCode) { return !(aResult == aCode); }
    friend bool operator!=(KoResult::Code aCode, const Result& aResult) { return !(aResult == aCode); }

private:
    std::uint32_t mCode;
    std::string mDescription;
};

/// Writes a result for people, as a KoResult is written.
KO_BASE_API std::ostream& operator<<(std::ostream& aStream, const Result& aResult);

} // namespace KuUtilsLib
