// MacTypes.h - the platform's basic types, with the platform's widths on every target.
//
// UInt32 and SInt32 have 32 bits everywhere: they are long where long has 32 bits, as in the
// platform's own header, and int elsewhere.
#pragma once

typedef unsigned char UInt8;
typedef signed short SInt16;
#if __SIZEOF_LONG__ == 4
typedef unsigned long UInt32;
typedef signed long SInt32;
#else
typedef unsigned int UInt32;
typedef signed int SInt32;
#endif
typedef unsigned long long UInt64;
typedef signed long long SInt64;
typedef float Float32;
typedef double Float64;
typedef unsigned char Boolean;
typedef SInt32 OSStatus;
/// Milliseconds if positive, microseconds if negative.
typedef SInt32 Duration;

enum
{
    noErr = 0
};
enum
{
    kInvalidID = 0
};

enum
{
    kDurationImmediate = 0,
    kDurationForever = 0x7FFFFFFF,
    kDurationMillisecond = 1,
    kDurationMicrosecond = -1
};
