// Utf8.h - code points of UTF-8 text.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <string>
#include <string_view>

namespace Standin {

/// True if the text is made of well-formed sequences of the shortest form.
bool IsUtf8(std::string_view text);

void AppendUtf8(std::string& text, UInt32 codePoint);

} // namespace Standin
