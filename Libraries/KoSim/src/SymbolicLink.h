#pragma once

#include <string>

namespace KoSim
{

/// A symbolic link that lives as long as this object. A link in its place that points nowhere is replaced.
class SymbolicLink
{
public:
    /// Makes the link; does nothing when aPath is empty.
    /// @throws std::system_error when it cannot be made
    SymbolicLink(const std::string& aPath, const std::string& aTarget);

    /// Removes the link, unless it points elsewhere by now.
    ~SymbolicLink();

    SymbolicLink(const SymbolicLink&) = delete;
    SymbolicLink& operator=(const SymbolicLink&) = delete;

private:
    const std::string mPath;
    const std::string mTarget;
};

} // namespace KoSim
