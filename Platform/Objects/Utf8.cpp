// Utf8.cpp - code points of UTF-8 text.

#include "Objects/Utf8.h"

namespace Standin {

namespace {

/// The number of bytes that a sequence with this first byte has; 0 if none begins with it.
std::size_t SequenceLength(unsigned char first)
{
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC2 || first > 0xF4) {
        return 0;
    }
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// Takes one code point off the front of `text`; false, taking nothing, if the text is empty or
/// does not begin with a well-formed sequence of the shortest form.
bool TakeCodePoint(std::string_view& text)
{
    if (text.empty()) {
        return false;
    }
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = SequenceLength(first);
    if (length == 0 || text.size() < length) {
        return false;
    }
    UInt32 point = length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t index = 1; index < length; ++index) {
        const auto next = static_cast<unsigned char>(text[index]);
        if ((next & 0xC0u) != 0x80u) {
            return false;
        }
        point = (point << 6) | (next & 0x3Fu);
    }
    constexpr UInt32 kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (point < kSmallest[length] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
        return false;
    }
    text.remove_prefix(length);
    return true;
}

} // namespace

bool IsUtf8(std::string_view text)
{
    while (TakeCodePoint(text)) {
    }
    return text.empty();
}

void AppendUtf8(std::string& text, UInt32 codePoint)
{
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
        return;
    }
    if (codePoint < 0x800) {
        text += static_cast<char>(0xC0u | (codePoint >> 6));
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0u | (codePoint >> 12));
        text += static_cast<char>(0x80u | ((codePoint >> 6) & 0x3Fu));
    } else {
        text += static_cast<char>(0xF0u | (codePoint >> 18));
        text += static_cast<char>(0x80u | ((codePoint >> 12) & 0x3Fu));
        text += static_cast<char>(0x80u | ((codePoint >> 6) & 0x3Fu));
    }
    text += static_cast<char>(0x80u | (codePoint & 0x3Fu));
}

} // namespace Standin
