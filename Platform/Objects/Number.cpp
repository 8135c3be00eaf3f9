// Number.cpp - integers.

#include "Objects/Number.h"

#include <cstring>

constinit const Standin::Type __CFNumber::kType = {Standin::kNumberType, "CFNumber",
                                                   &Standin::Destroy<__CFNumber>};

CFTypeID CFNumberGetTypeID(void)
{
    return Standin::kNumberType;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType, const void* valuePtr)
{
    if (valuePtr == nullptr) {
        Standin::Misuse("CFNumberCreate", "the value's address is null");
    }
    SInt32 value = 0;
    std::memcpy(&value, valuePtr, sizeof(value));
    return Standin::Make<__CFNumber>(value);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType, void* valuePtr)
{
    const SInt64 value = Standin::As<const __CFNumber>(number, "CFNumberGetValue").mValue;
    if (valuePtr == nullptr) {
        Standin::Misuse("CFNumberGetValue", "the value's address is null");
    }
    const auto stored = static_cast<SInt32>(value);
    std::memcpy(valuePtr, &stored, sizeof(stored));
    return stored == value;
}
