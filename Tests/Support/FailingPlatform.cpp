// FailingPlatform.cpp - the wrapped calls of the platform.

#include "Support/FailingPlatform.h"

#include "Support/RegionProbe.h"

#include <CoreServices/CoreServices.h>

namespace {

thread_local bool sIsWatching = false;
thread_local int sCalls = 0;
thread_local int sFailingCall = 0;
thread_local int sMissedChange = 0;

bool Refuses()
{
    return sIsWatching && ++sCalls == sFailingCall;
}

} // namespace

extern "C" {

OSStatus __real_MPCreateCriticalRegion(MPCriticalRegionID* region);
OSStatus __real_MPDeleteCriticalRegion(MPCriticalRegionID region);
OSStatus __real_MPEnterCriticalRegion(MPCriticalRegionID region, Duration timeout);
OSStatus __real_MPExitCriticalRegion(MPCriticalRegionID region);
Boolean __real_CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address);

OSStatus __wrap_MPCreateCriticalRegion(MPCriticalRegionID* region)
{
    ++RegionProbe::sCreations;
    if (Refuses()) {
        *region = reinterpret_cast<MPCriticalRegionID>(1); // not a region, and not null
        return kMPInsufficientResourcesErr;
    }
    const OSStatus status = __real_MPCreateCriticalRegion(region);
    RegionProbe::sLastRegion = *region;
    return status;
}

// A refused exit still leaves the region, and a refused deletion still deletes it.
OSStatus __wrap_MPDeleteCriticalRegion(MPCriticalRegionID region)
{
    ++RegionProbe::sDeletions;
    const OSStatus status = __real_MPDeleteCriticalRegion(region);
    return Refuses() ? OSStatus{kMPInvalidIDErr} : status;
}

OSStatus __wrap_MPEnterCriticalRegion(MPCriticalRegionID region, Duration timeout)
{
    if (Refuses()) {
        return kMPTimeoutErr;
    }
    const OSStatus status = __real_MPEnterCriticalRegion(region, timeout);
    ++RegionProbe::sEntries;
    ++RegionProbe::sDepth;
    RegionProbe::sLastTimeout = timeout;
    RegionProbe::sLastEntered = region;
    return status;
}

OSStatus __wrap_MPExitCriticalRegion(MPCriticalRegionID region)
{
    ++RegionProbe::sExits;
    --RegionProbe::sDepth;
    const OSStatus status = __real_MPExitCriticalRegion(region);
    return Refuses() ? OSStatus{kMPInvalidIDErr} : status;
}

Boolean __wrap_CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address)
{
    if (Refuses()) {
        sMissedChange = static_cast<int>(newValue - oldValue);
        return false;
    }
    return __real_CompareAndSwap(oldValue, newValue, address);
}

} // extern "C"

namespace TestSupport {

FailingPlatform::FailingPlatform(int call)
{
    sCalls = 0;
    sFailingCall = call;
    sMissedChange = 0;
    sIsWatching = true;
}

FailingPlatform::~FailingPlatform()
{
    sIsWatching = false;
}

bool FailingPlatform::HasRefused() const
{
    return sFailingCall > 0 && sCalls >= sFailingCall;
}

int FailingPlatform::GetMissedChange()
{
    return sMissedChange;
}

} // namespace TestSupport
