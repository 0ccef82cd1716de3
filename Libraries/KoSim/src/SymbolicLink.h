#pragma once

#include "OwnProcess.h"

#include <string>

namespace KoSim
{

/// A symbolic link to a pseudo-terminal that lives as long as this object.
///
/// A link in its place is replaced when it leads to a pseudo-terminal that is none of ours: somebody has left it
/// behind. Anything else in its place is left alone, a link to a file that does not exist, too.
class SymbolicLink
{
public:
    /// Makes the link; does nothing when aPath is empty.
    /// @throws std::system_error when it cannot be made
    SymbolicLink(const std::string& aPath, const std::string& aTarget);

    /// Removes the link, unless it points elsewhere by now or this is a child of the process that made it.
    ~SymbolicLink();

    SymbolicLink(const SymbolicLink&) = delete;
    SymbolicLink& operator=(const SymbolicLink&) = delete;

private:
    const std::string mPath;
    const std::string mTarget;
    const OwnProcess mProcess;
};

} // namespace KoSim
