// CFPropertyList.h - property lists as XML documents.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFString.h>

typedef enum
{
    kCFPropertyListImmutable = 0,
    kCFPropertyListMutableContainers = 1,
    kCFPropertyListMutableContainersAndLeaves = 2
} CFPropertyListMutabilityOptions;

CF_EXTERN_C_BEGIN

/// Writes the document of strings, numbers, booleans, dates, data, arrays and dictionaries with
/// string keys. Keys are sorted; equal lists give equal bytes.
///
/// Fails: null when an object is of no property-list type, a key is no string, or there is no
/// memory.
CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef propertyList);

/// Reads a document. Any bytes are safe to read.
///
/// `mutabilityOption` is not used: every container is mutable, every leaf is not.
///
/// Fails: null when the bytes are no document; `*errorString`, unless the pointer is null, is then
/// a string that says what is wrong and in which line, to be released by the caller. On success
/// it is null.
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xmlData,
                                                  CFOptionFlags mutabilityOption,
                                                  CFStringRef* errorString);

CF_EXTERN_C_END
