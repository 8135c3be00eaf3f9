// String.h - the object that a CFStringRef points to: UTF-8 text that never changes.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFString.h>

#include <string_view>

struct __CFString : Standin::Object
{
    static const Standin::Type kType;

    /// The text must live as long as the object, which is a constant one without a count.
    constexpr explicit __CFString(std::string_view text, SInt32 count = kImmortal)
        : Object(kType, count)
        , mText(text.data())
        , mLength(text.size())
    {}

    std::string_view GetView() const { return {mText, mLength}; }

    const char* const mText;
    const std::size_t mLength;
};

namespace Standin {

/// Copies well-formed UTF-8; null when there is no memory.
CFStringRef MakeString(std::string_view text);

/// True if every byte is below 128.
bool IsASCII(std::string_view text);

/// Returns the text of a string. Stops the program if the object is no string.
std::string_view Text(CFStringRef string, const char* call);

} // namespace Standin
