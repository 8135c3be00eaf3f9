// ConvertUTF.cpp - the exported names of the conversions.
//
// Nothing in the framework calls these; see UTFConversion.h.

#include "UTFConversion.h"

namespace {

QX::ConversionMode ModeOf(ConversionFlags flags)
{
    return flags == strictConversion ? QX::ConversionMode::kStrict : QX::ConversionMode::kLenient;
}

} // namespace

extern "C" {

ConversionResult ConvertUTF32toUTF16(const UTF32** sourceStart, const UTF32* sourceEnd,
                                     UTF16** targetStart, UTF16* targetEnd, ConversionFlags flags)
{
    return QX::UTF32ToUTF16(sourceStart, sourceEnd, targetStart, targetEnd, ModeOf(flags));
}

ConversionResult ConvertUTF16toUTF32(const UTF16** sourceStart, const UTF16* sourceEnd,
                                     UTF32** targetStart, UTF32* targetEnd, ConversionFlags flags)
{
    return QX::UTF16ToUTF32(sourceStart, sourceEnd, targetStart, targetEnd, ModeOf(flags));
}

ConversionResult ConvertUTF16toUTF8(const UTF16** sourceStart, const UTF16* sourceEnd,
                                    UTF8** targetStart, UTF8* targetEnd, ConversionFlags flags)
{
    return QX::UTF16ToUTF8(sourceStart, sourceEnd, targetStart, targetEnd, ModeOf(flags));
}

ConversionResult ConvertUTF8toUTF16(const UTF8** sourceStart, const UTF8* sourceEnd,
                                    UTF16** targetStart, UTF16* targetEnd, ConversionFlags)
{
    return QX::UTF8ToUTF16(sourceStart, sourceEnd, targetStart, targetEnd);
}

ConversionResult ConvertUTF32toUTF8(const UTF32** sourceStart, const UTF32* sourceEnd,
                                    UTF8** targetStart, UTF8* targetEnd, ConversionFlags flags)
{
    return QX::UTF32ToUTF8(sourceStart, sourceEnd, targetStart, targetEnd, ModeOf(flags));
}

ConversionResult ConvertUTF8toUTF32(const UTF8** sourceStart, const UTF8* sourceEnd,
                                    UTF32** targetStart, UTF32* targetEnd, ConversionFlags)
{
    return QX::UTF8ToUTF32(sourceStart, sourceEnd, targetStart, targetEnd);
}

Boolean isLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd)
{
    return QX::IsLegalUTF8Sequence(source, sourceEnd) ? 1 : 0;
}

} // extern "C"
