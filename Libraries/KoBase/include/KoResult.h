#pragma once

#include <KoBaseExport.h>
#include <KoString.h>

#include <cstdint>
#include <iosfwd>
#include <type_traits>

/// Outcome of an operation: a numeric code, 0 for success, and on some failures a description for people.
///
/// A value type. Success is IsOK(); the texts are for messages only. A result compares with a Code and with nothing
/// else: by its conversion to a text, a comparison with 0 or with another result would hold for any two failures.
class KO_BASE_API KoResult
{
public:
    enum Code : std::uint32_t
    {
        OK = 0,                    ///< success
        NOT_CONNECTED = 23,        ///< no device, or the device is gone
        NOT_FOUND = 25,            ///< what was named does not exist
        NOT_SUPPORTED = 26,        ///< the device or port does not offer this
        BUFFER_TOO_SMALL = 27,     ///< a buffer or device register has no room
        STATE_ERROR = 28,          ///< not possible in the present state
        TIMEOUT = 30,              ///< the time ran out
        NOT_OPENED = 1541,         ///< Open was never called
        GENERIC_ERROR = 16384,     ///< an access to the device failed, or a resource is taken
        INVALID_PARAMETER = 16385, ///< an argument is out of range
    };

    /// Creates a result without description. Implicit, so that an operation can `return KoResult::TIMEOUT;`.
    KoResult(std::uint32_t aCode) : mCode(aCode) {}

    /// Creates a result with a description.
    KoResult(std::uint32_t aCode, const KoString& aDescription) : mCode(aCode), mDescription(aDescription) {}

    /// True when the code is OK.
    bool IsOK() const { return mCode == OK; }

    std::uint32_t GetCode() const { return mCode; }

    /// Name of the code ("OK", "TIMEOUT", ...); "UNKNOWN_ERROR" for a code without a name. Static storage, never NULL.
    const char* GetCodeString() const;

    /// What happened, for people; empty when there is nothing to say beyond the code.
    const KoString& GetDescription() const { return mDescription; }

    /// Name of the code for a success and NULL for a failure.
    operator const char*() const { return IsOK() ? GetCodeString() : nullptr; }

    /// True when that is the code, whatever the description.
    bool operator==(Code aCode) const { return mCode == aCode; }
    bool operator!=(Code aCode) const { return mCode != aCode; }

    template <typename Other>
    bool operator==(const Other&) const = delete;
    template <typename Other>
    bool operator!=(const Other&) const = delete;

private:
    /// A bool for a KoResult itself, and nothing for a number that would become one.
    template <typename Result>
    using IfResult = std::enable_if_t<std::is_same_v<Result, KoResult>, bool>;

    template <typename Result>
    friend IfResult<Result> operator==(Code aCode, const Result& aResult)
    {
        return aResult == aCode;
    }
    template <typename Result>
    friend IfResult<Result> operator!=(Code aCode, const Result& aResult)
    {
        return aResult != aCode;
    }
    template <typename Other, typename Result>
    friend IfResult<Result> operator==(const Other&, const Result&) = delete;
    template <typename Other, typename Result>
    friend IfResult<Result> operator!=(const Other&, const Result&) = delete;

    std::uint32_t mCode;
    KoString mDescription;
};

/// Writes a result for people: the name of its code and, when there is one, the description, as in
/// `NOT_FOUND: no such port`. A code without a name comes with its number, as in `UNKNOWN_ERROR 4711`.
KO_BASE_API std::ostream& operator<<(std::ostream& aStream, const KoResult& aResult);
