// ByteCount.h - numbers of bytes that must fit 32 bits.
#pragma once

#include <QX/Types.h>

#include <cstddef>
#include <new>

namespace QX {

/// Returns the bytes of `count` elements.
///
/// Throws: std::bad_alloc if they are more than a buffer can have.
inline uint32 CheckedByteCount(uint64 count, std::size_t elementSize)
{
    const uint64 bytes = count * elementSize;
    if (bytes > kUInt32Limit) {
        throw std::bad_alloc();
    }
    return static_cast<uint32>(bytes);
}

} // namespace QX
