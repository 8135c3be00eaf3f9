// Text.cpp - numbers, codes and bytes as text.

#include "Tools/Common/Text.h"

#include <array>
#include <charconv>
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

std::string FormatHex(const unsigned char* bytes, std::size_t size, const char* separator)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t index = 0; index < size; ++index) {
        if (index > 0) {
            text += separator;
        }
        text.push_back(kDigits[bytes[index] >> 4]);
        text.push_back(kDigits[bytes[index] & 0xF]);
    }
    return text;
}

std::string FormatNumber(double number)
{
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), result.ptr};
}

std::string EscapeControls(const std::string& text)
{
    std::string escaped;
    for (const char character : text) {
        const unsigned char byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            escaped += "\\n";
        } else if (character == '\t') {
            escaped += "\\t";
        } else if (byte < 0x20 || byte == 0x7F) {
            escaped += "\\x" + FormatHex(&byte, 1);
        } else {
            escaped.push_back(character);
        }
    }
    return escaped;
}

} // namespace Tools
