#pragma once

#include <cstdint>

namespace KoBase
{

/// Name of a result code, "UNKNOWN_ERROR" for a code without a name.
const char* GetCodeName(std::uint32_t aCode);

} // namespace KoBase
