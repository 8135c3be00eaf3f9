// Utf8.h - code points of UTF-8 text, and the system's 8-bit character set.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <string>
#include <string_view>

namespace Standin {

/// Takes one code point off the front of `text`; false, taking nothing, if the text is empty or
/// does not begin with a well-formed sequence of the shortest form.
bool TakeCodePoint(std::string_view& text, UInt32& codePoint);

bool IsUtf8(std::string_view text);

void AppendUtf8(std::string& text, UInt32 codePoint);

/// The code point of one byte of MacRoman text.
UInt32 FromMacRoman(char byte);
/// The byte of a code point, or -1 if MacRoman has none.
SInt32 ToMacRoman(UInt32 codePoint);

} // namespace Standin
