// UTFBlocks.h - several characters at once, where they are well-formed and fit.
//
// TakeBlock converts well-formed text only: it takes some characters, or none and returns false. So
// no mode and no order of tests can make a difference here; the conversion unit by unit judges what
// no block takes.
//
// Written with the compilers' generic vectors: SSE2 on x86-64, plain words where the target has no
// vector unit. Nothing is written beyond the characters that a block converts: the rest of the
// target is the caller's and stays as it was.
#pragma once

#include "UTFCodec.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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
    const Longs strange = reinterpret_cast<Longs>(high == 0u) |
                          reinterpret_cast<Longs>(high == 0xD800u) | (characters >> 16);
    return IsZero(strange);
}

// From UTF-8.

#if defined(__SSE2__)

/// Which of sixteen bytes have a set highest bit.
[[gnu::always_inline]] inline uint32 MaskOf(__m128i bytes)
{
    return static_cast<uint32>(_mm_movemask_epi8(bytes));
}

/// Computes the characters that end at eight bytes: `low` has their bits of these bytes, `high`
/// those of the bytes before, and zero where no character ends, which is at a lead. Of two bytes
/// the first character comes first, whether or not the first of them is a lead.
template <class TargetT>
[[gnu::always_inline]] inline void EndShort(TargetT* characters, __m128i low, __m128i high,
                                            __m128i isLead)
{
    const __m128i apart = _mm_or_si128(low, _mm_srli_epi16(high, 2));
    const __m128i second = _mm_and_si128(isLead, _mm_srli_epi32(apart, 16));
    StoreAs<uint16, 8>(characters, reinterpret_cast<Words>(_mm_or_si128(apart, second)));
}

/// Takes characters of one and two bytes in any mixture from sixteen bytes.
template <class TargetT>
[[gnu::always_inline]] inline bool TakeShort(Cursor<UTF8, TargetT>& at)
{
    if (!at.Has(16, 16)) {
        return false;
    }
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at.source));
    const uint32 notASCII = MaskOf(bytes);
    if (notASCII == 0) {
        return TakeASCII(at);
    }
    // As signed numbers 80 to BF are the lowest, C0 to FF lie above them and ASCII above those.
    const __m128i isContinuation = _mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x40));
    const uint32 continuations = MaskOf(isContinuation);
    const uint32 leads = notASCII & ~continuations;
    const __m128i isLead = _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(-0x3F)),
                                         _mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x20)));
    if (MaskOf(isLead) != leads || continuations != (leads << 1 & 0xFFFF)) {
        return false;
    }
    const __m128i zero = _mm_setzero_si128();
    const __m128i before = _mm_slli_si128(bytes, 1);
    const __m128i mark = _mm_and_si128(isContinuation, _mm_set1_epi8(-0x80));
    const __m128i low = _mm_xor_si128(_mm_andnot_si128(isLead, bytes), mark);
    const __m128i high = _mm_and_si128(_mm_and_si128(before, isContinuation), _mm_set1_epi8(0x1F));
    // Two bytes end one or two characters.
    TargetT characters[16];
    uint16 counts[8];
    EndShort(characters, _mm_unpacklo_epi8(low, zero), _mm_unpacklo_epi8(zero, high),
             _mm_unpacklo_epi8(isLead, isLead));
    EndShort(characters + 8, _mm_unpackhi_epi8(low, zero), _mm_unpackhi_epi8(zero, high),
             _mm_unpackhi_epi8(isLead, isLead));
    const Words ends = reinterpret_cast<Words>(_mm_add_epi8(isLead, _mm_set1_epi8(1)));
    StoreBlock(counts, Words((ends & 0xFF) + (ends >> 8)));

    // Always two units: the next characters overwrite what is too much. The last two bytes
    // have none after them; their characters are written from both ends.
    TargetT* target = at.target;
    for (int i = 0; i < 7; ++i) {
        std::memcpy(target, characters + 2 * i, 2 * sizeof(TargetT));
        target += counts[i];
    }
    *target = characters[14];
    target += counts[7];
    target[-1] = characters[13 + counts[7]];
    // A lead in the last place is left to the next block.
    at.source += 16 - (leads >> 15);
    at.target = target;
    return true;
}

#else

template <class TargetT>
[[gnu::always_inline]] inline bool TakeShort(Cursor<UTF8, TargetT>& at)
{
    return TakeASCII(at);
}

#endif

/// Computes the characters of four sequences of three bytes, if that is what the source has. Reads
/// sixteen bytes.
[[gnu::always_inline]] inline bool LoadFourOfThreeBytes(Longs& characters, const UTF8* source)
{
    uint32 bytesOfEach[4];
    for (std::size_t i = 0; i < 4; ++i) {
        std::memcpy(&bytesOfEach[i], source + 3 * i, 4);
    }
    const Longs bytes = {bytesOfEach[0], bytesOfEach[1], bytesOfEach[2], bytesOfEach[3]};
    if (!IsZero((bytes & FourBytes(0xF0, 0xC0, 0xC0, 0)) ^ FourBytes(0xE0, 0x80, 0x80, 0))) {
        return false;
    }
    characters = (bytes >> ShiftOfByte(0) & 0x0F) << 12 | (bytes >> ShiftOfByte(1) & 0x3F) << 6 |
                 (bytes >> ShiftOfByte(2) & 0x3F);
    return AreThreeBytesLong(characters);
}

/// Takes characters of three bytes by fours.
template <class TargetT>
[[gnu::always_inline]] inline bool TakeThreeBytes(Cursor<UTF8, TargetT>& at)
{
    const UTF8* const start = at.source;
    Longs characters;
    while (at.Has(16, 4) && LoadFourOfThreeBytes(characters, at.source)) {
        StoreAs<uint32, 4>(at.target, characters);
        at.Advance(12, 4);
    }
    return at.source != start;
}

template <class TargetT>
[[gnu::always_inline]] inline bool TakeBlock(Cursor<UTF8, TargetT>& at)
{
    const UTF8 first = at.source[0];
    return first < 0xE0 ? TakeShort(at) : first < 0xF0 ? TakeThreeBytes(at) : TakeSupplementary(at);
}

// To UTF-8.

#if defined(__SSE2__)

/// Loads eight units as words. One that is too great for a word becomes one of 800 or above.
[[gnu::always_inline]] inline __m128i LoadEightWords(const UTF16* source)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
}

[[gnu::always_inline]] inline __m128i LoadEightWords(const UTF32* source)
{
    const auto* const fours = reinterpret_cast<const __m128i*>(source);
    return _mm_packs_epi32(_mm_loadu_si128(fours), _mm_loadu_si128(fours + 1));
}

/// Where the four pairs of eight short characters end in UTF-8.
using EndsOfPairs = std::array<UTF8, 4>;

/// The ends, by which of the eight take two bytes: the lowest bit is the first character's.
inline constexpr std::array<EndsOfPairs, 256> kEndsOfPairs = [] {
    std::array<EndsOfPairs, 256> table{};
    for (uint32 longOnes = 0; longOnes < 256; ++longOnes) {
        for (uint32 pair = 0; pair < 4; ++pair) {
            const uint32 characters = 2 * pair + 2;
            const int longer = std::popcount(longOnes & ((1u << characters) - 1));
            table[longOnes][pair] = static_cast<UTF8>(characters + static_cast<uint32>(longer));
        }
    }
    return table;
}();

/// Returns the choice's bits where the mask is set, and the other's where it is not.
[[gnu::always_inline]] inline __m128i Choose(__m128i mask, __m128i choice, __m128i other)
{
    return _mm_or_si128(_mm_and_si128(mask, choice), _mm_andnot_si128(mask, other));
}

/// Computes four pairs of characters below 800 in UTF-8: each has two to four bytes from the lowest
/// of a long on.
[[gnu::always_inline]] inline Longs PairShort(__m128i words, __m128i isLong)
{
    const __m128i leads = _mm_srli_epi16(words, 6);
    const __m128i trails = _mm_and_si128(_mm_slli_epi16(words, 8), _mm_set1_epi16(0x3F00));
    const __m128i marks = _mm_set1_epi16(static_cast<short>(0x80C0));
    const __m128i twoBytes = _mm_or_si128(_mm_or_si128(leads, trails), marks);
    const __m128i apart = Choose(isLong, twoBytes, words);
    // Behind a single byte the second character moves down by one.
    const __m128i isFirstLong = _mm_srai_epi32(_mm_slli_epi32(isLong, 16), 16);
    const __m128i second = _mm_slli_epi32(_mm_srli_epi32(apart, 16), 16);
    const __m128i first = _mm_xor_si128(apart, second);
    const __m128i placed = Choose(isFirstLong, second, _mm_srli_epi32(second, 8));
    return reinterpret_cast<Longs>(_mm_or_si128(first, placed));
}

/// Writes what PairShort has computed, and nothing behind it.
[[gnu::always_inline]] inline void StorePairs(UTF8* target, const Longs& pairs,
                                              const EndsOfPairs& ends)
{
    // Always four bytes: the next pair overwrites what is too much. The last pair has none
    // after it and is written from both ends.
    const std::array<int, 3> starts = {0, ends[0], ends[1]};
    for (std::size_t i = 0; i < 3; ++i) {
        const uint32 pair = pairs[i];
        std::memcpy(target + starts[i], &pair, 4);
    }
    const int lengthOfLast = ends[3] - ends[2];
    const auto firstHalf = static_cast<uint16>(pairs[3]);
    const auto lastHalf = static_cast<uint16>(pairs[3] >> (8 * lengthOfLast - 16));
    std::memcpy(target + ends[2], &firstHalf, 2);
    std::memcpy(target + ends[3] - 2, &lastHalf, 2);
}

/// Takes characters of one and two bytes in any mixture, by eights. It ends now and then, because
/// much ASCII is taken faster by TakeASCII.
template <class SourceT>
[[gnu::always_inline]] inline bool TakeShort(Cursor<SourceT, UTF8>& at)
{
    constexpr std::ptrdiff_t kMostBlocks = 64;
    const SourceT* const start = at.source;
    std::ptrdiff_t blocks =
        std::min({kMostBlocks, (at.sourceEnd - at.source) / 8, (at.targetEnd - at.target) / 16});
    for (; blocks > 0; --blocks) {
        const __m128i words = LoadEightWords(at.source);
        // Saturating sums: the highest bit is set where a word is 80 or above, and 800 or above.
        const __m128i from80 = _mm_adds_epu16(words, _mm_set1_epi16(0x7F80));
        const __m128i from800 = _mm_adds_epu16(words, _mm_set1_epi16(0x7800));
        const uint32 longOnes = MaskOf(_mm_packs_epi16(from80, from800));
        if (longOnes > 0xFF) {
            break;
        }
        if (longOnes == 0) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(at.target), _mm_packus_epi16(words, words));
            at.Advance(8, 8);
            continue;
        }
        const EndsOfPairs& ends = kEndsOfPairs[longOnes];
        StorePairs(at.target, PairShort(words, _mm_srai_epi16(from80, 15)), ends);
        at.Advance(8, ends[3]);
    }
    return at.source != start;
}

#else

template <class SourceT>
[[gnu::always_inline]] inline bool TakeShort(Cursor<SourceT, UTF8>&)
{
    return false;
}

#endif

/// Takes four characters of three bytes.
template <class SourceT>
[[gnu::always_inline]] inline bool TakeFourOfThreeBytes(Cursor<SourceT, UTF8>& at)
{
    if (!at.Has(4, 12)) {
        return false;
    }
    Block<SourceT, 4> units;
    LoadBlock(units, at.source);
    Longs characters;
    StoreAs<SourceT, 4>(reinterpret_cast<uint32*>(&characters), units);
    if (!AreThreeBytesLong(characters)) {
        return false;
    }
    if constexpr (std::endian::native == std::endian::little) {
        const Longs bytes = (0xE0 | characters >> 12) | (0x80 | (characters >> 6 & 0x3F)) << 8 |
                            (0x80 | (characters & 0x3F)) << 16;
        uint64 pairs[2];
        std::memcpy(pairs, &bytes, sizeof(pairs));
        for (uint64& pair : pairs) {
            pair = (pair & 0xFFFFFF) | (pair >> 8 & 0xFFFFFF000000);
        }
        const uint64 firstEight = pairs[0] | pairs[1] << 48;
        const auto lastFour = static_cast<uint32>(pairs[1] >> 16);
        std::memcpy(at.target, &firstEight, 8);
        std::memcpy(at.target + 8, &lastFour, 4);
    } else {
        for (int i = 0; i < 4; ++i) {
            PutUTF8(at.target + 3 * i, characters[i], 3);
        }
    }
    at.Advance(4, 12);
    return true;
}

template <class SourceT>
[[gnu::always_inline]] inline bool TakeBlock(Cursor<SourceT, UTF8>& at)
{
    const UTF32 unit = at.source[0];
    if (unit < 0x80 && TakeASCII(at)) {
        return true;
    }
    return unit < 0x800    ? TakeShort(at)
           : unit < 0xD800 ? TakeFourOfThreeBytes(at)
                           : TakeSupplementary(at);
}

// Between UTF-16 and UTF-32.

/// Converts `kUnits` characters, a multiple of eight, if none is a surrogate.
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

/// Converts `kUnits` characters, a multiple of eight, if none is a surrogate or beyond the basic
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

template <class SourceT, class TargetT>
[[gnu::always_inline]] inline bool TakeBlock(Cursor<SourceT, TargetT>& at)
{
    static_assert(sizeof(SourceT) + sizeof(TargetT) == 6);
    const SourceT* const start = at.source;
    while (at.Has(32, 32) && ConvertBasic<32>(at.source, at.target)) {
        at.Advance(32, 32);
    }
    while (at.Has(8, 8) && ConvertBasic<8>(at.source, at.target)) {
        at.Advance(8, 8);
    }
    return at.source != start || TakeSupplementary(at);
}

} // namespace QX
