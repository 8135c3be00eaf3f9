// CFBase.h - the basic types of Core Foundation and the calls that every object answers.
//
// Create and Copy calls give the caller a reference of its own; Get calls lend one.
//
//     CFDataRef data = CFDataCreate(kCFAllocatorDefault, bytes, 28); // one reference, the caller's
//     CFRetain(data);                                                // two
//     CFRelease(data);                                               // one
//     CFRelease(data);                                               // none: the object is gone
//
// A null object, one reference too many given back, or an object of another type than the call
// expects is a mistake of the caller and stops the program with a message on standard error.
#pragma once

#include <CoreServices/MacTypes.h>

// What stands between the two macros has C linkage and is exported by the library.
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

#if !defined(TRUE)
#define TRUE 1
#endif
#if !defined(FALSE)
#define FALSE 0
#endif

typedef SInt32 CFIndex;
typedef UInt32 CFTypeID;
typedef UInt32 CFOptionFlags;
typedef UInt32 CFHashCode;

typedef const void* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;

// The string types stand here because callbacks of every container name them.
typedef const struct __CFString* CFStringRef;
typedef const struct __CFAllocator* CFAllocatorRef;

typedef enum
{
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
} CFComparisonResult;

CF_EXTERN_C_BEGIN

/// Null; every Create call takes memory from the heap of the C library.
extern const CFAllocatorRef kCFAllocatorDefault;

CFTypeID CFGetTypeID(CFTypeRef cf);

/// Adds a reference and returns the object.
CFTypeRef CFRetain(CFTypeRef cf);
/// Gives a reference back; the last one destroys the object.
void CFRelease(CFTypeRef cf);
/// The number of references; a constant object answers the largest CFIndex.
CFIndex CFGetRetainCount(CFTypeRef cf);

/// True for one and the same object and for two of equal type and content. Containers of plain
/// pointers are equal to themselves alone.
Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);
/// Equal objects have equal hash codes.
CFHashCode CFHash(CFTypeRef cf);

CF_EXTERN_C_END
