#pragma once

#include <cstddef>
#include <cstring>

/// The place of a virtual operation in the table of its class, counted from 0. A destructor takes two places.
template <typename Operation>
std::size_t SlotOf(Operation aOperation)
{
    // A pointer to a virtual operation begins with the offset in the table, to which x86-64, not 64-bit Arm, adds 1.
    std::size_t offset = 0;
    static_assert(sizeof(aOperation) == 2 * sizeof(offset));
    std::memcpy(&offset, &aOperation, sizeof(offset));
    return offset / sizeof(void*);
}
