// Hex.h - bytes written as hexadecimal text, for expectations that a reader can check.
//
//     FromHex("10000000 0A FF"); // six bytes; blanks and line breaks are skipped
//     ToHex(data, 3);            // "10 00 0a"
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace TestSupport {

using Bytes = std::vector<unsigned char>;

inline int HexDigit(char digit)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
    const std::size_t value = kDigits.find(lower);
    if (value == std::string_view::npos) {
        throw std::invalid_argument("not a hexadecimal digit");
    }
    return static_cast<int>(value);
}

/// Returns the bytes that pairs of digits name. Throws: std::invalid_argument for anything else,
/// so that a slip in a test's literal never passes for data.
inline Bytes FromHex(std::string_view text)
{
    Bytes bytes;
    int high = -1;
    for (const char letter : text) {
        if (letter == ' ' || letter == '\n') {
            continue;
        }
        const int digit = HexDigit(letter);
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<unsigned char>(high * 16 + digit));
            high = -1;
        }
    }
    if (high >= 0) {
        throw std::invalid_argument("half a byte at the end");
    }
    return bytes;
}

/// Returns `size` bytes as lower-case pairs with one blank between.
inline std::string ToHex(const void* data, std::size_t size)
{
    constexpr char kDigits[] = "0123456789abcdef";
    const auto* const bytes = static_cast<const unsigned char*>(data);
    std::string text;
    for (std::size_t index = 0; index < size; ++index) {
        if (index != 0) {
            text += ' ';
        }
        text += kDigits[bytes[index] / 16];
        text += kDigits[bytes[index] % 16];
    }
    return text;
}

inline std::string ToHex(const Bytes& bytes)
{
    return ToHex(bytes.data(), bytes.size());
}

} // namespace TestSupport
