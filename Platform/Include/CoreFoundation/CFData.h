// CFData.h - immutable byte strings.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFData* CFDataRef;

CF_EXTERN_C_BEGIN

CFTypeID CFDataGetTypeID(void);

/// Copies `length` bytes; 0 is legal and `bytes` may then be null.
///
/// Fails: null when there is no memory.
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);

CFIndex CFDataGetLength(CFDataRef theData);
/// Returns the bytes, which live as long as the object.
const UInt8* CFDataGetBytePtr(CFDataRef theData);

CF_EXTERN_C_END
