// Array.cpp - arrays of pointers.

#include "Objects/Array.h"

#include <algorithm>

namespace {

const void* RetainObject(CFAllocatorRef, const void* value)
{
    return CFRetain(value);
}

void ReleaseObject(CFAllocatorRef, const void* value)
{
    CFRelease(value);
}

bool EqualArray(const Standin::Object* left, const Standin::Object* right)
{
    const auto& one = *static_cast<const __CFArray*>(left);
    const auto& other = *static_cast<const __CFArray*>(right);
    const CFArrayEqualCallBack equal = one.mCallBacks.equal;
    return equal != nullptr && equal == other.mCallBacks.equal &&
           std::equal(one.mValues, one.mValues + one.mCount, other.mValues,
                      other.mValues + other.mCount, equal);
}

CFHashCode HashArray(const Standin::Object* object)
{
    return static_cast<CFHashCode>(static_cast<const __CFArray*>(object)->mCount);
}

} // namespace

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, &RetainObject, &ReleaseObject, nullptr,
                                                &CFEqual};

const Standin::Type __CFArray::kType = {Standin::kArrayType, "CFArray",
                                        &Standin::Destroy<__CFArray>, &EqualArray, &HashArray};

__CFArray::__CFArray(const CFArrayCallBacks* callBacks)
    : Object(kType)
    , mCallBacks(callBacks != nullptr ? *callBacks : CFArrayCallBacks())
{}

__CFArray::~__CFArray()
{
    if (mCallBacks.release != nullptr) {
        for (CFIndex index = 0; index < mCount; ++index) {
            mCallBacks.release(nullptr, mValues[index]);
        }
    }
    std::free(mValues);
}

bool __CFArray::Grow()
{
    const CFIndex room = mRoom == 0 ? 4 : mRoom * 2;
    void* grown = std::realloc(mValues, static_cast<std::size_t>(room) * sizeof(void*));
    if (grown == nullptr) {
        return false;
    }
    mValues = static_cast<const void**>(grown);
    mRoom = room;
    return true;
}

void __CFArray::Append(const void* value)
{
    if (mCount == mRoom && !Grow()) {
        Standin::Misuse("CFArrayAppendValue", "there is no memory for one more value");
    }
    mValues[mCount++] = mCallBacks.retain != nullptr ? mCallBacks.retain(nullptr, value) : value;
}

const void* __CFArray::GetAt(CFIndex index, const char* call) const
{
    if (index < 0 || index >= mCount) {
        Standin::Misuse(call, "the index is outside the array");
    }
    return mValues[index];
}

void __CFArray::RemoveAt(CFIndex index)
{
    const void* const removed = GetAt(index, "CFArrayRemoveValueAtIndex");
    std::copy(mValues + index + 1, mValues + mCount, mValues + index);
    --mCount;
    if (mCallBacks.release != nullptr) {
        mCallBacks.release(nullptr, removed);
    }
}

CFTypeID CFArrayGetTypeID(void)
{
    return Standin::kArrayType;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks)
{
    if (capacity < 0) {
        Standin::Misuse("CFArrayCreateMutable", "the capacity is negative");
    }
    Standin::Held<CFMutableArrayRef> made(Standin::Make<__CFArray>(callBacks));
    // As with a dictionary: with a hint, the first values have their memory from the start.
    if (made.Get() != nullptr && capacity > 0 && !made.Get()->Grow()) {
        return nullptr;
    }
    return made.Detach();
}

CFIndex CFArrayGetCount(CFArrayRef theArray)
{
    return Standin::As<__CFArray>(theArray, "CFArrayGetCount").mCount;
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx)
{
    return Standin::As<__CFArray>(theArray, "CFArrayGetValueAtIndex")
        .GetAt(idx, "CFArrayGetValueAtIndex");
}

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value)
{
    Standin::As<__CFArray>(theArray, "CFArrayAppendValue").Append(value);
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx)
{
    Standin::As<__CFArray>(theArray, "CFArrayRemoveValueAtIndex").RemoveAt(idx);
}
