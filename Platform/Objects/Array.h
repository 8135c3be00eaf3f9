// Array.h - the object behind CFMutableArrayRef.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFArray.h>

struct __CFArray : Standin::Object
{
    static const Standin::Type kType;

    explicit __CFArray(const CFArrayCallBacks* callBacks);
    ~__CFArray();

    /// Makes room for more values; false, with nothing changed, when there is no memory.
    bool Grow();
    void Append(const void* value);
    const void* GetAt(CFIndex index, const char* call) const;
    void RemoveAt(CFIndex index);

    /// All null if the maker gave none.
    const CFArrayCallBacks mCallBacks;
    const void** mValues = nullptr;
    CFIndex mCount = 0;
    CFIndex mRoom = 0;
};
