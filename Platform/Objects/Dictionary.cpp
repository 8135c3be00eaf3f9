// Dictionary.cpp - dictionaries of pointers, and of objects.

#include "Objects/Dictionary.h"

#include "Objects/String.h"

#include <algorithm>

constinit const Standin::Type __CFDictionary::kType = {Standin::kDictionaryType, "CFDictionary",
                                                       &Standin::Destroy<__CFDictionary>};

__CFDictionary::__CFDictionary(Contents contents, CFIndex capacity)
    : Object(kType)
    , mContents(contents)
{
    // Allocates memory for the first entries now, because adding cannot report that there is none.
    mEntries.reserve(capacity > 0 ? 4 : 0);
}

__CFDictionary::~__CFDictionary()
{
    if (mContents == kObjects) {
        for (const Entry& entry : mEntries) {
            CFRelease(entry.mValue);
            CFRelease(entry.mKey);
        }
    }
}

__CFDictionary::Entry* __CFDictionary::Find(const void* key)
{
    const auto isSame = [&](const Entry& entry) {
        return entry.mKey == key ||
               (mContents == kObjects &&
                Standin::Text(static_cast<CFStringRef>(entry.mKey), "CFDictionaryGetValue") ==
                    Standin::Text(static_cast<CFStringRef>(key), "CFDictionaryGetValue"));
    };
    const auto found = std::find_if(mEntries.begin(), mEntries.end(), isSame);
    return found != mEntries.end() ? &*found : nullptr;
}

void __CFDictionary::Set(Standin::Held<CFStringRef> key, Standin::Held<CFTypeRef> value)
{
    if (Entry* const present = Find(key.Get())) {
        CFRelease(present->mValue);
        present->mValue = value.Detach();
        return;
    }
    mEntries.push_back({key.Get(), value.Get()});
    key.Detach();
    value.Detach();
}

CFTypeID CFDictionaryGetTypeID(void)
{
    return Standin::kDictionaryType;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks*,
                                                 const CFDictionaryValueCallBacks*)
{
    if (capacity < 0) {
        Standin::Misuse("CFDictionaryCreateMutable", "the capacity is negative");
    }
    return Standin::Make<__CFDictionary>(__CFDictionary::kPointers, capacity);
}

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key)
{
    const auto* entry = Standin::As<__CFDictionary>(theDict, "CFDictionaryGetValue").Find(key);
    return entry != nullptr ? entry->mValue : nullptr;
}

void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value)
{
    auto& dictionary = Standin::As<__CFDictionary>(theDict, "CFDictionaryAddValue");
    if (dictionary.mContents != __CFDictionary::kPointers) {
        Standin::Misuse("CFDictionaryAddValue", "the dictionary was read from a document");
    }
    if (dictionary.Find(key) != nullptr) {
        return;
    }
    try {
        dictionary.mEntries.push_back({key, value});
    } catch (const std::bad_alloc&) {
        Standin::Misuse("CFDictionaryAddValue", "there is no memory for one more entry");
    }
}
