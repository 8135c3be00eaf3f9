// Number.h - the objects behind CFNumberRef and CFBooleanRef.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFNumber.h>

struct __CFNumber : Standin::Object
{
    static const Standin::Type kType;

    __CFNumber(CFNumberType type, SInt64 integer, Float64 real)
        : Object(kType)
        , mType(type)
        , mInteger(integer)
        , mReal(real)
    {}

    bool IsReal() const { return mType == kCFNumberFloat32Type || mType == kCFNumberFloat64Type; }

    /// One of the six types by width.
    const CFNumberType mType;
    /// The value of an integer type, else 0.
    const SInt64 mInteger;
    /// The value of a floating type, else 0.
    const Float64 mReal;
};

struct __CFBoolean : Standin::Object
{
    static const Standin::Type kType;

    constexpr explicit __CFBoolean(bool value)
        : Object(kType, kImmortal)
        , mValue(value)
    {}

    const bool mValue;
};
