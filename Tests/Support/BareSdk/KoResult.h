#pragma once

#include <KoString.h>

#include <cstdint>

class KoResult
{
public:
    enum Code : std::uint32_t
    {
        OK = 0,
        NOT_CONNECTED = 23,
        NOT_FOUND = 25,
        NOT_SUPPORTED = 26,
        BUFFER_TOO_SMALL = 27,
        STATE_ERROR = 28,
        TIMEOUT = 30,
        NOT_OPENED = 1541,
        GENERIC_ERROR = 16384,
        INVALID_PARAMETER = 16385,
    };

    explicit KoResult(std::uint32_t aCode) : mCode(aCode) {}
    explicit KoResult(std::uint32_t aCode, const KoString& aDescription) : mCode(aCode), mDescription(aDescription) {}

    std::uint32_t GetCode() const { return mCode; }
    const char* GetCodeString() const;
    const KoString& GetDescription() const { return mDescription; }
    bool IsOK() const { return mCode == OK; }
    operator const char*() const;

private:
    std::uint32_t mCode;
    KoString mDescription;
};
