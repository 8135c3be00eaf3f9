// LockTest.cpp - which calls enter a critical region, and which region it is.

#include "NotificationFixture.h"

#include "Support/RegionProbe.h"

#include <gtest/gtest.h>

#include <vector>

namespace NotificationTests {
namespace {

class Lock : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        RegionProbe::Reset();
    }
};

TEST_F(Lock, IsNotEnteredToMakeANotificationWhileReuseIsOff)
{
    const RCPtr<LNotification> made = Make();
    EXPECT_EQ(RegionProbe::sEntries, 0);

    LNotification::SetNotificationReuseEnable(true);
    const RCPtr<LNotification> madeWithReuse = Make();
    EXPECT_EQ(RegionProbe::sEntries, 1);
}

TEST_F(Lock, IsNotEnteredToSwitchReuseWhileNothingIsParked)
{
    LNotification::SetNotificationReuseEnable(true);
    LNotification::SetNotificationReuseEnable(false);

    EXPECT_EQ(RegionProbe::sEntries, 0);
}

TEST_F(Lock, IsTheSameForAllQueues)
{
    LNotificationDistributor& distributor = KeepDistributor();
    LNotificationQueue* const queues[] = {&KeepQueue(distributor), &KeepQueue(distributor),
                                          &KeepCenter()};
    std::vector<MPCriticalRegionID> regions;
    for (LNotificationQueue* const queue : queues) {
        RegionProbe::Reset();

        EXPECT_EQ(queue->PostForBroadcast(Make()), kResultSuccess);

        // The last one that a post enters is that of the ring.
        regions.push_back(RegionProbe::sLastEntered);
    }

    EXPECT_NE(regions[0], nullptr);
    EXPECT_EQ(regions, std::vector<MPCriticalRegionID>(3, regions[0]));
}

} // namespace
} // namespace NotificationTests
