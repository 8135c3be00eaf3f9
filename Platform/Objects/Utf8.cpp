// Utf8.cpp - UTF-8 and MacRoman.

#include "Objects/Utf8.h"

namespace Standin {

namespace {

// The upper half of MacRoman.
constexpr UniChar kMacRoman[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

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

} // namespace

bool TakeCodePoint(std::string_view& text, UInt32& codePoint)
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
    codePoint = point;
    text.remove_prefix(length);
    return true;
}

bool IsUtf8(std::string_view text)
{
    UInt32 codePoint = 0;
    while (TakeCodePoint(text, codePoint)) {
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

UInt32 FromMacRoman(char byte)
{
    const auto value = static_cast<unsigned char>(byte);
    return value < 0x80 ? value : kMacRoman[value - 0x80];
}

SInt32 ToMacRoman(UInt32 codePoint)
{
    if (codePoint < 0x80) {
        return static_cast<SInt32>(codePoint);
    }
    for (SInt32 index = 0; index < 128; ++index) {
        if (kMacRoman[index] == codePoint) {
            return index + 0x80;
        }
    }
    return -1;
}

} // namespace Standin
