// CFPropertyList.h - property lists as XML documents.
//
// A property list here is a dictionary with strings as its keys, a string, an integer or data.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFString.h>

typedef enum
{
    kCFPropertyListImmutable = 0
} CFPropertyListMutabilityOptions;

CF_EXTERN_C_BEGIN

/// Writes the document of a property list. Keys are sorted; equal lists give equal bytes.
///
/// Fails: null when the list, a value or a key of a dictionary is null or of another type, lists
/// are nested more than 512 deep, or there is no memory.
CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef propertyList);

/// Reads a document and returns its property list, a reference of the caller's. Any bytes are safe
/// to read. `mutabilityOption` is not used: what was read does not change.
///
/// Fails: null when the bytes are no document, or the document has an element of another type or
/// more than 128 levels. A message with the line of the error is then stored in `*errorString`,
/// unless that pointer is null; the caller releases it. On success the message is null.
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xmlData,
                                                  CFOptionFlags mutabilityOption,
                                                  CFStringRef* errorString);

CF_EXTERN_C_END
