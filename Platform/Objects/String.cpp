// String.cpp - strings, constant strings and their comparison.

#include "Objects/String.h"

#include "Objects/Bytes.h"
#include "Objects/Utf8.h"

#include <cstring>
#include <mutex>
#include <string>

namespace Standin {

namespace {

bool EqualString(const Object* left, const Object* right)
{
    return static_cast<const __CFString*>(left)->GetView() ==
           static_cast<const __CFString*>(right)->GetView();
}

CFHashCode HashString(const Object* object)
{
    return HashBytes(static_cast<const __CFString*>(object)->GetView());
}

__CFString* MakeWithCount(std::string_view text, SInt32 count)
{
    void* memory = std::malloc(sizeof(__CFString) + text.size() + 1);
    if (memory == nullptr) {
        return nullptr;
    }
    auto* made = new (memory) __CFString(text.size(), count);
    char* const bytes = reinterpret_cast<char*>(made + 1);
    std::memcpy(bytes, text.data(), text.size());
    bytes[text.size()] = '\0';
    return made;
}

// Constant strings are found again by their text and live as long as the process.
struct ConstantString
{
    __CFString* mString;
    ConstantString* mNext;
};
constexpr CFHashCode kBuckets = 64;
std::mutex gConstantsMutex;
ConstantString* gConstants[kBuckets];

std::string FromSystemBytes(const char* bytes)
{
    std::string text;
    for (; *bytes != '\0'; ++bytes) {
        AppendUtf8(text, FromMacRoman(*bytes));
    }
    return text;
}

bool IsAscii(std::string_view text)
{
    for (const char byte : text) {
        if (static_cast<unsigned char>(byte) > 0x7F) {
            return false;
        }
    }
    return true;
}

/// Writes `text` in MacRoman, or in ASCII if `limit` is 0x80.
bool WriteBytes(std::string_view text, SInt32 limit, char* buffer, std::size_t room)
{
    std::size_t used = 0;
    UInt32 codePoint = 0;
    while (TakeCodePoint(text, codePoint)) {
        const SInt32 byte = ToMacRoman(codePoint);
        if (byte < 0 || byte >= limit || used + 1 >= room) {
            return false;
        }
        buffer[used++] = static_cast<char>(byte);
    }
    buffer[used] = '\0';
    return true;
}

} // namespace

CFStringRef MakeString(std::string_view text)
{
    __CFString* made = MakeWithCount(text, 1);
    if (made != nullptr) {
        CountBirth(kStringType);
    }
    return made;
}

std::string_view Text(CFStringRef string, const char* call)
{
    return As<const __CFString>(string, call).GetView();
}

int CompareUnits(std::string_view left, std::string_view right)
{
    UInt32 one = 0;
    UInt32 other = 0;
    while (!left.empty() && !right.empty()) {
        // The texts of strings are well formed.
        TakeCodePoint(left, one);
        TakeCodePoint(right, other);
        if (one == other) {
            continue;
        }
        // A code point beyond the first 65,536 begins with a unit from 0xD800 to 0xDBFF.
        const UInt32 oneUnit = one > 0xFFFF ? 0xD800 + ((one - 0x10000) >> 10) : one;
        const UInt32 otherUnit = other > 0xFFFF ? 0xD800 + ((other - 0x10000) >> 10) : other;
        if (oneUnit == otherUnit) {
            return one < other ? -1 : 1;
        }
        return oneUnit < otherUnit ? -1 : 1;
    }
    return static_cast<int>(!left.empty()) - static_cast<int>(!right.empty());
}

} // namespace Standin

constinit const Standin::Type __CFString::kType = {Standin::kStringType, "CFString",
                                                   &Standin::Destroy<__CFString>,
                                                   &Standin::EqualString, &Standin::HashString};

CFStringRef __CFStringMakeConstantString(const char* cStr)
{
    using namespace Standin;
    if (cStr == nullptr || !IsAscii(cStr)) {
        Misuse("CFSTR", "the literal has a character of more than 7 bits");
    }
    const std::string_view text = cStr;
    const std::lock_guard lock(gConstantsMutex);
    ConstantString** const bucket = &gConstants[HashBytes(text) % kBuckets];
    for (ConstantString* constant = *bucket; constant != nullptr; constant = constant->mNext) {
        if (constant->mString->GetView() == text) {
            return constant->mString;
        }
    }
    auto* const node = static_cast<ConstantString*>(std::malloc(sizeof(ConstantString)));
    __CFString* const made = MakeWithCount(text, Object::kImmortal);
    if (node == nullptr || made == nullptr) {
        Misuse("CFSTR", "there is no memory for a constant string");
    }
    *node = {made, *bucket};
    *bucket = node;
    return made;
}

CFTypeID CFStringGetTypeID(void)
{
    return Standin::kStringType;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* cStr, CFStringEncoding encoding)
{
    using namespace Standin;
    if (cStr == nullptr) {
        Misuse("CFStringCreateWithCString", "the text is null");
    }
    switch (encoding) {
    case kCFStringEncodingUTF8:
        return IsUtf8(cStr) ? MakeString(cStr) : nullptr;
    case kCFStringEncodingASCII:
        return IsAscii(cStr) ? MakeString(cStr) : nullptr;
    case kCFStringEncodingMacRoman:
        try {
            return MakeString(FromSystemBytes(cStr));
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    default:
        return nullptr;
    }
}

CFIndex CFStringGetLength(CFStringRef theString)
{
    std::string_view text = Standin::Text(theString, "CFStringGetLength");
    CFIndex length = 0;
    UInt32 codePoint = 0;
    while (Standin::TakeCodePoint(text, codePoint)) {
        length += codePoint > 0xFFFF ? 2 : 1;
    }
    return length;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding)
{
    return encoding == kCFStringEncodingUTF8 ? length * 3 : length;
}

Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding)
{
    const std::string_view text = Standin::Text(theString, "CFStringGetCString");
    if (buffer == nullptr || bufferSize <= 0) {
        return false;
    }
    const auto room = static_cast<std::size_t>(bufferSize);
    switch (encoding) {
    case kCFStringEncodingUTF8:
        if (text.size() >= room) {
            return false;
        }
        std::memcpy(buffer, text.data(), text.size());
        buffer[text.size()] = '\0';
        return true;
    case kCFStringEncodingASCII:
        return Standin::WriteBytes(text, 0x80, buffer, room);
    case kCFStringEncodingMacRoman:
        return Standin::WriteBytes(text, 0x100, buffer, room);
    default:
        return false;
    }
}

CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFOptionFlags compareOptions)
{
    if (compareOptions != 0) {
        Standin::Misuse("CFStringCompare", "the comparison options are not supported");
    }
    const int order = Standin::CompareUnits(Standin::Text(theString1, "CFStringCompare"),
                                            Standin::Text(theString2, "CFStringCompare"));
    return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}
