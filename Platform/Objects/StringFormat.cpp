// StringFormat.cpp - CFStringCreateWithFormat.

#include "Objects/String.h"
#include "Objects/Utf8.h"

#include <cstdarg>
#include <cstdint>
#include <string>

namespace Standin {

namespace {

/// One conversion of a format: %[flags][width][.precision][length]letter.
struct Conversion
{
    bool mLeft = false;
    bool mZeros = false;
    SInt32 mWidth = 0;
    SInt32 mPrecision = -1;
    /// The number of l letters; 2 also for q.
    SInt32 mLongs = 0;
    char mLetter = '\0';
};

constexpr SInt32 kWidest = 4096;

SInt32 TakeNumber(std::string_view& format)
{
    SInt32 number = 0;
    while (!format.empty() && format[0] >= '0' && format[0] <= '9') {
        number = number * 10 + (format[0] - '0');
        number = number > kWidest ? kWidest : number;
        format.remove_prefix(1);
    }
    return number;
}

Conversion TakeConversion(std::string_view& format)
{
    Conversion conversion;
    for (; !format.empty(); format.remove_prefix(1)) {
        const char flag = format[0];
        if (flag == '-') {
            conversion.mLeft = true;
        } else if (flag == '0') {
            conversion.mZeros = true;
        } else if (flag != '+' && flag != ' ' && flag != '#') {
            break;
        }
    }
    conversion.mWidth = TakeNumber(format);
    if (!format.empty() && format[0] == '.') {
        format.remove_prefix(1);
        conversion.mPrecision = TakeNumber(format);
    }
    for (; !format.empty() && (format[0] == 'l' || format[0] == 'q'); format.remove_prefix(1)) {
        conversion.mLongs += format[0] == 'q' ? 2 : 1;
    }
    if (!format.empty()) {
        conversion.mLetter = format[0];
        format.remove_prefix(1);
    }
    return conversion;
}

void AppendPadded(std::string& text, const Conversion& conversion, std::string_view digits,
                  std::size_t length)
{
    const auto width = static_cast<std::size_t>(conversion.mWidth);
    const std::size_t padding = width > length ? width - length : 0;
    if (!conversion.mLeft) {
        text.append(padding, ' ');
    }
    text += digits;
    if (conversion.mLeft) {
        text.append(padding, ' ');
    }
}

void AppendBytes(std::string& text, const Conversion& conversion, const char* bytes)
{
    std::string part;
    std::size_t length = 0;
    const std::size_t limit =
        conversion.mPrecision < 0 ? SIZE_MAX : static_cast<std::size_t>(conversion.mPrecision);
    for (const char* at = bytes != nullptr ? bytes : "(null)"; length < limit && *at != '\0';
         ++at, ++length) {
        AppendUtf8(part, FromMacRoman(*at));
    }
    AppendPadded(text, conversion, part, length);
}

void AppendInteger(std::string& text, const Conversion& conversion, bool negative, UInt64 magnitude)
{
    const unsigned base = conversion.mLetter == 'x' || conversion.mLetter == 'X' ? 16 : 10;
    const char* const letters = conversion.mLetter == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string digits;
    do {
        digits.insert(digits.begin(), letters[magnitude % base]);
        magnitude /= base;
    } while (magnitude != 0);
    const auto width = static_cast<std::size_t>(conversion.mWidth);
    const std::size_t sign = negative ? 1 : 0;
    if (conversion.mZeros && !conversion.mLeft && width > digits.size() + sign) {
        digits.insert(0, width - digits.size() - sign, '0');
    }
    if (negative) {
        digits.insert(digits.begin(), '-');
    }
    AppendPadded(text, conversion, digits, digits.size());
}

/// Wraps the list, so that it can be handed on by reference on every target.
struct Arguments
{
    va_list mList;
};

void AppendSigned(std::string& text, const Conversion& conversion, Arguments& arguments)
{
    const SInt64 value = conversion.mLongs >= 2   ? va_arg(arguments.mList, long long)
                         : conversion.mLongs == 1 ? va_arg(arguments.mList, long)
                                                  : va_arg(arguments.mList, int);
    const auto bits = static_cast<UInt64>(value);
    AppendInteger(text, conversion, value < 0, value < 0 ? 0 - bits : bits);
}

void AppendUnsigned(std::string& text, const Conversion& conversion, Arguments& arguments)
{
    const UInt64 value = conversion.mLongs >= 2   ? va_arg(arguments.mList, unsigned long long)
                         : conversion.mLongs == 1 ? va_arg(arguments.mList, unsigned long)
                                                  : va_arg(arguments.mList, unsigned int);
    AppendInteger(text, conversion, false, value);
}

bool AppendConversion(std::string& text, const Conversion& conversion, Arguments& arguments)
{
    switch (conversion.mLetter) {
    case '%':
        text += '%';
        return true;
    case 's':
        AppendBytes(text, conversion, va_arg(arguments.mList, const char*));
        return true;
    case 'd':
    case 'i':
        AppendSigned(text, conversion, arguments);
        return true;
    case 'u':
    case 'x':
    case 'X':
        AppendUnsigned(text, conversion, arguments);
        return true;
    default:
        return false;
    }
}

CFStringRef Format(std::string_view format, Arguments& arguments)
{
    std::string text;
    while (!format.empty()) {
        const std::size_t plain = std::min(format.find('%'), format.size());
        text += format.substr(0, plain);
        format.remove_prefix(plain);
        if (format.empty()) {
            break;
        }
        format.remove_prefix(1);
        if (!AppendConversion(text, TakeConversion(format), arguments)) {
            return nullptr;
        }
    }
    return MakeString(text);
}

} // namespace

} // namespace Standin

CFStringRef CFStringCreateWithFormat(CFAllocatorRef, CFDictionaryRef, CFStringRef format, ...)
{
    const std::string_view text = Standin::Text(format, "CFStringCreateWithFormat");
    Standin::Arguments arguments;
    va_start(arguments.mList, format);
    CFStringRef made = nullptr;
    try {
        made = Standin::Format(text, arguments);
    } catch (const std::bad_alloc&) {
        made = nullptr;
    }
    va_end(arguments.mList);
    return made;
}
