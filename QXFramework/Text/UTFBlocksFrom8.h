// UTFBlocksFrom8.h - several characters at once, from UTF-8.
#pragma once

#include "UTFBlocks.h"

namespace QX {

#if defined(__SSE2__)

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
    // As signed numbers 0x80 to 0xBF are the lowest, then come 0xC0 to 0xFF, and then ASCII.
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

} // namespace QX
