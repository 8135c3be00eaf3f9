// Base64.cpp - bytes to text and back.

#include "PropertyLists/Base64.h"

#include <algorithm>

namespace Standin {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Writes the four characters of three bytes.
void WriteGroup(char* out, unsigned char first, unsigned char second, unsigned char third)
{
    out[0] = kAlphabet[first >> 2];
    out[1] = kAlphabet[(first << 4 | second >> 4) & 63];
    out[2] = kAlphabet[(second << 2 | third >> 6) & 63];
    out[3] = kAlphabet[third & 63];
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

void AppendBase64Lines(std::pmr::string& text, std::string_view bytes, CFIndex indent)
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
        const auto* in = reinterpret_cast<const unsigned char*>(line.data());
        std::size_t left = line.size();
        for (; left >= 3; left -= 3, in += 3, out += 4) {
            WriteGroup(out, in[0], in[1], in[2]);
        }
        if (left > 0) {
            WriteGroup(out, in[0], left > 1 ? in[1] : 0, 0);
            out[2] = left > 1 ? out[2] : '=';
            out[3] = '=';
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
