// XMLCharacters.cpp - UTF-8, and the characters that XML allows.

#include "Tools/Monitor/XMLCharacters.h"

namespace Monitor {
namespace {

unsigned char ByteAt(std::string_view text, std::size_t position)
{
    return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

/// Reads the character that begins at `position`; returns its length in bytes, 0 if there is none.
std::size_t ReadCharacter(std::string_view text, std::size_t position, char32_t& codePoint)
{
    const unsigned char lead = ByteAt(text, position);
    if (lead < 0x80) {
        codePoint = lead;
        return 1;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (lead < 0xC0 || lead >= 0xF8) {
        return 0;
    }
    codePoint = lead & (0x7Fu >> length);
    for (std::size_t index = 1; index < length; ++index) {
        const unsigned char byte = ByteAt(text, position + index);
        if ((byte & 0xC0) != 0x80) {
            return 0;
        }
        codePoint = codePoint << 6 | (byte & 0x3Fu);
    }
    return codePoint >= kSmallest[length] ? length : 0;
}

} // namespace

bool IsXMLCharacter(char32_t codePoint)
{
    if (codePoint < 0x20) {
        return codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
    }
    return codePoint < 0xD800 || (codePoint >= 0xE000 && codePoint <= 0xFFFD) ||
           (codePoint >= 0x10000 && codePoint <= 0x10FFFF);
}

std::size_t FindForbiddenCharacter(std::string_view text)
{
    std::size_t position = 0;
    while (position < text.size()) {
        char32_t codePoint = 0;
        const std::size_t length = ReadCharacter(text, position, codePoint);
        if (length == 0 || !IsXMLCharacter(codePoint)) {
            return position;
        }
        position += length;
    }
    return std::string_view::npos;
}

void AppendUTF8(std::string& text, char32_t codePoint)
{
    const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0 | codePoint >> 6);
        append(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        append(0xE0 | codePoint >> 12);
        append(0x80 | (codePoint >> 6 & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    } else {
        append(0xF0 | codePoint >> 18);
        append(0x80 | (codePoint >> 12 & 0x3F));
        append(0x80 | (codePoint >> 6 & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    }
}

} // namespace Monitor
