#pragma once

#include <KoBaseExport.h>

#include <cstdint>
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

private:
    std::uint32_t mCode;
    std::string mDescription;
};

} // namespace KuUtilsLib
