// UTFConversion.h - the conversions of <QX/ConvertUTF.h>, under names of the framework's own.
//
// Other libraries of a process may define the exported names as well, and the loader binds every
// call through such a name to one of the definitions. These functions are hidden: calls from within
// the framework reach these functions only.
#pragma once

#include <QX/ConvertUTF.h>

namespace QX {

/// What a conversion does with surrogates that are not paired, and with values above 0x10FFFF.
enum class ConversionMode
{
    kStrict,   ///< as strictConversion
    kLenient,  ///< as lenientConversion
    kReplacing ///< as kLenient, but writes U+FFFD for each unpaired surrogate
};

// Parameters and results as those of the exported function of the same widths. From UTF-8 there is
// one mode: what is ill-formed stops the conversion.
ConversionResult UTF32ToUTF16(const UTF32** sourceStart, const UTF32* sourceEnd,
                              UTF16** targetStart, UTF16* targetEnd, ConversionMode mode);
ConversionResult UTF16ToUTF32(const UTF16** sourceStart, const UTF16* sourceEnd,
                              UTF32** targetStart, UTF32* targetEnd, ConversionMode mode);
ConversionResult UTF16ToUTF8(const UTF16** sourceStart, const UTF16* sourceEnd, UTF8** targetStart,
                             UTF8* targetEnd, ConversionMode mode);
ConversionResult UTF8ToUTF16(const UTF8** sourceStart, const UTF8* sourceEnd, UTF16** targetStart,
                             UTF16* targetEnd);
ConversionResult UTF32ToUTF8(const UTF32** sourceStart, const UTF32* sourceEnd, UTF8** targetStart,
                             UTF8* targetEnd, ConversionMode mode);
ConversionResult UTF8ToUTF32(const UTF8** sourceStart, const UTF8* sourceEnd, UTF32** targetStart,
                             UTF32* targetEnd);

/// Returns the number of bytes that a sequence with this first byte announces, 1 to 6. Bytes that
/// begin no well-formed sequence count too: C0 and C1 announce two, F5 to F7 four, F8 to FB five,
/// FC to FF six; 80 to BF count as one.
int UTF8SequenceLength(UTF8 firstByte);

/// Returns whether the `length` bytes at `source` are one well-formed sequence.
///
/// Requires: `length` readable bytes; `length` is what the first byte announces.
bool IsLegalUTF8(const UTF8* source, int length);

/// Returns whether the range begins with a well-formed sequence.
bool IsLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd);

} // namespace QX
