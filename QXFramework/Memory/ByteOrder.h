// ByteOrder.h - little-endian words and values in records, whatever the machine's byte order.
#pragma once

#include <QX/Types.h>

#include <algorithm>
#include <bit>

namespace QX {

/// Returns the little-endian word at `from`, which need not be aligned.
inline uint32 ReadLittleEndian(const unsigned char* from)
{
    return static_cast<uint32>(from[0]) | static_cast<uint32>(from[1]) << 8 |
           static_cast<uint32>(from[2]) << 16 | static_cast<uint32>(from[3]) << 24;
}

/// Stores `word` little-endian at `to`, which need not be aligned.
inline void WriteLittleEndian(unsigned char* to, uint32 word)
{
    to[0] = static_cast<unsigned char>(word);
    to[1] = static_cast<unsigned char>(word >> 8);
    to[2] = static_cast<unsigned char>(word >> 16);
    to[3] = static_cast<unsigned char>(word >> 24);
}

/// Converts a value of 2, 4 or 8 bytes in place between the machine's byte order and little-endian;
/// other lengths stay as they are. Both directions are the same operation.
///
/// The bytes never pass through a floating-point register, which would change a signalling NaN.
inline void SwapToLittleEndian([[maybe_unused]] unsigned char* bytes,
                               [[maybe_unused]] uint32 length)
{
    static_assert(std::endian::native == std::endian::little ||
                  std::endian::native == std::endian::big);
    if constexpr (std::endian::native == std::endian::big) {
        if (length == 2 || length == 4 || length == 8) {
            std::reverse(bytes, bytes + length);
        }
    }
}

} // namespace QX
