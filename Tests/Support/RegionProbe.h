// RegionProbe.h - counts the calls that a test program makes for critical regions.
//
// The program links FailingPlatform, which counts each call here and then makes it.
#pragma once

#include <CoreServices/CoreServices.h>

#include <atomic>

struct RegionProbe
{
    inline static std::atomic<int> sCreations = 0;
    inline static std::atomic<int> sDeletions = 0;
    inline static std::atomic<int> sEntries = 0;
    inline static std::atomic<int> sExits = 0;
    inline static std::atomic<Duration> sLastTimeout = 0;
    inline static std::atomic<MPCriticalRegionID> sLastRegion = nullptr;
    inline static std::atomic<MPCriticalRegionID> sLastEntered = nullptr;
    /// How many regions the calling thread has entered and not left.
    inline static thread_local int sDepth = 0;

    static void Reset()
    {
        sCreations = 0;
        sDeletions = 0;
        sEntries = 0;
        sExits = 0;
        sLastTimeout = 0;
        sLastRegion = nullptr;
        sLastEntered = nullptr;
    }
};
