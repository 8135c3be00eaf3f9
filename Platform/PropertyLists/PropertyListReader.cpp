// PropertyListReader.cpp - XML documents to property lists.
//
// The bytes may come from any program: every step checks what is left, nesting is bounded, and a
// refusal names what is wrong and its line.

#include "Objects/Data.h"
#include "Objects/Dictionary.h"
#include "Objects/Number.h"
#include "Objects/String.h"
#include "PropertyLists/Base64.h"
#include "PropertyLists/XMLScanner.h"

#include <CoreFoundation/CFPropertyList.h>

#include <charconv>
#include <limits>

namespace Standin {

namespace {

using Value = Held<CFTypeRef>;

constexpr SInt32 kDeepest = 128;

class Reader
{
public:
    explicit Reader(std::string_view document)
        : mScanner(document)
    {}

    /// Throws: XMLError, std::bad_alloc.
    Value Read();
    std::size_t GetLine() const { return mScanner.GetLine(); }

private:
    Value ReadValue(const XMLTag& tag, SInt32 depth);
    Value ReadDictionary(const XMLTag& tag, SInt32 depth);
    std::string ReadText(const XMLTag& tag);
    CFTypeRef MakeInteger(std::string_view text);
    CFTypeRef MakeData(std::string_view text);

    XMLScanner mScanner;
};

/// Returns the object, or throws std::bad_alloc for null.
Value Checked(CFTypeRef made)
{
    if (made == nullptr) {
        throw std::bad_alloc();
    }
    return Value(made);
}

std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && IsXMLSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsXMLSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

Value Reader::Read()
{
    mScanner.SkipProlog();
    XMLTag tag = mScanner.TakeTag();
    if (tag.mName != "plist") {
        Value value = ReadValue(tag, 0);
        mScanner.ExpectEnd();
        return value;
    }
    if (tag.mKind != XMLTag::kOpening) {
        throw XMLError{"the property list is empty"};
    }
    tag = mScanner.TakeTag();
    if (tag.mKind == XMLTag::kClosing) {
        throw XMLError{"the property list is empty"};
    }
    Value value = ReadValue(tag, 0);
    const XMLTag end = mScanner.TakeTag();
    if (end.mKind != XMLTag::kClosing || end.mName != "plist") {
        throw XMLError{"the property list has more than one object"};
    }
    mScanner.ExpectEnd();
    return value;
}

std::string Reader::ReadText(const XMLTag& tag)
{
    return tag.mKind == XMLTag::kEmpty ? std::string() : mScanner.TakeTextUntilEnd(tag.mName);
}

CFTypeRef Reader::MakeInteger(std::string_view text)
{
    std::string_view digits = Trimmed(text);
    const bool negative = !digits.empty() && digits[0] == '-';
    if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) {
        digits.remove_prefix(1);
    }
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        base = 16;
        digits.remove_prefix(2);
    }
    UInt64 magnitude = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, base);
    if (error == std::errc::invalid_argument || end != digits.data() + digits.size()) {
        throw XMLError{"an integer element holds no integer"};
    }
    constexpr auto kLargest = static_cast<UInt64>(std::numeric_limits<SInt64>::max());
    if (error != std::errc() || magnitude > kLargest + (negative ? 1 : 0)) {
        throw XMLError{"an integer has more than 64 bits"};
    }
    const auto value = static_cast<SInt64>(negative ? 0 - magnitude : magnitude);
    return Make<__CFNumber>(value);
}

CFTypeRef Reader::MakeData(std::string_view text)
{
    std::string bytes;
    if (!AppendFromBase64(bytes, text)) {
        throw XMLError{"a data element does not hold base64 text"};
    }
    return CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                        static_cast<CFIndex>(bytes.size()));
}

Value Reader::ReadValue(const XMLTag& tag, SInt32 depth)
{
    if (tag.mKind == XMLTag::kClosing) {
        throw XMLError{"an end tag without a start tag: " + tag.mName};
    }
    if (depth > kDeepest) {
        throw XMLError{"the elements are nested too deep"};
    }
    if (tag.mName == "dict") {
        return ReadDictionary(tag, depth);
    }
    if (tag.mName == "string") {
        return Checked(MakeString(ReadText(tag)));
    }
    if (tag.mName == "integer") {
        return Checked(MakeInteger(ReadText(tag)));
    }
    if (tag.mName == "data") {
        return Checked(MakeData(ReadText(tag)));
    }
    throw XMLError{"an element that is not supported: " + tag.mName};
}

Value Reader::ReadDictionary(const XMLTag& tag, SInt32 depth)
{
    auto* const dictionary = Make<__CFDictionary>(__CFDictionary::kObjects, 0);
    Value made = Checked(dictionary);
    if (tag.mKind == XMLTag::kEmpty) {
        return made;
    }
    for (;;) {
        const XMLTag keyTag = mScanner.TakeTag();
        if (keyTag.mKind == XMLTag::kClosing && keyTag.mName == tag.mName) {
            return made;
        }
        if (keyTag.mKind == XMLTag::kClosing || keyTag.mName != "key") {
            throw XMLError{"a dictionary has an element where a key is expected: " + keyTag.mName};
        }
        Held<CFStringRef> key(MakeString(ReadText(keyTag)));
        if (key.Get() == nullptr) {
            throw std::bad_alloc();
        }
        const XMLTag valueTag = mScanner.TakeTag();
        if (valueTag.mKind == XMLTag::kClosing) {
            throw XMLError{"a key of a dictionary has no value"};
        }
        dictionary->Set(std::move(key), ReadValue(valueTag, depth + 1));
    }
}

void StoreError(CFStringRef* errorString, const std::string& what, std::size_t line)
{
    if (errorString != nullptr) {
        *errorString = MakeString("line " + std::to_string(line) + ": " + what);
    }
}

} // namespace

} // namespace Standin

CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef xmlData, CFOptionFlags,
                                                  CFStringRef* errorString)
{
    using namespace Standin;
    const auto& data = As<const __CFData>(xmlData, "CFPropertyListCreateFromXMLData");
    if (errorString != nullptr) {
        *errorString = nullptr;
    }
    try {
        Reader reader(data.GetView());
        try {
            return reader.Read().Detach();
        } catch (const XMLError& error) {
            StoreError(errorString, error.mWhat, reader.GetLine());
        }
    } catch (const std::bad_alloc&) {
        StoreError(errorString, "out of memory", 0);
    }
    return nullptr;
}
