// String.cpp - strings and constant strings.

#include "Objects/String.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

namespace Standin {

namespace {

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

/// Constant strings are found again by their text and live as long as the process.
struct ConstantString
{
    __CFString* mString;
    ConstantString* mNext;
};
std::atomic<ConstantString*> gConstants = nullptr;
/// Held by whoever adds to the list; to look through it takes no lock.
std::mutex gConstantsMutex;

__CFString* FindConstant(std::string_view text)
{
    const ConstantString* constant = gConstants.load(std::memory_order_acquire);
    while (constant != nullptr && constant->mString->GetView() != text) {
        constant = constant->mNext;
    }
    return constant != nullptr ? constant->mString : nullptr;
}

} // namespace

bool IsASCII(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

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

} // namespace Standin

constinit const Standin::Type __CFString::kType = {Standin::kStringType, "CFString",
                                                   &Standin::Destroy<__CFString>};

CFStringRef __CFStringMakeConstantString(const char* cStr)
{
    using namespace Standin;
    const std::string_view text = cStr;
    if (__CFString* const known = FindConstant(text)) {
        return known;
    }
    if (!IsASCII(text)) {
        Misuse("CFSTR", "the literal has a character of more than 7 bits");
    }
    const std::lock_guard lock(gConstantsMutex);
    if (__CFString* const known = FindConstant(text)) {
        return known;
    }
    auto* const node = static_cast<ConstantString*>(std::malloc(sizeof(ConstantString)));
    __CFString* const made = MakeWithCount(text, Object::kImmortal);
    if (node == nullptr || made == nullptr) {
        Misuse("CFSTR", "there is no memory for a constant string");
    }
    *node = {made, gConstants.load(std::memory_order_relaxed)};
    gConstants.store(node, std::memory_order_release);
    return made;
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
