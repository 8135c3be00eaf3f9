// UTFCodec.h - how one character looks in each of the three encoding forms.
#pragma once

#include "UTFConversion.h"

#include <cstddef>

namespace QX {

inline constexpr UTF32 kReplacementCharacter = 0xFFFD;
inline constexpr UTF32 kLastBasicPlane = 0xFFFF;
inline constexpr UTF32 kLastCharacter = 0x10FFFF;

constexpr bool IsHighSurrogate(UTF32 unit)
{
    return unit - 0xD800u < 0x400u;
}

constexpr bool IsLowSurrogate(UTF32 unit)
{
    return unit - 0xDC00u < 0x400u;
}

constexpr bool IsSurrogate(UTF32 unit)
{
    return unit - 0xD800u < 0x800u;
}

constexpr UTF32 FromSurrogates(UTF32 high, UTF32 low)
{
    return ((high - 0xD800u) << 10) + (low - 0xDC00u) + 0x10000u;
}

/// Writes a character of the supplementary planes as two units.
inline void PutSurrogates(UTF16* target, UTF32 character)
{
    target[0] = static_cast<UTF16>((character - 0x10000u) / 0x400u + 0xD800u);
    target[1] = static_cast<UTF16>(character % 0x400u + 0xDC00u);
}

/// The number of bytes for a value up to kLastCharacter.
constexpr int UTF8Length(UTF32 character)
{
    return character < 0x80 ? 1 : character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
}

/// Writes a value up to kLastCharacter, surrogates included, in its UTF8Length bytes.
inline void PutUTF8(UTF8* target, UTF32 character, int length)
{
    const auto continuation = [character](int shift) {
        return static_cast<UTF8>(0x80u | ((character >> shift) & 0x3Fu));
    };
    switch (length) {
    case 1:
        target[0] = static_cast<UTF8>(character);
        break;
    case 2:
        target[0] = static_cast<UTF8>(0xC0u | (character >> 6));
        target[1] = continuation(0);
        break;
    case 3:
        target[0] = static_cast<UTF8>(0xE0u | (character >> 12));
        target[1] = continuation(6);
        target[2] = continuation(0);
        break;
    default:
        target[0] = static_cast<UTF8>(0xF0u | (character >> 18));
        target[1] = continuation(12);
        target[2] = continuation(6);
        target[3] = continuation(0);
        break;
    }
}

/// Reads a well-formed sequence of 2 to 4 bytes.
inline UTF32 GetUTF8(const UTF8* source, int length)
{
    switch (length) {
    case 2:
        return (source[0] & 0x1Fu) << 6 | (source[1] & 0x3Fu);
    case 3:
        return (source[0] & 0x0Fu) << 12 | (source[1] & 0x3Fu) << 6 | (source[2] & 0x3Fu);
    default:
        return (source[0] & 0x07u) << 18 | (source[1] & 0x3Fu) << 12 | (source[2] & 0x3Fu) << 6 |
               (source[3] & 0x3Fu);
    }
}

} // namespace QX
