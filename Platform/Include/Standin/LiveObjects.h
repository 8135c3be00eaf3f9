// LiveObjects.h - counts of the stand-in's live objects. For tests alone: no tool and no example
// includes it.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

/// The number of live objects of one type, such as CFDataGetTypeID(); constant objects do not
/// count.
SInt32 StandinGetLiveObjectCount(CFTypeID typeID);

/// The number of live objects of all types but run loops, which come and go with their threads.
SInt32 StandinGetTotalLiveObjectCount(void);

CF_EXTERN_C_END
