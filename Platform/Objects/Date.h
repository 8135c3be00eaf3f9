// Date.h - the object behind CFDateRef.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFDate.h>

struct __CFDate : Standin::Object
{
    static const Standin::Type kType;

    explicit __CFDate(CFAbsoluteTime at)
        : Object(kType)
        , mTime(at)
    {}

    const CFAbsoluteTime mTime;
};
