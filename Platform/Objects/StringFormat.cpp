// StringFormat.cpp - CFStringCreateWithFormat.

#include "Objects/String.h"

#include <cstdarg>
#include <string>

namespace Standin {

namespace {

/// A va_list in a struct: it can then be passed by reference on every target.
struct Arguments
{
    va_list mList;
};

/// Appends what one conversion stands for; false if it or its argument is not supported.
bool AppendConversion(std::string& text, std::string_view letter, Arguments& arguments)
{
    if (letter == "%") {
        text += '%';
        return true;
    }
    if (letter != "s") {
        return false;
    }
    const char* const argument = va_arg(arguments.mList, const char*);
    const std::string_view inserted = argument != nullptr ? argument : "(null)";
    text += inserted;
    return IsASCII(inserted);
}

CFStringRef Format(std::string_view format, Arguments& arguments)
{
    std::string text;
    for (;;) {
        const std::size_t percent = format.find('%');
        text += format.substr(0, percent);
        if (percent == std::string_view::npos) {
            return MakeString(text);
        }
        if (!AppendConversion(text, format.substr(percent + 1, 1), arguments)) {
            return nullptr;
        }
        format.remove_prefix(percent + 2);
    }
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
