// Base64.cpp - bytes to text and back.

#include "PropertyLists/Base64.h"

#include <algorithm>

namespace Standin {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

UInt32 ByteAt(std::string_view bytes, std::size_t index)
{
    return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0u;
}

/// The six bits of a character, or -1.
SInt32 BitsOf(char character)
{
    if (character >= 'A' && character <= 'Z') {
        return character - 'A';
    }
    if (character >= 'a' && character <= 'z') {
        return character - 'a' + 26;
    }
    if (character >= '0' && character <= '9') {
        return character - '0' + 52;
    }
    return character == '+' ? 62 : character == '/' ? 63 : -1;
}

} // namespace

void AppendBase64Lines(std::string& text, std::string_view bytes, CFIndex indent)
{
    const CFIndex lineLength = 76 - 8 * std::min<CFIndex>(indent, 8);
    const auto tabs = static_cast<std::size_t>(indent);
    CFIndex column = 0;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        if (column == 0) {
            text.append(tabs, '\t');
        }
        const UInt32 group =
            ByteAt(bytes, at) << 16 | ByteAt(bytes, at + 1) << 8 | ByteAt(bytes, at + 2);
        const std::size_t left = bytes.size() - at;
        text += kAlphabet[group >> 18];
        text += kAlphabet[(group >> 12) & 63];
        text += left > 1 ? kAlphabet[(group >> 6) & 63] : '=';
        text += left > 2 ? kAlphabet[group & 63] : '=';
        column += 4;
        if (column >= lineLength) {
            text += '\n';
            column = 0;
        }
    }
    if (column != 0) {
        text += '\n';
    }
}

bool AppendFromBase64(std::string& bytes, std::string_view text)
{
    UInt32 group = 0;
    SInt32 held = 0;
    SInt32 padding = 0;
    for (const char character : text) {
        if (character == ' ' || character == '\t' || character == '\n' || character == '\r') {
            continue;
        }
        const SInt32 bits = character == '=' ? 0 : BitsOf(character);
        if (bits < 0 || (padding > 0 && character != '=')) {
            return false;
        }
        padding += character == '=' ? 1 : 0;
        group = group << 6 | static_cast<UInt32>(bits);
        if (++held < 4) {
            continue;
        }
        if (padding > 2) {
            return false;
        }
        for (SInt32 index = 0; index < 3 - padding; ++index) {
            bytes += static_cast<char>(group >> (16 - 8 * index) & 0xFF);
        }
        group = 0;
        held = 0;
        if (padding > 0) {
            padding = 3;
        }
    }
    return held == 0;
}

} // namespace Standin
