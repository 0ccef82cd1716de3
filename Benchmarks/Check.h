#pragma once

#include <stdexcept>

/// A benchmark whose parts do not work ends the program: half a table would be taken for a whole one.
inline void Check(bool aWorked, const char* aFailure)
{
    if (!aWorked)
    {
        throw std::runtime_error(aFailure);
    }
}
