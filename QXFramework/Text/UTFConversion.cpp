// UTFConversion.cpp - the conversions: by blocks where one takes the text, else by characters.

#include "UTFConversion.h"
#include "UTFBlocksFrom8.h"
#include "UTFBlocksTo8.h"
#include "UTFBlocksWide.h"

#include <algorithm>

namespace QX {
namespace {

/// One character taken from the source, or what is wrong with it.
struct Taken
{
    UTF32 character = 0;
    int units = 0; ///< How many source units it takes.
    ConversionResult result = conversionOK;
};

// Surrogates are judged before the target is looked at: a source that ends in a high surrogate is
// exhausted even when the target is full.
Taken TakeFromUTF16(const UTF16* source, const UTF16* sourceEnd, ConversionMode mode)
{
    const UTF32 unit = source[0];
    if (!IsSurrogate(unit)) {
        return {unit, 1, conversionOK};
    }
    if (IsHighSurrogate(unit)) {
        if (sourceEnd - source < 2) {
            return {unit, 1, sourceExhausted};
        }
        if (IsLowSurrogate(source[1])) {
            return {FromSurrogates(unit, source[1]), 2, conversionOK};
        }
    }
    if (mode == ConversionMode::kStrict) {
        return {unit, 1, sourceIllegal};
    }
    return {mode == ConversionMode::kReplacing ? kReplacementCharacter : unit, 1, conversionOK};
}

Taken TakeFromUTF8(const UTF8* source, const UTF8* sourceEnd)
{
    if (source[0] < 0x80) {
        return {source[0], 1, conversionOK};
    }
    const int length = UTF8SequenceLength(source[0]);
    if (length > sourceEnd - source) {
        return {0, length, sourceExhausted};
    }
    if (!IsLegalUTF8(source, length)) {
        return {0, length, sourceIllegal};
    }
    return {GetUTF8(source, length), length, conversionOK};
}

/// Writes one character; false when it does not fit.
bool Put(UTF32 character, UTF8*& target, const UTF8* targetEnd)
{
    const int length = UTF8Length(character);
    if (targetEnd - target < length) {
        return false;
    }
    PutUTF8(target, character, length);
    target += length;
    return true;
}

bool Put(UTF32 character, UTF16*& target, const UTF16* targetEnd)
{
    const int length = character > kLastBasicPlane ? 2 : 1;
    if (targetEnd - target < length) {
        return false;
    }
    if (length == 2) {
        PutSurrogates(target, character);
    } else {
        *target = static_cast<UTF16>(character);
    }
    target += length;
    return true;
}

bool Put(UTF32 character, UTF32*& target, const UTF32* targetEnd)
{
    if (target >= targetEnd) {
        return false;
    }
    *target++ = character;
    return true;
}

/// How many units are converted one by one, where no block takes the text, before the next try.
constexpr std::ptrdiff_t kUnitsBetweenBlocks = 16;

/// Converts with `step`, which treats one character and stops by answering other than conversionOK.
template <class SourceT, class TargetT, class StepT>
ConversionResult ConvertWith(const SourceT** sourceStart, const SourceT* sourceEnd,
                             TargetT** targetStart, TargetT* targetEnd, StepT step)
{
    Cursor<SourceT, TargetT> at{*sourceStart, sourceEnd, *targetStart, targetEnd};
    ConversionResult result = conversionOK;
    while (result == conversionOK && at.source < sourceEnd) {
        if (TakeBlock(at)) {
            continue;
        }
        const SourceT* const stop =
            at.source + std::min(sourceEnd - at.source, kUnitsBetweenBlocks);
        while (result == conversionOK && at.source < stop) {
            result = step(at);
        }
    }
    *sourceStart = at.source;
    *targetStart = at.target;
    return result;
}

template <class SourceT, class TargetT>
ConversionResult PutTaken(const Taken& taken, Cursor<SourceT, TargetT>& at)
{
    if (taken.result != conversionOK) {
        return taken.result;
    }
    if (!Put(taken.character, at.target, at.targetEnd)) {
        return targetExhausted;
    }
    at.source += taken.units;
    return conversionOK;
}

template <class TargetT>
ConversionResult ConvertFromUTF16(const UTF16** sourceStart, const UTF16* sourceEnd,
                                  TargetT** targetStart, TargetT* targetEnd, ConversionMode mode)
{
    return ConvertWith(sourceStart, sourceEnd, targetStart, targetEnd, [mode](auto& at) {
        return PutTaken(TakeFromUTF16(at.source, at.sourceEnd, mode), at);
    });
}

template <class TargetT>
ConversionResult ConvertFromUTF8(const UTF8** sourceStart, const UTF8* sourceEnd,
                                 TargetT** targetStart, TargetT* targetEnd)
{
    return ConvertWith(sourceStart, sourceEnd, targetStart, targetEnd, [](auto& at) {
        return PutTaken(TakeFromUTF8(at.source, at.sourceEnd), at);
    });
}

} // namespace

int UTF8SequenceLength(UTF8 firstByte)
{
    return firstByte < 0xC0   ? 1
           : firstByte < 0xE0 ? 2
           : firstByte < 0xF0 ? 3
           : firstByte < 0xF8 ? 4
           : firstByte < 0xFC ? 5
                              : 6;
}

bool IsLegalUTF8(const UTF8* source, int length)
{
    const UTF8 first = source[0];
    if (first < 0x80) {
        return true;
    }
    if (first < 0xC2 || first > 0xF4) {
        return false;
    }
    // Shorter forms exist for what E0 and F0 could encode below these; ED from A0 on would be
    // surrogates and F4 from 90 on lies above the last character.
    const UTF8 secondLowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const UTF8 secondHighest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (source[1] < secondLowest || source[1] > secondHighest) {
        return false;
    }
    for (int i = 2; i < length; ++i) {
        if ((source[i] & 0xC0) != 0x80) {
            return false;
        }
    }
    return true;
}

bool IsLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd)
{
    if (source >= sourceEnd) {
        return false;
    }
    const int length = UTF8SequenceLength(source[0]);
    return length <= sourceEnd - source && IsLegalUTF8(source, length);
}

ConversionResult UTF16ToUTF32(const UTF16** sourceStart, const UTF16* sourceEnd,
                              UTF32** targetStart, UTF32* targetEnd, ConversionMode mode)
{
    return ConvertFromUTF16(sourceStart, sourceEnd, targetStart, targetEnd, mode);
}

ConversionResult UTF16ToUTF8(const UTF16** sourceStart, const UTF16* sourceEnd, UTF8** targetStart,
                             UTF8* targetEnd, ConversionMode mode)
{
    return ConvertFromUTF16(sourceStart, sourceEnd, targetStart, targetEnd, mode);
}

ConversionResult UTF8ToUTF16(const UTF8** sourceStart, const UTF8* sourceEnd, UTF16** targetStart,
                             UTF16* targetEnd)
{
    return ConvertFromUTF8(sourceStart, sourceEnd, targetStart, targetEnd);
}

ConversionResult UTF8ToUTF32(const UTF8** sourceStart, const UTF8* sourceEnd, UTF32** targetStart,
                             UTF32* targetEnd)
{
    return ConvertFromUTF8(sourceStart, sourceEnd, targetStart, targetEnd);
}

ConversionResult UTF32ToUTF16(const UTF32** sourceStart, const UTF32* sourceEnd,
                              UTF16** targetStart, UTF16* targetEnd, ConversionMode mode)
{
    const bool strict = mode == ConversionMode::kStrict;
    bool leftOut = false;
    const auto step = [strict, &leftOut](Cursor<UTF32, UTF16>& at) {
        // A full target is reported even where the next unit is no character.
        if (at.target >= at.targetEnd) {
            return targetExhausted;
        }
        UTF32 character = *at.source;
        if (IsSurrogate(character) && strict) {
            return sourceIllegal;
        }
        if (character > kLastCharacter && strict) {
            leftOut = true;
            ++at.source;
            return conversionOK;
        }
        if (IsSurrogate(character) || character > kLastCharacter) {
            character = kReplacementCharacter;
        }
        return PutTaken({character, 1, conversionOK}, at);
    };
    const ConversionResult result =
        ConvertWith(sourceStart, sourceEnd, targetStart, targetEnd, step);
    return result == conversionOK && leftOut ? sourceIllegal : result;
}

ConversionResult UTF32ToUTF8(const UTF32** sourceStart, const UTF32* sourceEnd, UTF8** targetStart,
                             UTF8* targetEnd, ConversionMode mode)
{
    bool replaced = false;
    const auto step = [mode, &replaced](Cursor<UTF32, UTF8>& at) {
        UTF32 character = *at.source;
        if (IsSurrogate(character) && mode == ConversionMode::kStrict) {
            return sourceIllegal;
        }
        if (IsSurrogate(character) && mode == ConversionMode::kReplacing) {
            character = kReplacementCharacter;
        }
        if (character > kLastCharacter) {
            replaced = true;
            character = kReplacementCharacter;
        }
        return PutTaken({character, 1, conversionOK}, at);
    };
    const ConversionResult result =
        ConvertWith(sourceStart, sourceEnd, targetStart, targetEnd, step);
    return result == conversionOK && replaced ? sourceIllegal : result;
}

} // namespace QX
