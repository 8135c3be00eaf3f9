// Dictionary.cpp - dictionaries of pointers.

#include "Objects/Dictionary.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr CFIndex kSmall = 8;

const void* RetainObject(CFAllocatorRef, const void* value)
{
    return CFRetain(value);
}

void ReleaseObject(CFAllocatorRef, const void* value)
{
    CFRelease(value);
}

bool EqualDictionary(const Standin::Object* left, const Standin::Object* right)
{
    const auto& one = *static_cast<const __CFDictionary*>(left);
    const auto& other = *static_cast<const __CFDictionary*>(right);
    const CFDictionaryEqualCallBack equal = one.mValueCallBacks.equal;
    if (one.mCount != other.mCount || equal == nullptr || one.mKeyCallBacks.equal == nullptr ||
        equal != other.mValueCallBacks.equal ||
        one.mKeyCallBacks.equal != other.mKeyCallBacks.equal) {
        return false;
    }
    return std::all_of(one.mEntries, one.mEntries + one.mCount,
                       [&](const __CFDictionary::Entry& entry) {
                           const __CFDictionary::Entry* const found = other.Find(entry.mKey);
                           return found != nullptr && equal(entry.mValue, found->mValue);
                       });
}

CFHashCode HashDictionary(const Standin::Object* object)
{
    return static_cast<CFHashCode>(static_cast<const __CFDictionary*>(object)->mCount);
}

} // namespace

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {
    0, &RetainObject, &ReleaseObject, nullptr, &CFEqual, &CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {
    0, &RetainObject, &ReleaseObject, nullptr, &CFEqual};

const Standin::Type __CFDictionary::kType = {Standin::kDictionaryType, "CFDictionary",
                                             &Standin::Destroy<__CFDictionary>, &EqualDictionary,
                                             &HashDictionary};

__CFDictionary::__CFDictionary(const CFDictionaryKeyCallBacks* keyCallBacks,
                               const CFDictionaryValueCallBacks* valueCallBacks)
    : Object(kType)
    , mKeyCallBacks(keyCallBacks != nullptr ? *keyCallBacks : CFDictionaryKeyCallBacks())
    , mValueCallBacks(valueCallBacks != nullptr ? *valueCallBacks : CFDictionaryValueCallBacks())
{}

__CFDictionary::~__CFDictionary()
{
    for (CFIndex place = 0; place < mCount; ++place) {
        if (mValueCallBacks.release != nullptr) {
            mValueCallBacks.release(nullptr, mEntries[place].mValue);
        }
        if (mKeyCallBacks.release != nullptr) {
            mKeyCallBacks.release(nullptr, mEntries[place].mKey);
        }
    }
    std::free(mEntries);
    std::free(mTable);
}

CFHashCode __CFDictionary::Hash(const void* key) const
{
    return mKeyCallBacks.hash != nullptr
               ? mKeyCallBacks.hash(key)
               : static_cast<CFHashCode>(reinterpret_cast<std::uintptr_t>(key) >> 4);
}

bool __CFDictionary::Matches(const Entry& entry, const void* key, CFHashCode hash) const
{
    if (entry.mKey == key) {
        return true;
    }
    return entry.mHash == hash && mKeyCallBacks.equal != nullptr &&
           mKeyCallBacks.equal(entry.mKey, key);
}

__CFDictionary::Entry* __CFDictionary::Find(const void* key) const
{
    const CFHashCode hash = Hash(key);
    if (mTable == nullptr) {
        for (CFIndex place = 0; place < mCount; ++place) {
            if (Matches(mEntries[place], key, hash)) {
                return mEntries + place;
            }
        }
        return nullptr;
    }
    for (UInt32 slot = hash & mTableMask; mTable[slot] != 0; slot = (slot + 1) & mTableMask) {
        Entry* const entry = mEntries + (mTable[slot] - 1);
        if (Matches(*entry, key, hash)) {
            return entry;
        }
    }
    return nullptr;
}

void __CFDictionary::Index(CFIndex place)
{
    UInt32 slot = mEntries[place].mHash & mTableMask;
    while (mTable[slot] != 0) {
        slot = (slot + 1) & mTableMask;
    }
    mTable[slot] = static_cast<UInt32>(place) + 1;
}

bool __CFDictionary::Grow()
{
    const CFIndex room = mRoom == 0 ? 4 : mRoom * 2;
    void* grown = std::realloc(mEntries, static_cast<std::size_t>(room) * sizeof(Entry));
    if (grown == nullptr) {
        return false;
    }
    mEntries = static_cast<Entry*>(grown);
    if (room <= kSmall) {
        mRoom = room;
        return true;
    }
    void* const table = std::calloc(static_cast<std::size_t>(room) * 2, sizeof(UInt32));
    if (table == nullptr) {
        return false;
    }
    std::free(mTable);
    mTable = static_cast<UInt32*>(table);
    mRoom = room;
    mTableMask = static_cast<UInt32>(room) * 2 - 1;
    for (CFIndex place = 0; place < mCount; ++place) {
        Index(place);
    }
    return true;
}

void __CFDictionary::Add(const void* key, const void* value)
{
    if (mCount == mRoom && !Grow()) {
        Standin::Misuse("CFDictionaryAddValue", "there is no memory for one more entry");
    }
    const void* const keptKey =
        mKeyCallBacks.retain != nullptr ? mKeyCallBacks.retain(nullptr, key) : key;
    const void* const keptValue =
        mValueCallBacks.retain != nullptr ? mValueCallBacks.retain(nullptr, value) : value;
    mEntries[mCount] = {keptKey, keptValue, Hash(key)};
    if (mTable != nullptr) {
        Index(mCount);
    }
    ++mCount;
}

void __CFDictionary::Replace(Entry& entry, const void* value)
{
    const void* const old = entry.mValue;
    entry.mValue =
        mValueCallBacks.retain != nullptr ? mValueCallBacks.retain(nullptr, value) : value;
    if (mValueCallBacks.release != nullptr) {
        mValueCallBacks.release(nullptr, old);
    }
}

CFTypeID CFDictionaryGetTypeID(void)
{
    return Standin::kDictionaryType;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks)
{
    if (capacity < 0) {
        Standin::Misuse("CFDictionaryCreateMutable", "the capacity is negative");
    }
    Standin::Held<CFMutableDictionaryRef> made(
        Standin::Make<__CFDictionary>(keyCallBacks, valueCallBacks));
    // With a hint, the memory for the first entries is there or the dictionary is not: an addition
    // has no way to fail.
    if (made.Get() != nullptr && capacity > 0 && !made.Get()->Grow()) {
        return nullptr;
    }
    return made.Detach();
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict)
{
    return Standin::As<__CFDictionary>(theDict, "CFDictionaryGetCount").mCount;
}

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key)
{
    const auto* entry = Standin::As<__CFDictionary>(theDict, "CFDictionaryGetValue").Find(key);
    return entry != nullptr ? entry->mValue : nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values)
{
    const auto& dictionary = Standin::As<__CFDictionary>(theDict, "CFDictionaryGetKeysAndValues");
    for (CFIndex place = 0; place < dictionary.mCount; ++place) {
        if (keys != nullptr) {
            keys[place] = dictionary.mEntries[place].mKey;
        }
        if (values != nullptr) {
            values[place] = dictionary.mEntries[place].mValue;
        }
    }
}

void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value)
{
    auto& dictionary = Standin::As<__CFDictionary>(theDict, "CFDictionaryAddValue");
    if (dictionary.Find(key) == nullptr) {
        dictionary.Add(key, value);
    }
}

void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value)
{
    auto& dictionary = Standin::As<__CFDictionary>(theDict, "CFDictionarySetValue");
    __CFDictionary::Entry* const entry = dictionary.Find(key);
    if (entry == nullptr) {
        dictionary.Add(key, value);
    } else {
        dictionary.Replace(*entry, value);
    }
}
