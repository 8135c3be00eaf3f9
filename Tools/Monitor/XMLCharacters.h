// XMLCharacters.h - which bytes of a document are characters of XML.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Monitor {

/// Returns the offset of the first byte of `text` that is not UTF-8, or that begins a character
/// which no XML document may contain (such as NUL); std::string_view::npos if all are fine.
std::size_t FindForbiddenCharacter(std::string_view text);

/// Tells whether an XML document may contain the character, also as a reference.
bool IsXMLCharacter(char32_t codePoint);

/// Appends the UTF-8 bytes of a code point of Unicode.
void AppendUTF8(std::string& text, char32_t codePoint);

} // namespace Monitor
