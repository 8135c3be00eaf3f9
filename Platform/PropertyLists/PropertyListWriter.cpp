// PropertyListWriter.cpp - property lists to XML documents, in the form of Mac OS X 10.5.

#include "Objects/Data.h"
#include "Objects/Dictionary.h"
#include "Objects/Number.h"
#include "Objects/String.h"
#include "PropertyLists/Base64.h"

#include <CoreFoundation/CFPropertyList.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <memory_resource>
#include <string>
#include <vector>

namespace Standin {

namespace {

constexpr std::string_view kProlog = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                     "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                     "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                     "<plist version=\"1.0\">\n";

// A dictionary that contains itself is refused at this depth.
constexpr CFIndex kDeepest = 512;

class Writer
{
public:
    Writer()
    {
        mText.reserve(kRoomForText);
        mText = kProlog;
    }

    /// Appends one object at an indent; false if the writer does not support its type.
    bool Append(CFTypeRef reference, CFIndex indent);

    CFDataRef Finish()
    {
        mText += "</plist>\n";
        return CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(mText.data()),
                            static_cast<CFIndex>(mText.size()));
    }

private:
    void Indent(CFIndex indent) { mText.append(static_cast<std::size_t>(indent), '\t'); }
    void AppendElement(std::string_view name, std::string_view content, CFIndex indent);
    void AppendEscaped(std::string_view text);
    void AppendNumber(const __CFNumber& number, CFIndex indent);
    void AppendData(const __CFData& data, CFIndex indent);
    bool AppendDictionary(const __CFDictionary& dictionary, CFIndex indent);

    // Documents that go over a port are written into it, without a block of the heap. What follows
    // the text is for the sorted entries of their dictionary.
    static constexpr std::size_t kRoomForText = 768;
    std::byte mRoom[kRoomForText + 256];
    std::pmr::monotonic_buffer_resource mMemory{mRoom, sizeof(mRoom),
                                                std::pmr::new_delete_resource()};
    std::pmr::string mText{&mMemory};
};

void Writer::AppendEscaped(std::string_view text)
{
    // Most texts have none of the three, and finding that out costs less than a look at each
    // character.
    const auto has = [text](char character) {
        return text.find(character) != std::string_view::npos;
    };
    if (!has('<') && !has('>') && !has('&')) {
        mText += text;
        return;
    }
    for (const char character : text) {
        switch (character) {
        case '<':
            mText += "&lt;";
            break;
        case '>':
            mText += "&gt;";
            break;
        case '&':
            mText += "&amp;";
            break;
        default:
            mText += character;
        }
    }
}

void Writer::AppendElement(std::string_view name, std::string_view content, CFIndex indent)
{
    Indent(indent);
    mText += '<';
    mText += name;
    mText += '>';
    AppendEscaped(content);
    mText += "</";
    mText += name;
    mText += ">\n";
}

void Writer::AppendNumber(const __CFNumber& number, CFIndex indent)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number.mValue).ptr;
    AppendElement("integer", {digits, static_cast<std::size_t>(end - digits)}, indent);
}

void Writer::AppendData(const __CFData& data, CFIndex indent)
{
    Indent(indent);
    mText += "<data>\n";
    AppendBase64Lines(mText, data.GetView(), indent);
    Indent(indent);
    mText += "</data>\n";
}

bool Writer::AppendDictionary(const __CFDictionary& dictionary, CFIndex indent)
{
    Indent(indent);
    if (dictionary.mEntries.empty()) {
        mText += "<dict/>\n";
        return true;
    }
    std::pmr::vector<const __CFDictionary::Entry*> entries(&mMemory);
    entries.reserve(dictionary.mEntries.size());
    for (const __CFDictionary::Entry& entry : dictionary.mEntries) {
        if (entry.mKey == nullptr || CFGetTypeID(entry.mKey) != kStringType) {
            return false;
        }
        entries.push_back(&entry);
    }
    const auto keyOf = [](const __CFDictionary::Entry* entry) {
        return static_cast<const __CFString*>(entry->mKey)->GetView();
    };
    // Two keys may be different strings with equal texts. They keep the order of insertion, which
    // is also their order in memory.
    std::sort(entries.begin(), entries.end(), [&](const auto* left, const auto* right) {
        const int order = keyOf(left).compare(keyOf(right));
        return order != 0 ? order < 0 : left < right;
    });
    mText += "<dict>\n";
    for (const __CFDictionary::Entry* entry : entries) {
        AppendElement("key", keyOf(entry), indent + 1);
        if (!Append(entry->mValue, indent + 1)) {
            return false;
        }
    }
    Indent(indent);
    mText += "</dict>\n";
    return true;
}

bool Writer::Append(CFTypeRef reference, CFIndex indent)
{
    if (reference == nullptr || indent > kDeepest) {
        return false;
    }
    const Object& object = AnyObject(reference, "CFPropertyListCreateXMLData");
    switch (object.GetType().mID) {
    case kStringType:
        AppendElement("string", static_cast<const __CFString&>(object).GetView(), indent);
        return true;
    case kNumberType:
        AppendNumber(static_cast<const __CFNumber&>(object), indent);
        return true;
    case kDataType:
        AppendData(static_cast<const __CFData&>(object), indent);
        return true;
    case kDictionaryType:
        return AppendDictionary(static_cast<const __CFDictionary&>(object), indent);
    default:
        return false;
    }
}

} // namespace

} // namespace Standin

CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef propertyList)
{
    try {
        Standin::Writer writer;
        return writer.Append(propertyList, 0) ? writer.Finish() : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
