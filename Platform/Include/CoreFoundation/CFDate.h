// CFDate.h - points in time and their differences, in seconds.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef double CFTimeInterval;
/// Seconds since 2001-01-01 00:00:00 UTC.
typedef CFTimeInterval CFAbsoluteTime;

typedef const struct __CFDate* CFDateRef;

CF_EXTERN_C_BEGIN

CFTypeID CFDateGetTypeID(void);
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate);

CF_EXTERN_C_END
