#pragma once

#include <cstdint>

namespace KuUtilsLib
{

class Thread
{
public:
    static void Sleep(std::uint32_t aTimeMs);
    static std::uint64_t GetTickCount();
};

} // namespace KuUtilsLib
