// Dictionary.h - the object that a CFMutableDictionaryRef points to.
//
// Entries keep the order of insertion and are searched one by one: dictionaries are small.
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
        /// Any pointers; keys are compared by address.
        kPointers,
        /// Objects that the dictionary releases at its end; keys are strings, compared by their
        /// text.
        kObjects
    };

    /// Throws: std::bad_alloc.
    __CFDictionary(Contents contents, CFIndex capacity);
    ~__CFDictionary();

    Entry* Find(const void* key);
    /// Adds an entry to a dictionary of kObjects, or replaces the value if the key is present.
    /// Takes over both references.
    ///
    /// Throws: std::bad_alloc, with nothing changed.
    void Set(Standin::Held<CFStringRef> key, Standin::Held<CFTypeRef> value);

    const Contents mContents;
    std::vector<Entry> mEntries;
};
