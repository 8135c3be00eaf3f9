// Array.h - the object that a CFMutableArrayRef points to.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFArray.h>

#include <vector>

struct __CFArray : Standin::Object
{
    static const Standin::Type kType;

    /// Throws: std::bad_alloc.
    explicit __CFArray(CFIndex capacity);

    /// Returns the value at an index. Stops the program, with the name of `call`, if there is none.
    const void* GetAt(CFIndex index, const char* call) const;

    std::vector<const void*> mValues;
};
