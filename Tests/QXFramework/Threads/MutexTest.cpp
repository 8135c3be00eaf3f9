// MutexTest.cpp - the lock and the platform calls that it makes.

#include "Support/FailingPlatform.h"
#include "Support/RegionProbe.h"

#include <QX/Mutex.h>

#include <gtest/gtest.h>

#include <new>
#include <thread>
#include <type_traits>

// Not wrapped, so that asking does not count.
extern "C" OSStatus __real_MPEnterCriticalRegion(MPCriticalRegionID region, Duration timeout);
extern "C" OSStatus __real_MPExitCriticalRegion(MPCriticalRegionID region);

namespace {

using QX::Mutex;
using QX::MutexLock;

static_assert(!std::is_copy_constructible_v<Mutex> && !std::is_copy_assignable_v<Mutex>);
static_assert(!std::is_copy_constructible_v<MutexLock> && !std::is_copy_assignable_v<MutexLock>);
static_assert(sizeof(Mutex) == sizeof(MPCriticalRegionID));

class MutexTest : public testing::Test
{
protected:
    void SetUp() override { RegionProbe::Reset(); }
    void TearDown() override
    {
        EXPECT_EQ(RegionProbe::sEntries, RegionProbe::sExits);
        RegionProbe::Reset();
    }

    /// Returns what another thread gets when it tries to enter without waiting.
    static OSStatus TryFromAnotherThread()
    {
        OSStatus status = noErr;
        std::thread([&status] {
            const MPCriticalRegionID region = RegionProbe::sLastRegion;
            status = __real_MPEnterCriticalRegion(region, kDurationImmediate);
            if (status == noErr) {
                __real_MPExitCriticalRegion(region);
            }
        }).join();
        return status;
    }
};

TEST_F(MutexTest, OwnsOneRegionAndWaitsForItWithoutLimit)
{
    {
        Mutex mutex;
        mutex.Lock();
        mutex.Unlock();

        EXPECT_EQ(RegionProbe::sCreations, 1);
        EXPECT_EQ(RegionProbe::sDeletions, 0);
    }

    EXPECT_EQ(RegionProbe::sLastTimeout, 0x7FFFFFFF);
    EXPECT_EQ(RegionProbe::sEntries, 1);
    EXPECT_EQ(RegionProbe::sExits, 1);
    EXPECT_EQ(RegionProbe::sCreations, 1);
    EXPECT_EQ(RegionProbe::sDeletions, 1);
}

TEST_F(MutexTest, IsFreeForOthersOnlyAfterAsManyExitsAsEntries)
{
    Mutex mutex;

    EXPECT_EQ(TryFromAnotherThread(), noErr);
    mutex.Lock();
    mutex.Lock();
    EXPECT_EQ(TryFromAnotherThread(), kMPTimeoutErr);
    mutex.Unlock();
    EXPECT_EQ(TryFromAnotherThread(), kMPTimeoutErr);
    mutex.Unlock();

    EXPECT_EQ(TryFromAnotherThread(), noErr);
}

TEST_F(MutexTest, KeepsThreadsApart)
{
    Mutex mutex;
    int total = 0; // not atomic: only the mutex keeps the threads from losing a step
    const auto count = [&] {
        for (int step = 0; step < 2000; ++step) {
            const MutexLock lock(mutex);
            const MutexLock again(mutex);
            ++total;
        }
    };

    std::thread other(count);
    count();
    other.join();

    EXPECT_EQ(total, 4000);
}

TEST_F(MutexTest, GuardHoldsItForItsScope)
{
    Mutex mutex;
    {
        const MutexLock lock(mutex);

        EXPECT_EQ(TryFromAnotherThread(), kMPTimeoutErr);
    }

    EXPECT_EQ(TryFromAnotherThread(), noErr);
}

TEST_F(MutexTest, GuardOfNoMutexLocksNothing)
{
    {
        const MutexLock lock(nullptr);
    }

    EXPECT_EQ(RegionProbe::sEntries, 0);
}

TEST_F(MutexTest, LocksNothingIfThePlatformHasNoRegionLeft)
{
    const TestSupport::FailingPlatform platform(1);
    {
        Mutex mutex;
        const MutexLock lock(mutex);
    }

    EXPECT_EQ(RegionProbe::sEntries, 0);
    EXPECT_EQ(RegionProbe::sExits, 0);
    EXPECT_EQ(RegionProbe::sDeletions, 0);
}

// Static storage, as that of the framework's mutexes, which are used before and after their lives.
alignas(Mutex) unsigned char gStorage[sizeof(Mutex)];

TEST_F(MutexTest, LocksNothingBeforeAndAfterItsLifeInStaticStorage)
{
    Mutex* const mutex = reinterpret_cast<Mutex*>(gStorage);

    mutex->Lock();
    mutex->Unlock();
    EXPECT_EQ(RegionProbe::sEntries, 0);
    new (gStorage) Mutex;
    mutex->Lock();
    mutex->Unlock();
    EXPECT_EQ(RegionProbe::sEntries, 1);
    mutex->~Mutex();
    mutex->Lock();
    mutex->Unlock();

    EXPECT_EQ(RegionProbe::sEntries, 1);
    EXPECT_EQ(RegionProbe::sDeletions, 1);
}

} // namespace
