#pragma once

#include <cstdint>
#include <string>

namespace KuUtilsLib
{

class Result
{
public:
    explicit Result(std::uint32_t aCode) : mCode(aCode) {}
    explicit Result(std::uint32_t aCode, const char* aDescription) : mCode(aCode), mDescription(aDescription) {}

    std::uint32_t GetCode() const { return mCode; }
    const char* GetCodeString() const;
    const char* GetDescription() const { return mDescription.empty() ? nullptr : mDescription.c_str(); }

private:
    std::uint32_t mCode;
    std::string mDescription;
};

} // namespace KuUtilsLib
