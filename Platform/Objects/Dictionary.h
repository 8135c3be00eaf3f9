// Dictionary.h - the object behind CFMutableDictionaryRef.
//
// Entries stand in the order of insertion. A small dictionary is searched from its start; a large
// one has a table of places beside it.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFDictionary.h>

struct __CFDictionary : Standin::Object
{
    static const Standin::Type kType;

    struct Entry
    {
        const void* mKey;
        const void* mValue;
        CFHashCode mHash;
    };

    __CFDictionary(const CFDictionaryKeyCallBacks* keyCallBacks,
                   const CFDictionaryValueCallBacks* valueCallBacks);
    ~__CFDictionary();

    /// Makes room for more entries; false, with nothing changed, when there is no memory.
    bool Grow();
    Entry* Find(const void* key) const;
    /// Requires: the key is not present.
    void Add(const void* key, const void* value);
    void Replace(Entry& entry, const void* value);

    /// All null if the maker gave none.
    const CFDictionaryKeyCallBacks mKeyCallBacks;
    const CFDictionaryValueCallBacks mValueCallBacks;
    Entry* mEntries = nullptr;
    CFIndex mCount = 0;
    CFIndex mRoom = 0;

private:
    CFHashCode Hash(const void* key) const;
    bool Matches(const Entry& entry, const void* key, CFHashCode hash) const;
    void Index(CFIndex place);

    /// One more than the place of an entry, or 0; open addressing, at most half full. Null while
    /// the dictionary is small.
    UInt32* mTable = nullptr;
    UInt32 mTableMask = 0;
};
