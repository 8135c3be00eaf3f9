// Dictionary.h - the object that a CFMutableDictionaryRef points to.
//
// Entries keep the order of insertion and are searched from the first on: dictionaries are small.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

#include <vector>

struct __CFDictionary : Standin::Object
{
    static const Standin::Type kType;

    struct Entry
    {
        const void* mKey;
        const void* mValue;
    };

    enum Contents
    {
        /// Any pointers; two keys are the same if they are one pointer.
        kPointers,
        /// Objects that the dictionary releases at its end; the keys are strings, and the same if
        /// their texts are equal.
        kObjects
    };

    /// Throws: std::bad_alloc.
    __CFDictionary(Contents contents, CFIndex capacity);
    ~__CFDictionary();

    Entry* Find(const void* key);
    /// Adds an entry of kObjects or replaces the value of a present key, and takes both references.
    ///
    /// Throws: std::bad_alloc, with nothing changed.
    void Set(Standin::Held<CFStringRef> key, Standin::Held<CFTypeRef> value);

    const Contents mContents;
    std::vector<Entry> mEntries;
};
