// UTFRuns.h - fast conversion of text about which no two opinions are possible.
//
// A run takes characters as long as each is well-formed, is no unpaired surrogate and surely fits
// into the target. It stops anywhere, at once if it likes; what follows is for the caller to judge.
// So no flag and no order of tests can make a difference here.
#pragma once

#include "UTFBlocks.h"
#include "UTFWide.h"

#include <algorithm>

namespace QX {

/// The places in a source and a target up to which a conversion has come, and their ends.
template <class SourceT, class TargetT>
struct Cursor
{
    const SourceT* source;
    const SourceT* const sourceEnd;
    TargetT* target;
    TargetT* const targetEnd;

    /// Tells whether so many source units are left, and room for so many target units.
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

template <class SourceT, class TargetT>
[[gnu::always_inline]] inline void RunOverASCII(Cursor<SourceT, TargetT>& at)
{
    if (at.Has(kLongASCII, kLongASCII)) {
        const std::ptrdiff_t units = std::min(at.sourceEnd - at.source, at.targetEnd - at.target);
        const std::ptrdiff_t converted = ConvertLongASCII(at.source, at.target, units);
        at.Advance(converted, converted);
    }
    while (at.Has(64, 64) && ConvertASCII<64>(at.source, at.target)) {
        at.Advance(64, 64);
    }
    while (at.Has(16, 16) && ConvertASCII<16>(at.source, at.target)) {
        at.Advance(16, 16);
    }
}

/// Takes four characters of four bytes in UTF-8 at a time.
template <class SourceT, class TargetT>
[[gnu::always_inline]] inline bool TakeFourSupplementary(Cursor<SourceT, TargetT>& at)
{
    constexpr int kSourceUnits = 16 / sizeof(SourceT);
    constexpr int kTargetUnits = 16 / sizeof(TargetT);
    if (!at.Has(kSourceUnits, kTargetUnits) || !ConvertFourSupplementary(at.source, at.target)) {
        return false;
    }
    at.Advance(kSourceUnits, kTargetUnits);
    return true;
}

// From UTF-8.

constexpr bool IsContinuation(UTF32 byte)
{
    return (byte ^ 0x80) < 0x40;
}

/// Takes one character of two bytes.
template <class TargetT>
[[gnu::always_inline]] inline bool TakeTwoBytes(Cursor<UTF8, TargetT>& at)
{
    const UTF32 first = at.source[0];
    const UTF32 second = at.source[1];
    if (first - 0xC2 > 0xDF - 0xC2 || !IsContinuation(second)) {
        return false;
    }
    *at.target = static_cast<TargetT>((first & 0x1F) << 6 | (second & 0x3F));
    at.Advance(2, 1);
    return true;
}

/// Takes one character of three bytes.
template <class TargetT>
[[gnu::always_inline]] inline bool TakeThreeBytes(Cursor<UTF8, TargetT>& at)
{
    if (!IsContinuation(at.source[1]) || !IsContinuation(at.source[2])) {
        return false;
    }
    const UTF32 character = GetUTF8(at.source, 3);
    if ((at.source[0] & 0xF0) != 0xE0 || character < 0x800 || IsSurrogate(character)) {
        return false;
    }
    *at.target = static_cast<TargetT>(character);
    at.Advance(3, 1);
    return true;
}

/// Takes one character of four bytes.
template <class TargetT>
[[gnu::always_inline]] inline bool TakeFourBytes(Cursor<UTF8, TargetT>& at)
{
    if (!IsLegalUTF8(at.source, 4)) {
        return false;
    }
    const UTF32 character = GetUTF8(at.source, 4);
    if constexpr (sizeof(TargetT) == 2) {
        PutSurrogates(at.target, character);
        at.Advance(4, 2);
    } else {
        *at.target = character;
        at.Advance(4, 1);
    }
    return true;
}

/// Takes the characters of one length that stand at the cursor: by fours, and the rest one by one.
///
/// Requires: four bytes and room for two units; a first byte that is no ASCII.
template <class TargetT>
[[gnu::always_inline]] inline bool TakeAlike(Cursor<UTF8, TargetT>& at)
{
    const UTF8* const start = at.source;
    const UTF8 first = *start;
    if (first < 0xE0) {
        int count = 4;
        while (count == 4 && at.Has(8, 4)) {
            count = ConvertTwoByteSequences(at.source, at.target);
            at.Advance(2 * count, count);
        }
        while (count == 4 && at.Has(2, 1) && TakeTwoBytes(at)) {
        }
    } else if (first < 0xF0) {
        while (at.Has(16, 4) && ConvertFourOfThreeBytes(at.source, at.target)) {
            at.Advance(12, 4);
        }
        while (at.Has(3, 1) && TakeThreeBytes(at)) {
        }
    } else {
        while (TakeFourSupplementary(at)) {
        }
        if (at.Has(4, 2) && *at.source >= 0xF0) {
            TakeFourBytes(at);
        }
    }
    return at.source != start;
}

template <class TargetT>
[[gnu::always_inline]] inline void Run(Cursor<UTF8, TargetT>& at)
{
    RunOverASCII(at);
    while (at.Has(4, 2)) {
        if (*at.source >= 0x80) {
            if (!TakeAlike(at)) {
                break;
            }
            continue;
        }
        *at.target = *at.source;
        at.Advance(1, 1);
        if (at.source[0] < 0x80 && at.source[1] < 0x80) {
            RunOverASCII(at);
        }
    }
}

// To UTF-8.

[[gnu::always_inline]] inline bool LoadEightShort(Words& words, const UTF16* source)
{
    LoadBlock(words, source);
    return IsZero(words & 0xF800);
}

[[gnu::always_inline]] inline bool LoadEightShort(Words& words, const UTF32* source)
{
    Longs firstFour;
    Longs lastFour;
    LoadBlock(firstFour, source);
    LoadBlock(lastFour, source + 4);
    if (!IsZero((firstFour | lastFour) & 0xFFFFF800u)) {
        return false;
    }
    Block<uint32, 8> units;
    LoadBlock(units, source);
    words = __builtin_convertvector(units, Words);
    return true;
}

/// Takes eight characters of one or two bytes, whichever each needs.
///
/// Each two of them become two to four bytes in a long.
template <class SourceT>
[[gnu::always_inline]] inline bool TakeEightShort(Cursor<SourceT, UTF8>& at)
{
    Words words;
    if (std::endian::native != std::endian::little || !at.Has(8, 16) ||
        !LoadEightShort(words, at.source)) {
        return false;
    }
    const Words isOneByte = reinterpret_cast<Words>((words & 0x780) == 0);
    const Words twoBytes = (0xC0 | words >> 6) | (0x80 | (words & 0x3F)) << 8;
    const Longs apart = reinterpret_cast<Longs>((isOneByte & words) | (~isOneByte & twoBytes));
    const Longs together = (apart & 0xFF) | (apart >> 16) << 8;
    const Longs isFirstOneByte =
        reinterpret_cast<Longs>(reinterpret_cast<Block<int32, 4>>(isOneByte) << 16 >> 16);
    const Longs bytes = (isFirstOneByte & together) | (~isFirstOneByte & apart);
    const Longs lengthsOfTwo = reinterpret_cast<Longs>(isOneByte + 2);
    const Longs lengths = (lengthsOfTwo & 0xFFFF) + (lengthsOfTwo >> 16);

    // Always four bytes: what is too much is overwritten by the next two characters. The last two
    // have none behind them and are written from both ends.
    UTF8* target = at.target;
    for (int i = 0; i < 3; ++i) {
        const uint32 fourBytes = bytes[i];
        std::memcpy(target, &fourBytes, 4);
        target += lengths[i];
    }
    const auto first = static_cast<uint16>(bytes[3]);
    const auto last = static_cast<uint16>(bytes[3] >> (8 * lengths[3] - 16));
    std::memcpy(target, &first, 2);
    std::memcpy(target + lengths[3] - 2, &last, 2);
    at.source += 8;
    at.target = target + lengths[3];
    return true;
}

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

/// Takes the characters at the cursor if several of a kind stand there.
template <class SourceT>
[[gnu::always_inline]] inline bool TakeSeveral(Cursor<SourceT, UTF8>& at)
{
    const UTF32 unit = at.source[0];
    return unit < 0x800    ? TakeEightShort(at)
           : unit < 0xD800 ? TakeFourOfThreeBytes(at)
                           : TakeFourSupplementary(at);
}

template <class SourceT>
[[gnu::always_inline]] inline bool TakeOne(Cursor<SourceT, UTF8>& at)
{
    UTF32 unit = at.source[0];
    int units = 1;
    if (sizeof(SourceT) == 2 && IsSurrogate(unit)) {
        if (!IsHighSurrogate(unit) || !IsLowSurrogate(at.source[1])) {
            return false;
        }
        unit = FromSurrogates(unit, at.source[1]);
        units = 2;
    } else if (IsSurrogate(unit) || unit > kLastCharacter) {
        return false;
    }
    const int length = UTF8Length(unit);
    PutUTF8(at.target, unit, length);
    at.Advance(units, length);
    return true;
}

template <class SourceT>
[[gnu::always_inline]] inline void Run(Cursor<SourceT, UTF8>& at)
{
    RunOverASCII(at);
    while (at.Has(2, 4)) {
        if (at.source[0] < 0x80 && at.source[1] < 0x80) {
            const SourceT* const start = at.source;
            RunOverASCII(at);
            if (at.source != start) {
                continue;
            }
        }
        if (!TakeSeveral(at) && !TakeOne(at)) {
            break;
        }
    }
}

// Between UTF-16 and UTF-32.

[[gnu::always_inline]] inline bool TakeOne(Cursor<UTF16, UTF32>& at)
{
    const UTF32 unit = at.source[0];
    if (!IsSurrogate(unit)) {
        *at.target = unit;
        at.Advance(1, 1);
        return true;
    }
    if (!IsHighSurrogate(unit) || !IsLowSurrogate(at.source[1])) {
        return false;
    }
    *at.target = FromSurrogates(unit, at.source[1]);
    at.Advance(2, 1);
    return true;
}

[[gnu::always_inline]] inline bool TakeOne(Cursor<UTF32, UTF16>& at)
{
    const UTF32 character = at.source[0];
    if (character > kLastCharacter || IsSurrogate(character)) {
        return false;
    }
    if (character <= kLastBasicPlane) {
        *at.target = static_cast<UTF16>(character);
        at.Advance(1, 1);
    } else {
        PutSurrogates(at.target, character);
        at.Advance(1, 2);
    }
    return true;
}

template <class SourceT, class TargetT>
[[gnu::always_inline]] inline void Run(Cursor<SourceT, TargetT>& at)
{
    static_assert(sizeof(SourceT) + sizeof(TargetT) == 6);
    RunOverASCII(at);
    do {
        while (at.Has(32, 32) && ConvertBasic<32>(at.source, at.target)) {
            at.Advance(32, 32);
        }
        while (at.Has(8, 8) && ConvertBasic<8>(at.source, at.target)) {
            at.Advance(8, 8);
        }
        while (TakeFourSupplementary(at)) {
        }
    } while (at.Has(2, 2) && TakeOne(at));
}

} // namespace QX
