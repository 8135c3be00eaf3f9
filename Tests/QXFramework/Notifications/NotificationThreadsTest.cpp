// NotificationThreadsTest.cpp - several posters and one thread that delivers.
//
// The number of notifications of a soak is small by default; the environment variable
// QX_SOAK_NOTIFICATIONS sets another one (see scripts/soak).

#include "NotificationFixture.h"

#include "Support/Threads.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

namespace NotificationTests {
namespace {

constexpr uint32 kPosters = 3;

uint32 SoakCount()
{
    const char* const text = std::getenv("QX_SOAK_NOTIFICATIONS");
    return text != nullptr ? static_cast<uint32>(std::strtoul(text, nullptr, 10)) : 30000;
}

/// A payload with its place in the order of one poster.
class LParcel : public LRefCountedObject
{
public:
    LParcel(uint32 poster, uint32 number)
        : mPoster(poster)
        , mNumber(number)
    {
        sLiveCount.fetch_add(1, std::memory_order_relaxed);
    }
    ~LParcel() override { sLiveCount.fetch_sub(1, std::memory_order_relaxed); }

    const uint32 mPoster;
    const uint32 mNumber;

    inline static std::atomic<int> sLiveCount = 0;
};

/// Checks that the parcels of each poster arrive in order and complete.
class LOrderClient : public QX::LNotificationReceiver
{
public:
    void HandleNotification(const RCPtr<LNotificationDistributor>&,
                            const ConstRCPtr<LNotification>& notification) override
    {
        const auto parcel = RCPtr<LParcel>::Downcast(notification->GetData());
        isInOrder = isInOrder && parcel->mNumber == next[parcel->mPoster]++;
        ++count;
        room.release();
    }
    int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                      const char* id) override
    {
        return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this), id);
    }

    bool isInOrder = true;
    uint32 count = 0;
    std::array<uint32, kPosters> next = {};
    /// Keeps posters from running far ahead.
    std::counting_semaphore<> room{1000};
};

class NotificationThreads : public NotificationFixture
{
protected:
    static RCPtr<LNotification> MakeParcel(uint32 poster, uint32 number, const char* name)
    {
        return LNotification::Create(name, RCPtr<LRefCountedObject>(new LParcel(poster, number)));
    }
    static RCPtr<LNotification> MakeParcel(uint32 poster, uint32 number)
    {
        constexpr const char* kNames[kPosters] = {"A", "B", "C"};
        return MakeParcel(poster, number, kNames[poster]);
    }
    void Soak(bool isReuseEnabled);
};

void NotificationThreads::Soak(bool isReuseEnabled)
{
    const uint32 total = (SoakCount() + kPosters - 1) / kPosters * kPosters;
    LNotification::SetNotificationReuseEnable(isReuseEnabled);
    auto& center = KeepCenter();
    const RCPtr<LOrderClient> client(new LOrderClient);
    for (const char* const name : {"A", "B", "C"}) {
        center.RegisterNotificationClient(client, name, 0);
    }

    TestSupport::RunOnThreads(kPosters + 1, [&](std::size_t index) {
        if (index < kPosters) {
            for (uint32 number = 0; number < total / kPosters; ++number) {
                client->room.acquire();
                const auto parcel = MakeParcel(static_cast<uint32>(index), number);
                ASSERT_EQ(center.PostForBroadcast(parcel), kResultSuccess);
            }
            return;
        }
        while (client->count < total) {
            if (!center.DeliverPendingNotifications(false)) {
                std::this_thread::yield();
            }
        }
    });

    EXPECT_TRUE(client->isInOrder);
    EXPECT_EQ(client->count, total);
    EXPECT_FALSE(center.DeliverPendingNotifications(false));
    center.UnregisterNotificationClient(client);
    LNotification::SetNotificationReuseEnable(false);
    EXPECT_EQ(LParcel::sLiveCount, 0);
}

TEST_F(NotificationThreads, LoseAndReorderNothingWithReuse)
{
    Soak(true);
}

TEST_F(NotificationThreads, LoseAndReorderNothingWithoutReuse)
{
    Soak(false);
}

TEST_F(NotificationThreads, PostOneNotificationOnce)
{
    auto& center = KeepCenter();
    const auto client = MakeClient('a');
    center.RegisterNotificationClient(client, "A", 0);

    for (int round = 0; round < 200; ++round) {
        const RCPtr<LNotification> notification = Make();
        std::array<int32, 2> results = {};
        TestSupport::RunOnThreads(
            2, [&](std::size_t index) { results[index] = center.PostForBroadcast(notification); });

        ASSERT_EQ(results[0] + results[1], kResultOutOfRange) << "one success and one refusal";
        center.DeliverPendingNotifications(false);
        ASSERT_EQ(TakeJournal(), "a");
        ASSERT_FALSE(notification->IsPosted());
    }
}

TEST_F(NotificationThreads, FindPostsRefusedAfterAShutdown)
{
    for (int round = 0; round < 30; ++round) {
        const RCPtr<LNotificationDistributor> distributor = LNotificationDistributor::Create();
        const RCPtr<LNotificationQueue> queue = LNotificationQueue::Create();
        queue->SetDistributor(distributor);
        std::atomic<int> posted = 0;
        std::atomic<bool> isShutDown = false;
        std::array<RCPtr<LNotification>, kPosters> refused;

        TestSupport::RunOnThreads(kPosters + 1, [&](std::size_t index) {
            if (index < kPosters) {
                RCPtr<LNotification> notification = Make();
                while (queue->PostForBroadcast(notification) == kResultSuccess) {
                    if (++posted > 300) {
                        isShutDown.wait(false);
                    }
                    notification = Make();
                }
                refused[index] = notification;
                return;
            }
            while (posted < 20) {
                queue->DeliverPendingNotifications(false);
            }
            queue->ReleaseDistributor();
            isShutDown = true;
            isShutDown.notify_all();
        });

        for (const auto& notification : refused) {
            ASSERT_FALSE(notification->IsPosted());
        }
        ASSERT_FALSE(queue->DeliverPendingNotifications(false));
        ASSERT_EQ(CountsOf(*queue), "1/0");
        ASSERT_EQ(CountsOf(*distributor), "1/0");
    }
}

TEST_F(NotificationThreads, PostToALatestOnlyClientTogether)
{
    auto& center = KeepCenter();
    const auto latest = MakeClient('l');
    const RCPtr<LOrderClient> every(new LOrderClient);
    center.RegisterNotificationClient(latest, "A", LNotificationDistributor::kDeliverLatestOnly);
    center.RegisterNotificationClient(every, "A", 0);
    constexpr uint32 kCount = 2000;
    uint32 served = 0;
    latest->onHandle = [this, &served](const auto&, const auto&) {
        journal.clear();
        ++served;
    };

    TestSupport::RunOnThreads(kPosters + 1, [&](std::size_t index) {
        if (index < kPosters) {
            for (uint32 number = 0; number < kCount; ++number) {
                center.PostForBroadcast(MakeParcel(static_cast<uint32>(index), number, "A"));
            }
            return;
        }
        while (every->count < kPosters * kCount) {
            center.DeliverPendingNotifications(false);
        }
    });

    EXPECT_TRUE(every->isInOrder);
    EXPECT_GE(served, 1u);
    EXPECT_LE(served, kPosters * kCount);
    EXPECT_EQ(LParcel::sLiveCount, 0) << "the latest one has been served";
    center.UnregisterNotificationClient(every);
}

TEST_F(NotificationThreads, PostWhileTheDeliveringThreadRegisters)
{
    auto& center = KeepCenter();
    const auto latest = MakeClient('l');
    center.RegisterNotificationClient(latest, "A", LNotificationDistributor::kDeliverLatestOnly);
    const RCPtr<LOrderClient> client(new LOrderClient);
    center.RegisterNotificationClient(client, "A", 0);
    const auto coming = MakeClient('c');
    constexpr uint32 kCount = 2000;

    TestSupport::RunOnThreads(2, [&](std::size_t index) {
        if (index == 0) {
            for (uint32 number = 0; number < kCount; ++number) {
                client->room.acquire();
                center.PostForBroadcast(MakeParcel(0, number));
            }
            return;
        }
        while (client->count < kCount) {
            center.RegisterNotificationClient(coming, "D", 0);
            center.RegisterNotificationClient(coming, "A", kLatest);
            center.DeliverPendingNotifications(false);
            center.RegisterNotificationClient(coming, "A", 0);
            center.UnregisterNotificationClient(coming);
        }
    });

    EXPECT_TRUE(client->isInOrder);
    center.UnregisterNotificationClient(client);
}

TEST_F(NotificationThreads, ChangeADeliveredNotificationAsSoonAsItIsNotPosted)
{
    auto& center = KeepCenter();
    const RCPtr<LOrderClient> client(new LOrderClient);
    center.RegisterNotificationClient(client, "A", 0);
    constexpr uint32 kCount = 500;

    TestSupport::RunOnThreads(2, [&](std::size_t index) {
        if (index == 0) {
            const RCPtr<LNotification> notification = Make();
            for (uint32 number = 0; number < kCount; ++number) {
                // The thread sanitizer reports the change if the mark does not order it after what
                // the client read.
                while (notification->IsPosted()) {
                    std::this_thread::yield();
                }
                notification->SetData(RCPtr<LRefCountedObject>(new LParcel(0, number)));
                ASSERT_EQ(center.PostForBroadcast(notification), kResultSuccess);
            }
            return;
        }
        while (client->count < kCount) {
            center.DeliverPendingNotifications(false);
        }
    });

    EXPECT_TRUE(client->isInOrder);
    center.UnregisterNotificationClient(client);
}

TEST_F(NotificationThreads, ForwardToAQueueThatIsShutDownMeanwhile)
{
    for (int round = 0; round < 30; ++round) {
        const RCPtr<LNotificationDistributor> source = LNotificationDistributor::Create();
        const RCPtr<LNotificationCenter> target = LNotificationCenter::Create("target");
        const auto receiver = target->GetPostingReceiver();
        source->RegisterNotificationClient(receiver, "A", 0);
        std::atomic<int> forwarded = 0;

        TestSupport::RunOnThreads(2, [&](std::size_t index) {
            if (index == 0) {
                for (int number = 0; number < 200; ++number) {
                    source->DeliverNotificationAllClients(Make());
                    ++forwarded;
                }
                return;
            }
            while (forwarded < 50) {
                target->DeliverPendingNotifications(false);
            }
            target->ReleaseDistributor();
        });

        ASSERT_EQ(CountsOf(*target), "1/0");
        source->UnregisterNotificationClient(receiver);
    }
}

TEST_F(NotificationThreads, ForwardToACenterWhoseClientsComeAndGo)
{
    auto& source = KeepDistributor();
    auto& center = KeepCenter();
    const auto receiver = center.GetPostingReceiver();
    source.RegisterNotificationClient(receiver, "A", 0);
    center.RegisterNotificationClient(MakeClient('s'), "B", 0);
    const auto coming = MakeClient('c');
    std::atomic<bool> isDone = false;

    TestSupport::RunOnThreads(2, [&](std::size_t index) {
        if (index == 0) {
            for (int number = 0; number < 5000; ++number) {
                source.DeliverNotificationAllClients(Make());
            }
            isDone = true;
            return;
        }
        while (!isDone) {
            center.RegisterNotificationClient(coming, "C", 0);
            std::this_thread::yield();
            center.UnregisterNotificationClient(coming);
            std::this_thread::yield();
            center.FlushPendingNotifications();
        }
    });

    EXPECT_EQ(journal, "") << "no client is asked to leave a living center";
    source.UnregisterNotificationClient(receiver);
}

TEST_F(NotificationThreads, HoldAndDropACenterTogether)
{
    for (int round = 0; round < 30; ++round) {
        RCPtr<LNotificationCenter> center = LNotificationCenter::Create("center");
        TestSupport::RunOnThreads(4, [&center](std::size_t) {
            for (int count = 0; count < 200; ++count) {
                const RCPtr<LNotificationCenter> held = center;
                const RCPtr<LNotificationQueue> queue = held;
                ASSERT_GE(queue->GetReferenceCount(), 5);
            }
        });
        ASSERT_EQ(CountsOf(*center), "3/2");
    }
}

} // namespace
} // namespace NotificationTests
