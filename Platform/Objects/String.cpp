// String.cpp - strings and constant strings.

#include "Objects/String.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace Standin {

namespace {

/// Makes an object in one block with a copy of its text, which is its first argument; null when
/// there is no memory.
template <class T, class... Arguments>
T* MakeWithText(std::string_view text, Arguments... others)
{
    void* const memory = std::malloc(sizeof(T) + text.size() + 1);
    if (memory == nullptr) {
        return nullptr;
    }
    char* const bytes = static_cast<char*>(memory) + sizeof(T);
    std::memcpy(bytes, text.data(), text.size());
    bytes[text.size()] = '\0';
    return new (memory) T(std::string_view(bytes, text.size()), others...);
}

/// A constant string: found again by its text, and never destroyed.
struct ConstantString
{
    explicit ConstantString(std::string_view text)
        : mString(text)
    {}

    const __CFString mString;
    const ConstantString* mNext = nullptr;
};
// The list only grows. It has no lock: a fork could leave a lock locked in the child.
std::atomic<const ConstantString*> gConstants{nullptr};

CFStringRef FindConstant(const ConstantString* first, std::string_view text)
{
    while (first != nullptr && first->mString.GetView() != text) {
        first = first->mNext;
    }
    return first != nullptr ? &first->mString : nullptr;
}

} // namespace

bool IsASCII(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

CFStringRef MakeString(std::string_view text)
{
    const CFStringRef made = MakeWithText<__CFString>(text, 1);
    if (made != nullptr) {
        CountBirth(kStringType);
    }
    return made;
}

std::string_view Text(CFStringRef string, const char* call)
{
    return As<const __CFString>(string, call).GetView();
}

} // namespace Standin

constinit const Standin::Type __CFString::kType = {Standin::kStringType, "CFString",
                                                   &Standin::Destroy<__CFString>};

CFStringRef __CFStringMakeConstantString(const char* cStr)
{
    using namespace Standin;
    const std::string_view text = cStr;
    const ConstantString* first = gConstants.load(std::memory_order_acquire);
    if (const CFStringRef known = FindConstant(first, text)) {
        return known;
    }
    if (!IsASCII(text)) {
        Misuse("CFSTR", "the literal has a character of more than 7 bits");
    }
    auto* const made = MakeWithText<ConstantString>(text);
    if (made == nullptr) {
        Misuse("CFSTR", "there is no memory for a constant string");
    }
    do {
        // Another thread may have added the same one meanwhile.
        if (const CFStringRef known = FindConstant(first, text)) {
            std::free(made);
            return known;
        }
        made->mNext = first;
    } while (!gConstants.compare_exchange_weak(first, made, std::memory_order_release,
                                               std::memory_order_acquire));
    return &made->mString;
}

Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding)
{
    const std::string_view text = Standin::Text(theString, "CFStringGetCString");
    if (encoding != kCFStringEncodingUTF8 || buffer == nullptr || bufferSize <= 0 ||
        text.size() >= static_cast<std::size_t>(bufferSize)) {
        return false;
    }
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    return true;
}
