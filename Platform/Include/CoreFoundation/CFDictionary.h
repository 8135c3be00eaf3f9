// CFDictionary.h - mutable dictionaries from pointers to pointers.
//
// Keys are compared by address. Neither keys nor values are retained: the caller must keep both
// alive. Unlike these, a dictionary that was read from a document compares its keys, which are
// strings, by their text, and it owns its entries.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;

/// Not defined here: calls take null pointers only.
typedef struct CFDictionaryKeyCallBacks CFDictionaryKeyCallBacks;
typedef struct CFDictionaryValueCallBacks CFDictionaryValueCallBacks;

CF_EXTERN_C_BEGIN

CFTypeID CFDictionaryGetTypeID(void);

/// Makes an empty dictionary. `capacity` is a hint: the dictionary grows as needed.
///
/// Requires: keyCallBacks and valueCallBacks are null.
/// Fails: null when there is no memory.
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);

/// Returns the value of `key`, or null if there is none. Adds no reference.
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);

/// Adds an entry; does nothing if the key is present.
void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value);

CF_EXTERN_C_END
