// UTFBlocksTo8.h - several characters at once, to UTF-8.
#pragma once

#include "UTFBlocks.h"

#include <algorithm>
#include <array>

namespace QX {

#if defined(__SSE2__)

/// Loads eight units as words. One that is too great for a word becomes one of 0x800 or above.
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

/// Computes four pairs of characters below 0x800 in UTF-8: each has two to four bytes, the first in
/// the lowest byte of a long.
[[gnu::always_inline]] inline Longs PairShort(__m128i words, __m128i isLong)
{
    const __m128i leads = _mm_srli_epi16(words, 6);
    const __m128i trails = _mm_and_si128(_mm_slli_epi16(words, 8), _mm_set1_epi16(0x3F00));
    const __m128i marks = _mm_set1_epi16(static_cast<short>(0x80C0));
    const __m128i twoBytes = _mm_or_si128(_mm_or_si128(leads, trails), marks);
    const __m128i apart = Choose(isLong, twoBytes, words);
    // After a single byte the second character moves down by one.
    const __m128i isFirstLong = _mm_srai_epi32(_mm_slli_epi32(isLong, 16), 16);
    const __m128i second = _mm_slli_epi32(_mm_srli_epi32(apart, 16), 16);
    const __m128i first = _mm_xor_si128(apart, second);
    const __m128i placed = Choose(isFirstLong, second, _mm_srli_epi32(second, 8));
    return reinterpret_cast<Longs>(_mm_or_si128(first, placed));
}

/// Writes what PairShort has computed, and nothing after it.
[[gnu::always_inline]] inline void StorePairs(UTF8* target, const Longs& pairs,
                                              const EndsOfPairs& ends)
{
    // Stores of a fixed size are the fastest: the next pair overwrites what is too much. The last
    // pair has none after it and is written from both ends.
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

/// Takes characters of one and two bytes in any mixture, by eights. It ends after 64 of these,
/// because TakeASCII is faster where only ASCII follows.
template <class SourceT>
[[gnu::always_inline]] inline bool TakeShort(Cursor<SourceT, UTF8>& at)
{
    constexpr std::ptrdiff_t kMostBlocks = 64;
    const SourceT* const start = at.source;
    std::ptrdiff_t blocks =
        std::min({kMostBlocks, (at.sourceEnd - at.source) / 8, (at.targetEnd - at.target) / 16});
    for (; blocks > 0; --blocks) {
        const __m128i words = LoadEightWords(at.source);
        // Saturating sums: the highest bit is set from 0x80 on, and from 0x800 on.
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

} // namespace QX
