// Bytes.cpp - hexadecimal digits, base64 and words, each by the shortest way.

#include "DriverPlugIn/Support/Bytes.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace {

std::string Between(std::string_view text, std::string_view from, std::string_view to)
{
    const std::size_t start = text.find(from);
    const std::size_t end = text.find(to);
    if (start == text.npos || end == text.npos || end < start + from.size()) {
        throw std::runtime_error("the document has no " + std::string(from));
    }
    return std::string(text.substr(start + from.size(), end - start - from.size()));
}

std::string DecodeBase64(std::string_view text)
{
    constexpr std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char character : text) {
        const std::size_t digit = kAlphabet.find(character);
        if (digit == kAlphabet.npos) {
            continue;
        }
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFF);
        }
    }
    return bytes;
}

std::uint32_t GetHostWord(std::string_view bytes, std::size_t offset)
{
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.substr(offset, 4).data(), 4);
    return word;
}

std::uint32_t GetLittleEndianWord(std::string_view bytes, std::size_t offset)
{
    std::uint32_t word = 0;
    for (std::size_t index = 4; index-- > 0;) {
        word = word << 8 | static_cast<unsigned char>(bytes.at(offset + index));
    }
    return word;
}

} // namespace

std::string ToHex(std::string_view bytes)
{
    std::string digits;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        char pair[4];
        std::snprintf(pair, sizeof(pair), "%02X", static_cast<unsigned char>(bytes[index]));
        digits += (index != 0 && index % 4 == 0 ? " " : "") + std::string(pair);
    }
    return digits;
}

Document TakeApart(std::string_view document)
{
    return {Between(document, "<integer>", "</integer>"),
            DecodeBase64(Between(document, "<data>", "</data>"))};
}

Message TakeMessageApart(std::string_view message)
{
    if (message.size() < 24) {
        throw std::runtime_error("the message has no room for its headers");
    }
    return {GetHostWord(message, 0),          GetHostWord(message, 4),
            GetHostWord(message, 8),          GetLittleEndianWord(message, 12),
            GetLittleEndianWord(message, 16), GetLittleEndianWord(message, 20),
            std::string(message.substr(24))};
}
