#pragma once

#include <cstddef>
#include <cstring>

/// Where a virtual operation stands in its class's table. A virtual destructor takes two places.
template <typename Operation>
int slotOf(Operation operation)
{
    struct
    {
        std::ptrdiff_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof operation == sizeof parts, "a pointer to member as the Itanium C++ ABI has it");
    std::memcpy(&parts, &operation, sizeof parts);
    // The offset into the table, plus one where that marks a virtual function.
    return static_cast<int>(parts.pointer / static_cast<std::ptrdiff_t>(sizeof(void *)));
}
