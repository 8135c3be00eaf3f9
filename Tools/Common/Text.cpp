// Text.cpp - numbers, codes and bytes as text.

#include "Tools/Common/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace Tools {

std::string FormatText(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string FormatFourCharCode(UInt32 code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned char byte = static_cast<unsigned char>(code >> shift & 0xFF);
        if (byte < ' ' || byte > '~') {
            return {};
        }
        text.push_back(static_cast<char>(byte));
    }
    return text;
}

std::optional<UInt32> ParseFourCharCode(std::string_view text)
{
    if (text.size() == 6 && text.front() == '\'' && text.back() == '\'') {
        text = text.substr(1, 4);
    }
    if (text.size() != 4) {
        return std::nullopt;
    }
    UInt32 code = 0;
    for (const char character : text) {
        code = code << 8 | static_cast<unsigned char>(character);
    }
    return code;
}

std::string FormatStatus(SInt32 status)
{
    const std::string number = std::to_string(status);
    const std::string code = FormatFourCharCode(static_cast<UInt32>(status));
    return code.empty() ? number : number + " '" + code + "'";
}

std::string FormatHex(const unsigned char* bytes, std::size_t size, const char* separator)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(size * (2 + std::char_traits<char>::length(separator)));
    for (std::size_t index = 0; index < size; ++index) {
        if (index > 0) {
            text += separator;
        }
        text.push_back(kDigits[bytes[index] >> 4]);
        text.push_back(kDigits[bytes[index] & 0xF]);
    }
    return text;
}

std::string Count(UInt64 number, const char* noun)
{
    return FormatText("%llu %s%s", number, noun, number == 1 ? "" : "s");
}

double RoundDecimals(double number, int decimals)
{
    const double factor = std::pow(10.0, decimals);
    return std::round(number * factor) / factor;
}

std::string FormatNumber(double number)
{
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), result.ptr};
}

std::string Shorten(std::string_view text)
{
    constexpr std::size_t kMostBytes = 60;
    if (text.size() <= kMostBytes) {
        return std::string(text);
    }
    std::size_t end = kMostBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return std::string(text.substr(0, end)) + "...";
}

std::string EscapeControls(const std::string& text)
{
    std::string escaped;
    unsigned char last = 0;
    int awaited = 0; // bytes that belong to the character that has begun
    for (const char character : text) {
        const unsigned char byte = static_cast<unsigned char>(character);
        // In UTF-8 the controls U+0080 to U+009F are 0xC2 and their own number; where no character
        // has begun, such a byte is a control of an 8-bit terminal.
        const bool isHighControl = byte >= 0x80 && byte <= 0x9F && (awaited == 0 || last == 0xC2);
        awaited = byte >= 0xF0   ? 3
                  : byte >= 0xE0 ? 2
                  : byte >= 0xC2 ? 1
                  : byte >= 0x80 ? std::max(0, awaited - 1)
                                 : 0;
        last = byte;
        if (character == '\n') {
            escaped += "\\n";
        } else if (character == '\t') {
            escaped += "\\t";
        } else if (byte < 0x20 || byte == 0x7F || isHighControl) {
            escaped += "\\x" + FormatHex(&byte, 1);
        } else {
            escaped.push_back(character);
        }
    }
    return escaped;
}

std::string QuoteForShell(const std::string& word)
{
    constexpr const char* kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                   "/._-+=:@%,";
    if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) {
        return word;
    }
    std::string quoted = "'";
    for (const char character : word) {
        quoted += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return quoted + "'";
}

} // namespace Tools
