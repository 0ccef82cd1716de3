#pragma once

#include <string>

namespace KoBase
{

/// A text in which every control character, also those of UTF-8 (U+0080 to U+009F), is `\\x` and two hexadecimal digits
/// for each byte that says so; other text stays as it is.
std::string EscapeControls(const std::string& aText);

} // namespace KoBase
