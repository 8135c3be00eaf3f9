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
    const auto lineLength = static_cast<std::size_t>(76 - 8 * std::min<CFIndex>(indent, 8));
    const auto tabs = static_cast<std::size_t>(indent);
    const std::size_t lineBytes = lineLength / 4 * 3;
    for (std::size_t start = 0; start < bytes.size(); start += lineBytes) {
        const std::string_view line = bytes.substr(start, lineBytes);
        text.append(tabs, '\t');
        const std::size_t length = (line.size() + 2) / 3 * 4;
        text.resize(text.size() + length);
        char* out = text.data() + text.size() - length;
        for (std::size_t at = 0; at < line.size(); at += 3, out += 4) {
            const UInt32 group =
                ByteAt(line, at) << 16 | ByteAt(line, at + 1) << 8 | ByteAt(line, at + 2);
            const std::size_t left = line.size() - at;
            out[0] = kAlphabet[group >> 18];
            out[1] = kAlphabet[(group >> 12) & 63];
            out[2] = left > 1 ? kAlphabet[(group >> 6) & 63] : '=';
            out[3] = left > 2 ? kAlphabet[group & 63] : '=';
        }
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
