// Multiprocessing.h - the critical regions of Multiprocessing Services.
#pragma once

#include <CoreServices/MacTypes.h>

typedef struct OpaqueMPCriticalRegionID* MPCriticalRegionID;

enum
{
    kMPDeletedErr = -29295,
    kMPTimeoutErr = -29296,
    kMPInsufficientResourcesErr = -29298,
    kMPInvalidIDErr = -29299
};

#ifdef __cplusplus
extern "C" {
#endif

OSStatus MPCreateCriticalRegion(MPCriticalRegionID* criticalRegion);
OSStatus MPDeleteCriticalRegion(MPCriticalRegionID criticalRegion);
OSStatus MPEnterCriticalRegion(MPCriticalRegionID criticalRegion, Duration timeout);
OSStatus MPExitCriticalRegion(MPCriticalRegionID criticalRegion);

#ifdef __cplusplus
}
#endif
