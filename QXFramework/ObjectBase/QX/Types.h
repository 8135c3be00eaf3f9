// Types.h - the framework's integer types and the result codes that its operations share.
//
// A data operation answers with an int32: a non-negative value is a success, and often a count or
// an index; the two failure codes are negative.
//
//     if (array.Insert(9, 1) == QX::kResultOutOfRange) { ... }
//
// Two kinds of operation differ. The size operations of buffers return the size, which is negative
// as an int32 from 2^31 on, and do not fail. Variants write and read records with uint32 results.
#pragma once

#include <type_traits>

#if __cplusplus < 202002L
#error "QX needs C++20: compile with -std=c++20 or later"
#endif

/// Marks what the shared library exports; everything else has hidden visibility.
#define QX_API __attribute__((visibility("default")))

namespace QX {

// Where long has 32 bits the first two are the platform's own SInt32 and UInt32, so that the
// addresses of counters can be handed to the platform's atomics.

/// An integer of exactly so many bits.
using int32 = std::conditional_t<sizeof(long) == 4, long, int>;
using uint32 = std::conditional_t<sizeof(long) == 4, unsigned long, unsigned int>;
using int64 = long long;
using uint64 = unsigned long long;
using uint16 = unsigned short;
using uint8 = unsigned char;

static_assert(sizeof(int32) == 4 && sizeof(uint32) == 4);
static_assert(sizeof(int64) == 8 && sizeof(uint64) == 8);
static_assert(sizeof(uint16) == 2 && sizeof(uint8) == 1);

/// The largest 32-bit number, for sums that are made in 64 bits.
inline constexpr uint64 kUInt32Limit = 0xFFFFFFFF;

/// The operation did what was asked.
inline constexpr int32 kResultSuccess = 0;
/// There was nothing to do; a status, not an error.
inline constexpr int32 kResultNothingDone = 1;
/// A position, range or argument is out of bounds; nothing has changed.
inline constexpr int32 kResultOutOfRange = static_cast<int32>(0x80000003u);
/// The general failure: data that cannot be converted or serialized, a container that cannot reach
/// the size needed, an operation that the object's state does not allow.
inline constexpr int32 kResultFailure = static_cast<int32>(0x80000008u);

} // namespace QX
