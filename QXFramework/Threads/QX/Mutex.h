// Mutex.h - the framework's lock: one critical region of the platform, and its scope guard.
//
//     Mutex mutex;
//     {
//         const MutexLock lock(mutex);
//         ...
//     }
//
// Threads: any. Nothing fails: without a region of the platform, a mutex locks nothing.
#pragma once

#include <CoreServices/CoreServices.h>
#include <QX/Types.h>

namespace QX {

/// A lock that its holder may enter again. The holder leaves it as often as it has entered.
///
/// A mutex without a region locks nothing: one in static storage that is not built yet or already
/// destroyed, or one for which the platform had no region left.
class QX_API Mutex
{
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Enters the region, waiting without limit while another thread is inside.
    void Lock();
    /// Leaves the region once.
    ///
    /// Requires: the calling thread is inside.
    void Unlock();

private:
    MPCriticalRegionID mRegion; ///< owned; null if there is none
};

/// Holds a mutex for the length of a scope.
class MutexLock
{
public:
    /// Enters the mutex; the destructor leaves it.
    explicit MutexLock(Mutex& mutex)
        : MutexLock(&mutex)
    {}
    /// A null `mutex` locks nothing.
    explicit MutexLock(Mutex* mutex)
        : mMutex(mutex)
    {
        if (mMutex != nullptr) {
            mMutex->Lock();
        }
    }
    ~MutexLock()
    {
        if (mMutex != nullptr) {
            mMutex->Unlock();
        }
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex* mMutex;
};

} // namespace QX
