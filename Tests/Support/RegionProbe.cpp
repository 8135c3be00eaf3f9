// RegionProbe.cpp - the wrapped calls of the platform's critical regions.

#include "Support/RegionProbe.h"

extern "C" {

OSStatus __real_MPCreateCriticalRegion(MPCriticalRegionID* region);
OSStatus __real_MPDeleteCriticalRegion(MPCriticalRegionID region);
OSStatus __real_MPEnterCriticalRegion(MPCriticalRegionID region, Duration timeout);
OSStatus __real_MPExitCriticalRegion(MPCriticalRegionID region);

OSStatus __wrap_MPCreateCriticalRegion(MPCriticalRegionID* region)
{
    ++RegionProbe::sCreations;
    if (RegionProbe::sRefuseCreation) {
        *region = reinterpret_cast<MPCriticalRegionID>(1); // not a region, and not null
        return kMPInsufficientResourcesErr;
    }
    const OSStatus status = __real_MPCreateCriticalRegion(region);
    RegionProbe::sLastRegion = *region;
    return status;
}

OSStatus __wrap_MPDeleteCriticalRegion(MPCriticalRegionID region)
{
    ++RegionProbe::sDeletions;
    return __real_MPDeleteCriticalRegion(region);
}

OSStatus __wrap_MPEnterCriticalRegion(MPCriticalRegionID region, Duration timeout)
{
    const OSStatus status = __real_MPEnterCriticalRegion(region, timeout);
    ++RegionProbe::sEntries;
    ++RegionProbe::sDepth;
    RegionProbe::sLastTimeout = timeout;
    return status;
}

OSStatus __wrap_MPExitCriticalRegion(MPCriticalRegionID region)
{
    ++RegionProbe::sExits;
    --RegionProbe::sDepth;
    return __real_MPExitCriticalRegion(region);
}

} // extern "C"
