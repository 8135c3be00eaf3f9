// CFArray.h - mutable arrays of pointers.
//
// An array does not retain, release or read its values. A value may be any pointer, also null.
//
//     CFMutableArrayRef records = CFArrayCreateMutable(nullptr, 1, nullptr);
//     CFArrayAppendValue(records, record);
//     CFArrayGetValueAtIndex(records, 0); // record
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;

/// Not defined here: calls take a null pointer only.
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
