// ConvertUTF.h - conversion between UTF-8, UTF-16 and UTF-32, exported with C linkage.
//
// A conversion reads units from *sourceStart and writes units to *targetStart until the source is
// used up or something stops it; both start pointers then point after what was converted.
//
//     const UTF8 text[] = {0xC3, 0xA9, 0xE2, 0x82};
//     const UTF8* source = text;
//     UTF16 units[4];
//     UTF16* target = units;
//     ConvertUTF8toUTF16(&source, text + 4, &target, units + 4, strictConversion);
//     // sourceExhausted; units[0] == 0xE9, target == units + 1, source == text + 2
//
// What is done with source units that are no character ("stops" leaves the source at the first unit
// of the offending sequence; nothing is written for it):
//
//                          from UTF-16              UTF-32 to UTF-16         UTF-32 to UTF-8
//   unpaired surrogate     strict: stops, illegal   strict: stops, illegal   strict: stops, illegal
//                          lenient: passed on       lenient: U+FFFD          lenient: passed on
//   high surrogate last    stops, exhausted         as above                 as above
//   above U+10FFFF         -                        strict: left out,        U+FFFD, illegal,
//                                                   illegal, goes on         goes on
//                                                   lenient: U+FFFD
//
// From UTF-8 only the sequences of the Unicode Standard's table of well-formed byte sequences are
// accepted, whatever the flags; a sequence that its first byte announces as longer than the rest of
// the source is exhausted, any other that is not in the table is illegal.
//
// A character that does not fit into the target stops the conversion before that character:
// nothing partial is written, and what lies after the result stays as it was. Source and target
// must not overlap.
#pragma once

#include <QX/Types.h>

extern "C" {

/// A unit of text.
typedef QX::uint32 UTF32;
typedef QX::uint16 UTF16;
typedef QX::uint8 UTF8;
/// 0 or 1: the same type under the same name as the platform's.
typedef unsigned char Boolean;

/// How a conversion ended. Fixed width, so that a caller in another language can hand over any
/// word.
enum ConversionResult : unsigned int
{
    conversionOK = 0,    ///< The whole source was read.
    sourceExhausted = 1, ///< The source ends within a character.
    targetExhausted = 2, ///< The next character does not fit into the target.
    sourceIllegal = 3    ///< The source holds something that is no character.
};

/// How surrogates and values out of range are treated; any value but strictConversion is lenient.
enum ConversionFlags : unsigned int
{
    strictConversion = 0, ///< Stops where the table above says so.
    lenientConversion = 1 ///< Goes on, with what the table says instead.
};

// All of them: no pointer is null, and each start is at or before its end. They need no memory and
// may be called on any thread. UTF-32 to UTF-16 looks at the target first, the others at the
// source; a full target outranks a sourceIllegal that did not stop the conversion.

/// Converts as the file comment says and moves both start pointers past what was converted.
QX_API ConversionResult ConvertUTF32toUTF16(const UTF32** sourceStart, const UTF32* sourceEnd,
                                            UTF16** targetStart, UTF16* targetEnd,
                                            ConversionFlags flags);
/// As ConvertUTF32toUTF16.
QX_API ConversionResult ConvertUTF16toUTF32(const UTF16** sourceStart, const UTF16* sourceEnd,
                                            UTF32** targetStart, UTF32* targetEnd,
                                            ConversionFlags flags);
/// As ConvertUTF32toUTF16.
QX_API ConversionResult ConvertUTF16toUTF8(const UTF16** sourceStart, const UTF16* sourceEnd,
                                           UTF8** targetStart, UTF8* targetEnd,
                                           ConversionFlags flags);
/// As ConvertUTF32toUTF16.
QX_API ConversionResult ConvertUTF8toUTF16(const UTF8** sourceStart, const UTF8* sourceEnd,
                                           UTF16** targetStart, UTF16* targetEnd,
                                           ConversionFlags flags);
/// As ConvertUTF32toUTF16.
QX_API ConversionResult ConvertUTF32toUTF8(const UTF32** sourceStart, const UTF32* sourceEnd,
                                           UTF8** targetStart, UTF8* targetEnd,
                                           ConversionFlags flags);
/// As ConvertUTF32toUTF16.
QX_API ConversionResult ConvertUTF8toUTF32(const UTF8** sourceStart, const UTF8* sourceEnd,
                                           UTF32** targetStart, UTF32* targetEnd,
                                           ConversionFlags flags);

/// Returns 1 if the source begins with a well-formed sequence, else 0; what follows it is not read.
///
/// An empty source is not well-formed.
QX_API Boolean isLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd);

} // extern "C"
