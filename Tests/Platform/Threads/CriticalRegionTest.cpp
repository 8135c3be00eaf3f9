// CriticalRegionTest.cpp - owners, entries and timeouts of critical regions.

#include "Platform/PlatformTesting.h"

#include <CoreServices/CoreServices.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace {

class CriticalRegion : public testing::Test
{
protected:
    CriticalRegion() { EXPECT_EQ(MPCreateCriticalRegion(&mRegion), noErr); }
    ~CriticalRegion() override { MPDeleteCriticalRegion(mRegion); }

    OSStatus EnterFromAnotherThread(Duration timeout)
    {
        return std::async(std::launch::async,
                          [&] {
                              const OSStatus status = MPEnterCriticalRegion(mRegion, timeout);
                              if (status == noErr) {
                                  MPExitCriticalRegion(mRegion);
                              }
                              return status;
                          })
            .get();
    }

    MPCriticalRegionID mRegion = nullptr;
};

TEST_F(CriticalRegion, AForkedChildMakesRegionsWhateverOtherThreadsWereDoing)
{
    const int ended = Platform::CountChildrenThatAreFree([] {
        MPCriticalRegionID region = nullptr;
        MPCreateCriticalRegion(&region);
        MPDeleteCriticalRegion(region);
    });

    EXPECT_EQ(ended, 100);
}

TEST_F(CriticalRegion, LetsItsOwnerInAgainAndNeedsAnExitForEachEntry)
{
    EXPECT_EQ(MPEnterCriticalRegion(mRegion, kDurationForever), noErr);
    EXPECT_EQ(MPEnterCriticalRegion(mRegion, kDurationImmediate), noErr);

    EXPECT_EQ(EnterFromAnotherThread(kDurationImmediate), kMPTimeoutErr);
    EXPECT_EQ(MPExitCriticalRegion(mRegion), noErr);
    EXPECT_EQ(EnterFromAnotherThread(kDurationImmediate), kMPTimeoutErr);
    EXPECT_EQ(MPExitCriticalRegion(mRegion), noErr);
    EXPECT_EQ(EnterFromAnotherThread(kDurationImmediate), noErr);
}

TEST_F(CriticalRegion, IsLeftByItsOwnerOnly)
{
    EXPECT_EQ(MPExitCriticalRegion(mRegion), kMPInsufficientResourcesErr);
    EXPECT_EQ(MPEnterCriticalRegion(mRegion, kDurationForever), noErr);

    const OSStatus other =
        std::async(std::launch::async, [&] { return MPExitCriticalRegion(mRegion); }).get();

    EXPECT_EQ(other, kMPInsufficientResourcesErr);
    EXPECT_EQ(MPExitCriticalRegion(mRegion), noErr);
    EXPECT_EQ(MPExitCriticalRegion(mRegion), kMPInsufficientResourcesErr);
}

TEST_F(CriticalRegion, EndsAWaitAtItsTimeout)
{
    MPEnterCriticalRegion(mRegion, kDurationForever);

    EXPECT_EQ(EnterFromAnotherThread(20 * kDurationMillisecond), kMPTimeoutErr);
    EXPECT_EQ(EnterFromAnotherThread(500 * kDurationMicrosecond), kMPTimeoutErr);

    MPExitCriticalRegion(mRegion);
}

TEST_F(CriticalRegion, LetsAWaitingThreadInAtTheLastExit)
{
    for (const Duration timeout :
         {Duration{kDurationForever}, Duration{60'000 * kDurationMillisecond},
          Duration{60'000'000 * kDurationMicrosecond}}) {
        MPEnterCriticalRegion(mRegion, kDurationForever);
        std::atomic<bool> isLeft{false};

        auto waiting = std::async(std::launch::async, [&] {
            const OSStatus status = MPEnterCriticalRegion(mRegion, timeout);
            const bool wasLeft = isLeft;
            MPExitCriticalRegion(mRegion);
            return status == noErr && wasLeft;
        });
        isLeft = true;
        MPExitCriticalRegion(mRegion);

        EXPECT_TRUE(waiting.get()) << timeout;
    }
}

TEST_F(CriticalRegion, KeepsThreadsApart)
{
    int plain = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                MPEnterCriticalRegion(mRegion, kDurationForever);
                ++plain;
                MPExitCriticalRegion(mRegion);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(plain, 8000);
}

TEST_F(CriticalRegion, EndsEveryWaitWhenDeleted)
{
    MPEnterCriticalRegion(mRegion, kDurationForever);
    std::atomic<int> started{0};
    std::vector<std::future<OSStatus>> waiting;
    for (int index = 0; index < 2; ++index) {
        waiting.push_back(std::async(std::launch::async, [&] {
            ++started;
            return MPEnterCriticalRegion(mRegion, kDurationForever);
        }));
    }
    while (started < 2) {
        std::this_thread::yield();
    }

    EXPECT_EQ(MPDeleteCriticalRegion(mRegion), noErr);

    for (auto& status : waiting) {
        // A thread that had not yet begun to wait finds that the region does not exist.
        EXPECT_THAT(status.get(), testing::AnyOf(kMPDeletedErr, kMPInvalidIDErr));
    }
}

TEST(CriticalRegionIDs, AreRefusedWithoutARegion)
{
    MPCriticalRegionID region = nullptr;
    ASSERT_EQ(MPCreateCriticalRegion(&region), noErr);
    ASSERT_EQ(MPDeleteCriticalRegion(region), noErr);

    for (const MPCriticalRegionID stale : {region, MPCriticalRegionID(nullptr)}) {
        EXPECT_EQ(MPEnterCriticalRegion(stale, kDurationImmediate), kMPInvalidIDErr);
        EXPECT_EQ(MPExitCriticalRegion(stale), kMPInvalidIDErr);
        EXPECT_EQ(MPDeleteCriticalRegion(stale), kMPInvalidIDErr);
    }
    EXPECT_EQ(MPCreateCriticalRegion(nullptr), kMPInvalidIDErr);
}

} // namespace
