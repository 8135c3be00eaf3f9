// CFDictionary.h - mutable dictionaries from pointers to pointers.
//
// With null key callbacks two keys are the same only if they are the same pointer, and neither
// keys nor values are retained: the dictionary's maker keeps both alive.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;

typedef const void* (*CFDictionaryRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void* value1, const void* value2);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* value);

typedef struct
{
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
    CFDictionaryHashCallBack hash;
} CFDictionaryKeyCallBacks;

typedef struct
{
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
} CFDictionaryValueCallBacks;

CF_EXTERN_C_BEGIN

/// For keys that are Core Foundation objects: retained, and equal when their contents are.
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
/// For values that are Core Foundation objects: retained while in the dictionary.
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeID CFDictionaryGetTypeID(void);

/// Makes an empty dictionary. `capacity` is a hint: the dictionary grows as needed.
///
/// Fails: null when there is no memory.
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict);
/// The value of `key`, or null if there is none.
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);
/// Fills two arrays of count pointers each, either of which may be null, in one and the same order.
void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values);

/// Adds an entry; does nothing if the key is present.
void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value);
/// Adds an entry or replaces the value of a present key.
void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value);

CF_EXTERN_C_END
