// CFArray.h - mutable arrays of pointers.
//
// With null callbacks the array neither retains, releases nor looks at its values, which may be
// any pointers, null included.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;

typedef const void* (*CFArrayRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFArrayEqualCallBack)(const void* value1, const void* value2);

typedef struct
{
    CFIndex version;
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;
    CFArrayEqualCallBack equal;
} CFArrayCallBacks;

CF_EXTERN_C_BEGIN

/// For values that are Core Foundation objects: retained while in the array.
extern const CFArrayCallBacks kCFTypeArrayCallBacks;

CFTypeID CFArrayGetTypeID(void);

/// Makes an empty array. `capacity` is a hint: the array grows as needed.
///
/// Fails: null when there is no memory.
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks);

CFIndex CFArrayGetCount(CFArrayRef theArray);
/// Requires: 0 <= idx < count; anything else stops the program.
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);
void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value);
/// Removes one value; those behind it move up. Requires: 0 <= idx < count.
void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx);

CF_EXTERN_C_END
