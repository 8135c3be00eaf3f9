// UTFBlocks.h - several characters at once: what the conversions of all directions share.
//
// TakeBlock, of which each direction has one, converts well-formed text only: it takes some
// characters, or none and returns false. So no mode and no order of tests can make a difference
// there; the conversion unit by unit judges what no block takes.
//
// Nothing is written beyond the characters that a block converts: the rest of the target is the
// caller's and stays as it was.
#pragma once

#include "Blocks.h"
#include "UTFCodec.h"

#include <bit>
#include <cstddef>

namespace QX {

/// The places in a source and a target up to which a conversion has come, and their ends.
template <class SourceT, class TargetT>
struct Cursor
{
    const SourceT* source;
    const SourceT* const sourceEnd;
    TargetT* target;
    TargetT* const targetEnd;

    /// Returns whether `sourceUnits` units are left, and room for `targetUnits`.
    [[gnu::always_inline]] bool Has(std::ptrdiff_t sourceUnits, std::ptrdiff_t targetUnits) const
    {
        return sourceEnd - source >= sourceUnits && targetEnd - target >= targetUnits;
    }

    [[gnu::always_inline]] void Advance(std::ptrdiff_t sourceUnits, std::ptrdiff_t targetUnits)
    {
        source += sourceUnits;
        target += targetUnits;
    }
};

/// Converts `kUnits` units, a multiple of sixteen, if all are ASCII.
template <int kUnits, class SourceT, class TargetT>
[[gnu::always_inline]] inline bool ConvertASCII(const SourceT* source, TargetT* target)
{
    constexpr int kUnitsOfPart = 16 / static_cast<int>(sizeof(SourceT));
    using Part = Block<SourceT, kUnitsOfPart>;
    Part all = {};
    for (int i = 0; i < kUnits; i += kUnitsOfPart) {
        Part part;
        LoadBlock(part, source + i);
        all |= part;
    }
    if (!IsZero(all & static_cast<SourceT>(~0x7Full))) {
        return false;
    }
    for (int i = 0; i < kUnits; i += 16) {
        Block<SourceT, 16> block;
        LoadBlock(block, source + i);
        StoreAs<SourceT, 16>(target + i, block);
    }
    return true;
}

/// Takes ASCII, by 16 units and then by 64: in other text most tries end with the first 16.
template <class SourceT, class TargetT>
[[gnu::always_inline]] inline bool TakeASCII(Cursor<SourceT, TargetT>& at)
{
    const SourceT* const start = at.source;
    while (at.Has(16, 16) && ConvertASCII<16>(at.source, at.target)) {
        at.Advance(16, 16);
        while (at.Has(64, 64) && ConvertASCII<64>(at.source, at.target)) {
            at.Advance(64, 64);
        }
    }
    return at.source != start;
}

/// The shift of the part of a word that comes index-th in memory.
constexpr int ShiftOfPart(int index, int bitsOfPart, int bitsOfWord)
{
    return std::endian::native == std::endian::little ? index * bitsOfPart
                                                      : bitsOfWord - (index + 1) * bitsOfPart;
}

constexpr int ShiftOfByte(int index)
{
    return ShiftOfPart(index, 8, 32);
}

constexpr uint32 FourBytes(uint32 first, uint32 second, uint32 third, uint32 fourth)
{
    return first << ShiftOfByte(0) | second << ShiftOfByte(1) | third << ShiftOfByte(2) |
           fourth << ShiftOfByte(3);
}

inline constexpr int kFirstOfTwo = ShiftOfPart(0, 16, 32);
inline constexpr int kSecondOfTwo = ShiftOfPart(1, 16, 32);

// Four supplementary characters: sixteen bytes in every form.

[[gnu::always_inline]] inline bool AreSupplementary(const Longs& characters)
{
    return IsZero((characters - 0x10000u) & 0xFFF00000u);
}

[[gnu::always_inline]] inline bool LoadSupplementary(Longs& characters, const UTF8* source)
{
    Longs bytes;
    LoadBlock(bytes, source);
    if (!IsZero((bytes & FourBytes(0xF8, 0xC0, 0xC0, 0xC0)) ^ FourBytes(0xF0, 0x80, 0x80, 0x80))) {
        return false;
    }
    characters = (bytes >> ShiftOfByte(0) & 0x07) << 18 | (bytes >> ShiftOfByte(1) & 0x3F) << 12 |
                 (bytes >> ShiftOfByte(2) & 0x3F) << 6 | (bytes >> ShiftOfByte(3) & 0x3F);
    return AreSupplementary(characters);
}

[[gnu::always_inline]] inline bool LoadSupplementary(Longs& characters, const UTF16* source)
{
    Longs pairs;
    LoadBlock(pairs, source);
    if (!IsZero((pairs & 0xFC00FC00u) ^ (0xD800u << kFirstOfTwo | 0xDC00u << kSecondOfTwo))) {
        return false;
    }
    characters =
        ((pairs >> kFirstOfTwo & 0x3FF) << 10 | (pairs >> kSecondOfTwo & 0x3FF)) + 0x10000u;
    return true;
}

[[gnu::always_inline]] inline bool LoadSupplementary(Longs& characters, const UTF32* source)
{
    LoadBlock(characters, source);
    return AreSupplementary(characters);
}

[[gnu::always_inline]] inline void StoreSupplementary(UTF8* target, const Longs& characters)
{
    const Longs bytes = (0xF0u | characters >> 18) << ShiftOfByte(0) |
                        (0x80u | (characters >> 12 & 0x3F)) << ShiftOfByte(1) |
                        (0x80u | (characters >> 6 & 0x3F)) << ShiftOfByte(2) |
                        (0x80u | (characters & 0x3F)) << ShiftOfByte(3);
    StoreBlock(target, bytes);
}

[[gnu::always_inline]] inline void StoreSupplementary(UTF16* target, const Longs& characters)
{
    const Longs offsets = characters - 0x10000u;
    const Longs pairs = (0xD800u | offsets >> 10) << kFirstOfTwo | (0xDC00u | (offsets & 0x3FF))
                                                                       << kSecondOfTwo;
    StoreBlock(target, pairs);
}

[[gnu::always_inline]] inline void StoreSupplementary(UTF32* target, const Longs& characters)
{
    StoreBlock(target, characters);
}

/// Takes characters of the supplementary planes, which have four bytes in UTF-8, by fours.
template <class SourceT, class TargetT>
[[gnu::always_inline]] inline bool TakeSupplementary(Cursor<SourceT, TargetT>& at)
{
    constexpr int kSourceUnits = 16 / sizeof(SourceT);
    constexpr int kTargetUnits = 16 / sizeof(TargetT);
    const SourceT* const start = at.source;
    Longs characters;
    while (at.Has(kSourceUnits, kTargetUnits) && LoadSupplementary(characters, at.source)) {
        StoreSupplementary(at.target, characters);
        at.Advance(kSourceUnits, kTargetUnits);
    }
    return at.source != start;
}

/// Returns whether each takes three bytes in UTF-8 and none is a surrogate.
[[gnu::always_inline]] inline bool AreThreeBytesLong(const Longs& characters)
{
    const Longs high = characters & 0xFFFFF800u;
    const Longs outside = reinterpret_cast<Longs>(high == 0u) |
                          reinterpret_cast<Longs>(high == 0xD800u) | (characters >> 16);
    return IsZero(outside);
}

} // namespace QX
