// Data.h - the object that a CFDataRef points to: a header, followed by its bytes in the same
// block.
#pragma once

#include "Objects/Object.h"

#include <CoreFoundation/CFData.h>

#include <string_view>

struct __CFData : Standin::Object
{
    static const Standin::Type kType;

    explicit __CFData(CFIndex length)
        : Object(kType)
        , mLength(length)
    {}

    const UInt8* GetBytes() const { return reinterpret_cast<const UInt8*>(this + 1); }
    UInt8* GetBytes() { return reinterpret_cast<UInt8*>(this + 1); }
    std::string_view GetView() const
    {
        return {reinterpret_cast<const char*>(this + 1), static_cast<std::size_t>(mLength)};
    }

    const CFIndex mLength;
};
