// CFNumber.h - integers as objects.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFNumber* CFNumberRef;

/// The only type here: a signed integer of 32 bits.
typedef enum
{
    kCFNumberSInt32Type = 3
} CFNumberType;

CF_EXTERN_C_BEGIN

CFTypeID CFNumberGetTypeID(void);

/// Makes a number from the four bytes at `valuePtr`, in host order and at any alignment.
///
/// Fails: null when there is no memory.
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType theType, const void* valuePtr);

/// Stores the number's low 32 bits at `valuePtr`, at any alignment, and returns true if the number
/// fits. Only a number that was read from a document can have more bits.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);

CF_EXTERN_C_END
