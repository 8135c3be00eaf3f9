// CFDictionary.h - mutable dictionaries from pointers to pointers.
//
// Two keys of a dictionary are the same only if they are the same pointer, and neither keys nor
// values are retained: the dictionary's maker keeps both alive. A dictionary that was read from a
// document is another thing: its keys are strings, compared by their text, and it owns its entries.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;

/// Not defined here: dictionaries take no callbacks but null.
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

/// The value of `key`, or null if there is none. It lives as long as the entry.
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);

/// Adds an entry; does nothing if the key is present.
void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value);

CF_EXTERN_C_END
