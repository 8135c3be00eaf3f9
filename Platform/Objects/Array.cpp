// Array.cpp - arrays of pointers.

#include "Objects/Array.h"

constinit const Standin::Type __CFArray::kType = {Standin::kArrayType, "CFArray",
                                                  &Standin::Destroy<__CFArray>};

__CFArray::__CFArray(CFIndex capacity)
    : Object(kType)
{
    // Allocates memory for the first values now, because appending cannot report that there is
    // none.
    mValues.reserve(capacity > 0 ? 4 : 0);
}

const void* __CFArray::GetAt(CFIndex index, const char* call) const
{
    if (index < 0 || static_cast<std::size_t>(index) >= mValues.size()) {
        Standin::Misuse(call, "the index is outside the array");
    }
    return mValues[static_cast<std::size_t>(index)];
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex capacity, const CFArrayCallBacks*)
{
    if (capacity < 0) {
        Standin::Misuse("CFArrayCreateMutable", "the capacity is negative");
    }
    return Standin::Make<__CFArray>(capacity);
}

CFIndex CFArrayGetCount(CFArrayRef theArray)
{
    return static_cast<CFIndex>(
        Standin::As<const __CFArray>(theArray, "CFArrayGetCount").mValues.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx)
{
    return Standin::As<const __CFArray>(theArray, "CFArrayGetValueAtIndex")
        .GetAt(idx, "CFArrayGetValueAtIndex");
}

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value)
{
    auto& array = Standin::As<__CFArray>(theArray, "CFArrayAppendValue");
    try {
        array.mValues.push_back(value);
    } catch (const std::bad_alloc&) {
        Standin::Misuse("CFArrayAppendValue", "there is no memory for one more value");
    }
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx)
{
    auto& array = Standin::As<__CFArray>(theArray, "CFArrayRemoveValueAtIndex");
    array.GetAt(idx, "CFArrayRemoveValueAtIndex");
    array.mValues.erase(array.mValues.begin() + idx);
}
