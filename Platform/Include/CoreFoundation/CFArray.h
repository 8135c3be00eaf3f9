// CFArray.h - mutable arrays of pointers.
//
// An array neither retains, releases nor looks at its values, which may be any pointers, null
// included.
//
//     CFMutableArrayRef records = CFArrayCreateMutable(nullptr, 1, nullptr);
//     CFArrayAppendValue(records, record);
//     CFArrayGetValueAtIndex(records, 0); // record
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;

/// Not defined here: arrays take no callbacks but null.
typedef struct CFArrayCallBacks CFArrayCallBacks;

CF_EXTERN_C_BEGIN

/// Makes an empty array. `capacity` is a hint: the array grows as needed.
///
/// Requires: callBacks is null.
/// Fails: null when there is no memory.
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks);

CFIndex CFArrayGetCount(CFArrayRef theArray);
/// Requires: 0 <= idx < count; anything else stops the program.
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);
void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value);
/// Removes one value; those after it move up. Requires: 0 <= idx < count.
void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx);

CF_EXTERN_C_END
