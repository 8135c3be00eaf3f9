// VirtualSlots.h - the position of a virtual operation in its class's table of virtual operations.
//
// A destructor takes two slots and has no member pointer. To find its slots, a test derives a class
// that appends one operation, and asks for the slot of that one.
#pragma once

#include <cstddef>
#include <cstring>

namespace TestSupport {

/// Returns the slot of the virtual operation that `operation` points to, counted from 0.
template <class Member>
std::size_t SlotOf(Member operation)
{
    // A pointer to a virtual member is the byte offset of its slot plus 1, then the adjustment.
    static_assert(sizeof(operation) == 2 * sizeof(std::ptrdiff_t));
    std::ptrdiff_t words[2];
    std::memcpy(words, &operation, sizeof(words));
    return static_cast<std::size_t>(words[0] - 1) / sizeof(void*);
}

} // namespace TestSupport
