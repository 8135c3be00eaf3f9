// CriticalRegion.cpp - the critical regions of Multiprocessing Services.
//
// The state of a region is a futex word: free, owned, or owned and perhaps waited for. Entering and
// leaving a free region takes one atomic operation each and no system call. In a process with one
// thread, plain loads and stores are enough, as in the C library's own locks: threads that it
// starts later see what it has stored. A deleted region is kept for reuse and never freed, so that
// a call with an old handle gives an error code.

#include "Threads/Clock.h"

#include <CoreServices/Multiprocessing.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/single_threaded.h>
#include <sys/syscall.h>
#include <unistd.h>

struct OpaqueMPCriticalRegionID
{
    std::atomic<int> mState{0};
    /// The owner's ThisThread(), or null. Only the owner itself can find its own value here.
    std::atomic<const void*> mOwner{nullptr};
    /// How many exits the owner still owes. Only the owner uses it.
    UInt32 mEntries = 0;
    /// Odd while the region exists; grows by 1 at each creation and deletion.
    std::atomic<UInt32> mLife{0};
    /// The number of threads that wait to enter.
    std::atomic<UInt32> mWaiting{0};
    OpaqueMPCriticalRegionID* mNextFree = nullptr;
};

namespace {

using Region = OpaqueMPCriticalRegionID;
using Standin::Nanoseconds;

enum State : int
{
    kFree = 0,
    kOwned = 1,
    kContended = 2,
    kDeleted = 3
};

// Guards the list of deleted regions, and is never left locked in a forked child.
std::mutex gFreeMutex;
Region* gFree = nullptr;

[[maybe_unused]] const int gForkHandlers = pthread_atfork(
    [] { gFreeMutex.lock(); }, [] { gFreeMutex.unlock(); }, [] { gFreeMutex.unlock(); });

const void* ThisThread()
{
    // With this model the address is found without a call.
    [[gnu::tls_model("initial-exec")]] static thread_local char sMark;
    return &sMark;
}

bool Exists(const Region* region)
{
    return region != nullptr && (region->mLife.load(std::memory_order_relaxed) & 1u) != 0;
}

/// Waits while the state is kContended, for at most `nanoseconds`, or for ever if negative.
void Wait(Region& region, Nanoseconds nanoseconds)
{
    const timespec timeout = Standin::ToTimespec(nanoseconds);
    syscall(SYS_futex, &region.mState, FUTEX_WAIT_PRIVATE, kContended,
            nanoseconds < 0 ? nullptr : &timeout, nullptr, 0);
}

void Wake(Region& region, int threads)
{
    syscall(SYS_futex, &region.mState, FUTEX_WAKE_PRIVATE, threads, nullptr, nullptr, 0);
}

Nanoseconds NanosecondsOf(Duration timeout)
{
    if (timeout == kDurationForever) {
        return -1;
    }
    return timeout >= 0 ? static_cast<Nanoseconds>(timeout) * 1000000
                        : -static_cast<Nanoseconds>(timeout) * 1000;
}

/// Takes the region if it is free.
bool TakeFree(Region& region)
{
    int state = kFree;
    if (__libc_single_threaded != 0 && region.mState.load(std::memory_order_relaxed) == kFree) {
        region.mState.store(kOwned, std::memory_order_relaxed);
        return true;
    }
    return region.mState.compare_exchange_strong(state, kOwned, std::memory_order_acquire,
                                                 std::memory_order_relaxed);
}

/// Frees the region and returns whether another thread may be waiting for it.
bool Free(Region& region)
{
    if (__libc_single_threaded != 0) {
        region.mState.store(kFree, std::memory_order_relaxed);
        return false;
    }
    return region.mState.exchange(kFree, std::memory_order_release) == kContended;
}

/// Tells the processor that the thread is only waiting.
void Relax()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

/// Tries for a while to take the region without sleeping: most regions are free again sooner than a
/// thread can fall asleep and wake.
bool TakeAwake(Region& region)
{
    constexpr int kTurns = 100;
    for (int turn = 0; turn < kTurns; ++turn) {
        if (region.mState.load(std::memory_order_relaxed) == kFree && TakeFree(region)) {
            return true;
        }
        Relax();
    }
    return false;
}

/// Waits until the region is the caller's.
OSStatus WaitForEntry(Region& region, Duration timeout)
{
    const Nanoseconds allowed = NanosecondsOf(timeout);
    const Nanoseconds start = Standin::Now();
    if (allowed != 0 && TakeAwake(region)) {
        return noErr;
    }
    for (;;) {
        // A thread that takes the region here cannot know whether others wait: it stores
        // kContended.
        int state = region.mState.load(std::memory_order_relaxed);
        while (state != kDeleted &&
               !region.mState.compare_exchange_weak(state, kContended, std::memory_order_acquire,
                                                    std::memory_order_relaxed)) {
        }
        if (state == kDeleted) {
            return kMPDeletedErr;
        }
        if (state == kFree) {
            return noErr;
        }
        const Nanoseconds left = allowed < 0 ? -1 : allowed - (Standin::Now() - start);
        if (allowed >= 0 && left <= 0) {
            return kMPTimeoutErr;
        }
        Wait(region, left);
    }
}

/// Like WaitForEntry, but counted in mWaiting. Not inlined, so that entering a free region saves no
/// registers.
[[gnu::noinline]] OSStatus EnterContended(Region& region, Duration timeout)
{
    region.mWaiting.fetch_add(1, std::memory_order_relaxed);
    const OSStatus status = WaitForEntry(region, timeout);
    region.mWaiting.fetch_sub(1, std::memory_order_release);
    return status;
}

} // namespace

OSStatus MPCreateCriticalRegion(MPCriticalRegionID* criticalRegion)
{
    if (criticalRegion == nullptr) {
        return kMPInvalidIDErr;
    }
    Region* region = nullptr;
    {
        const std::lock_guard lock(gFreeMutex);
        // A region is not reused before all of its waiters have noticed that it was deleted.
        Region** link = &gFree;
        while (*link != nullptr && (*link)->mWaiting.load(std::memory_order_acquire) != 0) {
            link = &(*link)->mNextFree;
        }
        region = *link;
        if (region != nullptr) {
            *link = region->mNextFree;
        }
    }
    if (region == nullptr) {
        region = new (std::nothrow) Region;
    }
    *criticalRegion = region;
    if (region == nullptr) {
        return kMPInsufficientResourcesErr;
    }
    region->mOwner.store(nullptr, std::memory_order_relaxed);
    region->mEntries = 0;
    region->mState.store(kFree, std::memory_order_relaxed);
    region->mLife.fetch_add(1, std::memory_order_release);
    return noErr;
}

OSStatus MPDeleteCriticalRegion(MPCriticalRegionID criticalRegion)
{
    const std::lock_guard lock(gFreeMutex);
    if (!Exists(criticalRegion)) {
        return kMPInvalidIDErr;
    }
    criticalRegion->mLife.fetch_add(1, std::memory_order_relaxed);
    criticalRegion->mOwner.store(nullptr, std::memory_order_relaxed);
    criticalRegion->mState.store(kDeleted, std::memory_order_release);
    Wake(*criticalRegion, INT_MAX);
    criticalRegion->mNextFree = gFree;
    gFree = criticalRegion;
    return noErr;
}

OSStatus MPEnterCriticalRegion(MPCriticalRegionID criticalRegion, Duration timeout)
{
    if (!Exists(criticalRegion)) {
        return kMPInvalidIDErr;
    }
    Region& region = *criticalRegion;
    const void* const self = ThisThread();
    if (region.mOwner.load(std::memory_order_relaxed) == self) {
        ++region.mEntries;
        return noErr;
    }
    if (!TakeFree(region)) {
        const OSStatus status = EnterContended(region, timeout);
        if (status != noErr) {
            return status;
        }
    }
    region.mOwner.store(self, std::memory_order_relaxed);
    region.mEntries = 1;
    return noErr;
}

OSStatus MPExitCriticalRegion(MPCriticalRegionID criticalRegion)
{
    if (!Exists(criticalRegion)) {
        return kMPInvalidIDErr;
    }
    Region& region = *criticalRegion;
    if (region.mOwner.load(std::memory_order_relaxed) != ThisThread()) {
        return kMPInsufficientResourcesErr;
    }
    if (--region.mEntries != 0) {
        return noErr;
    }
    region.mOwner.store(nullptr, std::memory_order_relaxed);
    if (Free(region)) {
        Wake(region, 1);
    }
    return noErr;
}
