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

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/// Makes a free region.
///
/// Fails: kMPInsufficientResourcesErr without memory, and stores kInvalidID; kMPInvalidIDErr for a
/// null pointer.
OSStatus MPCreateCriticalRegion(MPCriticalRegionID* criticalRegion);
/// Ends a region; threads that wait for it get kMPDeletedErr.
///
/// Fails: kMPInvalidIDErr.
OSStatus MPDeleteCriticalRegion(MPCriticalRegionID criticalRegion);
/// Enters a region, at once if the calling thread is its owner; each entry needs its own exit.
/// A positive timeout is in milliseconds, a negative one in microseconds.
///
/// Fails: kMPTimeoutErr, kMPDeletedErr, kMPInvalidIDErr.
OSStatus MPEnterCriticalRegion(MPCriticalRegionID criticalRegion, Duration timeout);
/// Leaves a region once.
///
/// Fails: kMPInsufficientResourcesErr if the calling thread is not the owner; kMPInvalidIDErr.
OSStatus MPExitCriticalRegion(MPCriticalRegionID criticalRegion);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop
