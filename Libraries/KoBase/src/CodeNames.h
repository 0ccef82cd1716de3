#pragma once

#include <cstdint>
#include <ostream>

namespace KoBase
{

/// Name of a result code, "UNKNOWN_ERROR" for a code without a name.
const char* GetCodeName(std::uint32_t aCode);

/// Writes a code for people: its name, its number when it has no name, and the description unless that is NULL or "".
std::ostream& WriteCode(std::ostream& aStream, std::uint32_t aCode, const char* aDescription);

} // namespace KoBase
