// CFBase.h - the basic types of Core Foundation and the calls that every object answers.
//
// Create and Copy calls give the caller a reference of its own; Get calls lend one.
//
//     CFDataRef data = CFDataCreate(nullptr, bytes, 28); // one reference, the caller's
//     CFRetain(data);                                    // two
//     CFRelease(data);                                   // one
//     CFRelease(data);                                   // none: the object is gone
//
// A null object, one reference too many given back, or an object of another type than the call
// expects is a mistake of the caller and stops the program with a message on standard error.
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
/// Null in every call: memory comes from the heap of the C library.
typedef const struct __CFAllocator* CFAllocatorRef;

CF_EXTERN_C_BEGIN

/// The type of an object, which the call of the type's own name also returns.
CFTypeID CFGetTypeID(CFTypeRef cf);

/// Adds a reference and returns the object.
CFTypeRef CFRetain(CFTypeRef cf);
/// Gives a reference back; the last one destroys the object.
void CFRelease(CFTypeRef cf);

CF_EXTERN_C_END
