// UTFConversion.h - the conversions behind <QX/ConvertUTF.h>, under names of the framework's own.
//
// Other libraries of a process may define the exported names as well, and the loader binds every
// call through such a name to one of the definitions. These functions are hidden: whoever calls
// them from within the framework reaches them and nothing else.
#pragma once

#include <QX/ConvertUTF.h>

namespace QX {

// Parameters and results as those of the exported function of the same widths.
ConversionResult UTF32ToUTF16(const UTF32** sourceStart, const UTF32* sourceEnd,
                              UTF16** targetStart, UTF16* targetEnd, ConversionFlags flags);
ConversionResult UTF16ToUTF32(const UTF16** sourceStart, const UTF16* sourceEnd,
                              UTF32** targetStart, UTF32* targetEnd, ConversionFlags flags);
ConversionResult UTF16ToUTF8(const UTF16** sourceStart, const UTF16* sourceEnd, UTF8** targetStart,
                             UTF8* targetEnd, ConversionFlags flags);
ConversionResult UTF8ToUTF16(const UTF8** sourceStart, const UTF8* sourceEnd, UTF16** targetStart,
                             UTF16* targetEnd, ConversionFlags flags);
ConversionResult UTF32ToUTF8(const UTF32** sourceStart, const UTF32* sourceEnd, UTF8** targetStart,
                             UTF8* targetEnd, ConversionFlags flags);
ConversionResult UTF8ToUTF32(const UTF8** sourceStart, const UTF8* sourceEnd, UTF32** targetStart,
                             UTF32* targetEnd, ConversionFlags flags);

/// The number of bytes that a sequence with this first byte announces, 1 to 6; bytes that begin no
/// sequence announce one too.
int UTF8SequenceLength(UTF8 firstByte);

/// Tells whether the length bytes at source are one well-formed sequence.
///
/// Requires: length readable bytes; length is what the first byte announces.
bool IsLegalUTF8(const UTF8* source, int length);

/// Tells whether the range begins with a well-formed sequence.
bool IsLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd);

} // namespace QX
