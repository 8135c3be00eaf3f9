// UTFBlocks.h - several characters of one kind, tested and converted in one go.
//
// Written with the compilers' generic vectors: SSE2 on x86-64, plain words where the target has no
// vector unit. Nothing here writes any unit beyond the characters that it converts: what lies
// behind the converted text in a target is the caller's and stays as it was.
#pragma once

#include "UTFCodec.h"

#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace QX {

template <class UnitT, int kUnits>
struct BlockOf
{
    typedef UnitT type __attribute__((vector_size(sizeof(UnitT) * kUnits)));
};

template <class UnitT, int kUnits>
using Block = typename BlockOf<UnitT, kUnits>::type;

using Longs = Block<uint32, 4>;
using Words = Block<uint16, 8>;

// Blocks are handed over by reference: how a vector wider than the machine's is passed by value
// depends on the options of the compilation.
template <class BlockT, class UnitT>
[[gnu::always_inline]] inline void LoadBlock(BlockT& block, const UnitT* source)
{
    std::memcpy(&block, source, sizeof(BlockT));
}

template <class BlockT, class UnitT>
[[gnu::always_inline]] inline void StoreBlock(UnitT* target, const BlockT& block)
{
    std::memcpy(target, &block, sizeof(BlockT));
}

template <class BlockT>
[[gnu::always_inline]] inline bool IsZero(const BlockT& block)
{
#if defined(__SSE2__)
    if constexpr (sizeof(BlockT) == 16) {
        const __m128i zero = _mm_setzero_si128();
        return _mm_movemask_epi8(_mm_cmpeq_epi8(reinterpret_cast<__m128i>(block), zero)) == 0xFFFF;
    }
#endif
    uint64 parts[sizeof(BlockT) / sizeof(uint64)];
    std::memcpy(parts, &block, sizeof(BlockT));
    uint64 all = 0;
    for (const uint64 part : parts) {
        all |= part;
    }
    return all == 0;
}

/// Writes the units of the block in the target's width; the values fit.
///
/// Bytes become longs, and longs bytes, by way of words: GCC has no direct vector code for it.
template <class SourceT, int kUnits, class TargetT>
[[gnu::always_inline]] inline void StoreAs(TargetT* target, const Block<SourceT, kUnits>& block)
{
    if constexpr (sizeof(SourceT) == sizeof(TargetT)) {
        StoreBlock(target, block);
    } else if constexpr (sizeof(SourceT) + sizeof(TargetT) == 5) {
        const auto words = __builtin_convertvector(block, Block<uint16, kUnits>);
        StoreBlock(target, __builtin_convertvector(words, Block<TargetT, kUnits>));
    } else {
        StoreBlock(target, __builtin_convertvector(block, Block<TargetT, kUnits>));
    }
}

/// Converts so many units, a multiple of sixteen, if all are ASCII.
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

/// Where a part of a word lies that is the index-th in memory.
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

template <class SourceT, class TargetT>
[[gnu::always_inline]] inline bool ConvertFourSupplementary(const SourceT* source, TargetT* target)
{
    Longs characters;
    if (!LoadSupplementary(characters, source)) {
        return false;
    }
    StoreSupplementary(target, characters);
    return true;
}

/// Tells whether each takes three bytes in UTF-8 and none is a surrogate.
[[gnu::always_inline]] inline bool AreThreeBytesLong(const Longs& characters)
{
    const Longs high = characters & 0xFFFFF800u;
    const Longs strange = reinterpret_cast<Longs>(high == 0u) |
                          reinterpret_cast<Longs>(high == 0xD800u) | (characters >> 16);
    return IsZero(strange);
}

/// Converts four sequences of three bytes; reads sixteen bytes.
template <class TargetT>
[[gnu::always_inline]] inline bool ConvertFourOfThreeBytes(const UTF8* source, TargetT* target)
{
    uint32 bytesOfEach[4];
    for (std::size_t i = 0; i < 4; ++i) {
        std::memcpy(&bytesOfEach[i], source + 3 * i, 4);
    }
    const Longs bytes = {bytesOfEach[0], bytesOfEach[1], bytesOfEach[2], bytesOfEach[3]};
    if (!IsZero((bytes & FourBytes(0xF0, 0xC0, 0xC0, 0)) ^ FourBytes(0xE0, 0x80, 0x80, 0))) {
        return false;
    }
    const Longs characters = (bytes >> ShiftOfByte(0) & 0x0F) << 12 |
                             (bytes >> ShiftOfByte(1) & 0x3F) << 6 |
                             (bytes >> ShiftOfByte(2) & 0x3F);
    if (!AreThreeBytesLong(characters)) {
        return false;
    }
    StoreAs<uint32, 4>(target, characters);
    return true;
}

/// The same sixteen bits four times.
constexpr uint64 FourTimes(uint64 word)
{
    return word * 0x0001000100010001u;
}

/// Converts the sequences of two bytes that stand at the source, up to four, and returns how many.
///
/// Reads eight bytes.
template <class TargetT>
[[gnu::always_inline]] inline int ConvertTwoByteSequences(const UTF8* source, TargetT* target)
{
    constexpr int kLead = ShiftOfPart(0, 8, 16);
    constexpr int kTrail = ShiftOfPart(1, 8, 16);
    constexpr uint64 kMask = FourTimes(0xE0u << kLead | 0xC0u << kTrail);
    constexpr uint64 kForm = FourTimes(0xC0u << kLead | 0x80u << kTrail);
    uint64 bytes;
    std::memcpy(&bytes, source, sizeof(bytes));
    const uint64 characters =
        (bytes >> kLead & FourTimes(0x1F)) << 6 | (bytes >> kTrail & FourTimes(0x3F));
    // What one byte is for does not reach the highest bit of its word.
    const uint64 isSmall = ~(characters + FourTimes(0x8000 - 0x80)) & FourTimes(0x8000);
    const uint64 isStrange = ((bytes & kMask) ^ kForm) | isSmall;
    if (isStrange == 0) {
        if constexpr (sizeof(TargetT) == 2) {
            std::memcpy(target, &characters, sizeof(characters));
        } else {
            for (int i = 0; i < 4; ++i) {
                target[i] = characters >> ShiftOfPart(i, 16, 64) & 0xFFFF;
            }
        }
        return 4;
    }
    const int count = (std::endian::native == std::endian::little ? std::countr_zero(isStrange)
                                                                  : std::countl_zero(isStrange)) /
                      16;
    for (int i = 0; i < count; ++i) {
        target[i] = static_cast<TargetT>(characters >> ShiftOfPart(i, 16, 64) & 0xFFFF);
    }
    return count;
}

/// Converts so many characters, a multiple of eight, if none is a surrogate.
template <int kUnits>
[[gnu::always_inline]] inline bool ConvertBasic(const UTF16* source, UTF32* target)
{
    Words strange = {};
    for (int i = 0; i < kUnits; i += 8) {
        Words units;
        LoadBlock(units, source + i);
        strange |= reinterpret_cast<Words>((units & 0xF800) == 0xD800);
    }
    if (!IsZero(strange)) {
        return false;
    }
    for (int i = 0; i < kUnits; i += 8) {
        Words units;
        LoadBlock(units, source + i);
        StoreAs<uint16, 8>(target + i, units);
    }
    return true;
}

/// Converts so many characters, a multiple of eight, if none is a surrogate or beyond the basic
/// plane.
template <int kUnits>
[[gnu::always_inline]] inline bool ConvertBasic(const UTF32* source, UTF16* target)
{
    Longs strange = {};
    for (int i = 0; i < kUnits; i += 4) {
        Longs units;
        LoadBlock(units, source + i);
        strange |= (units >> 16) | reinterpret_cast<Longs>((units & 0xF800u) == 0xD800u);
    }
    if (!IsZero(strange)) {
        return false;
    }
    for (int i = 0; i < kUnits; i += 8) {
        Block<uint32, 8> units;
        LoadBlock(units, source + i);
        StoreAs<uint32, 8>(target + i, units);
    }
    return true;
}

} // namespace QX
