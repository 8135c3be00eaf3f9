// CFString.h - immutable strings and constant strings.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <CoreFoundation/CFDictionary.h>

typedef UInt32 CFStringEncoding;

enum
{
    kCFStringEncodingUTF8 = 0x08000100
};

CF_EXTERN_C_BEGIN

/// Returns the constant object of a literal. CFSTR calls it.
CFStringRef __CFStringMakeConstantString(const char* cStr);

/// A constant string object from a literal of 7-bit characters. It is never destroyed; retaining
/// and releasing it are harmless. Equal literals give the same object.
#define CFSTR(cStr) __CFStringMakeConstantString("" cStr "")

/// Makes a string from a format. In it, %% stands for a percent sign and %s for an argument: a
/// NUL-terminated string of 7-bit characters. A null pointer gives "(null)". `formatOptions` is not
/// used.
///
///     CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s: %s%%"), "gain", "50"); // gain: 50%
///
/// Fails: null when there is no memory, the format has anything else after a percent sign, or an
/// argument has a byte above 127.
CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions,
                                     CFStringRef format, ...);

/// Copies the string and a NUL into `buffer` and returns true. Returns false, and leaves the buffer
/// as it was, if the `bufferSize` bytes are too few or `encoding` is not UTF-8.
Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);

CF_EXTERN_C_END
