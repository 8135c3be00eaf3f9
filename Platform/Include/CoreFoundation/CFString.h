// CFString.h - immutable strings and constant strings.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <CoreFoundation/CFDictionary.h>

typedef UInt32 CFStringEncoding;

enum
{
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUTF8 = 0x08000100
};

CF_EXTERN_C_BEGIN

/// Makes or finds the constant object of a literal; use CFSTR.
CFStringRef __CFStringMakeConstantString(const char* cStr);

/// A constant string object from a literal of 7-bit characters. It is never destroyed; retaining
/// and releasing it are harmless. Equal literals give the same object.
#define CFSTR(cStr) __CFStringMakeConstantString("" cStr "")

CFTypeID CFStringGetTypeID(void);

/// Copies a NUL-terminated string.
///
/// Fails: null when there is no memory or the bytes are not of the encoding.
CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cStr,
                                      CFStringEncoding encoding);

/// Formats in the manner of printf. %s takes a NUL-terminated 8-bit string in the system encoding
/// (a null pointer gives "(null)"), %d, %i, %u, %x and %X an integer, with l, ll or q for a long
/// one;
/// '-', 0, a width and a precision apply.
/// `formatOptions` is not used.
///
/// Fails: null when there is no memory or the format has a conversion that is not supported.
CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions,
                                     CFStringRef format, ...);

/// The number of UTF-16 units.
CFIndex CFStringGetLength(CFStringRef theString);
/// The room, without the NUL, that `length` UTF-16 units need at most in an encoding.
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
/// Copies the string and a NUL into `buffer` and returns true; false, with the buffer unspecified,
/// if the room of `bufferSize` bytes is too small or a character is not of the encoding.
Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
/// Compares by UTF-16 units. Options other than 0 are not supported and stop the program.
CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFOptionFlags compareOptions);

CF_EXTERN_C_END
