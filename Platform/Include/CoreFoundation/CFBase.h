// CFBase.h - the basic types of Core Foundation, and the calls that take any object.
//
// The result of a Create or Copy call is a reference that the caller must release. The result of a
// Get call is not.
//
//     CFDataRef data = CFDataCreate(nullptr, bytes, 28); // one reference, the caller's
//     CFRetain(data);                                    // two
//     CFRelease(data);                                   // one
//     CFRelease(data);                                   // none: the object is gone
//
// A call with a null object, an object that is gone or an object of the wrong type stops the
// program with a message on standard error.
#pragma once

#include <CoreServices/MacTypes.h>

// What is declared between the two macros has C linkage and is exported by the library.
#ifdef __cplusplus
#define CF_EXTERN_C_BEGIN                                                                          \
    _Pragma("GCC visibility push(default)") extern "C"                                             \
    {
#define CF_EXTERN_C_END                                                                            \
    }                                                                                              \
    _Pragma("GCC visibility pop")
#else
#define CF_EXTERN_C_BEGIN _Pragma("GCC visibility push(default)")
#define CF_EXTERN_C_END _Pragma("GCC visibility pop")
#endif

typedef SInt32 CFIndex;
typedef UInt32 CFTypeID;
typedef UInt32 CFOptionFlags;

typedef const void* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;

typedef const struct __CFString* CFStringRef;
/// Null in every call: memory always comes from the heap of the C library.
typedef const struct __CFAllocator* CFAllocatorRef;

CF_EXTERN_C_BEGIN

/// Returns the type of an object: the number that CFDataGetTypeID returns for data, for example.
CFTypeID CFGetTypeID(CFTypeRef cf);

/// Adds a reference and returns the object.
CFTypeRef CFRetain(CFTypeRef cf);
/// Removes a reference. Without any reference left, the object is destroyed.
void CFRelease(CFTypeRef cf);

CF_EXTERN_C_END
