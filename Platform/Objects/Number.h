// Number.h - the object that a CFNumberRef points to.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFNumber.h>

struct __CFNumber : Standin::Object
{
    static const Standin::Type kType;

    explicit __CFNumber(SInt64 value)
        : Object(kType)
        , mValue(value)
    {}

    /// Documents may hold integers of more than 32 bits.
    const SInt64 mValue;
};
