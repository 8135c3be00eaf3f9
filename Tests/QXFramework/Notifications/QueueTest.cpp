// QueueTest.cpp - posting and delivery.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace NotificationTests {
namespace {

class Queue : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        distributor = &KeepDistributor();
        queue = &KeepQueue(*distributor);
        client = MakeClient('a');
        distributor->RegisterNotificationClient(client, "A", 0);
    }
    void TearDown() override
    {
        client = nullptr;
        NotificationFixture::TearDown();
    }

    std::vector<RCPtr<LNotification>> PostThree()
    {
        std::vector<RCPtr<LNotification>> posted;
        for (int count = 0; count < 3; ++count) {
            posted.push_back(Make());
            EXPECT_EQ(queue->PostForBroadcast(posted.back()), kResultSuccess);
        }
        return posted;
    }

    LNotificationDistributor* distributor = nullptr;
    LNotificationQueue* queue = nullptr;
    RCPtr<LTestClient> client;
};

TEST_F(Queue, StoresAPostUntilItIsDeliveredAndThenTakesItAgain)
{
    const RCPtr<LNotification> notification = Make();

    for (const char* const what : {"the first time", "again"}) {
        SCOPED_TRACE(what);
        EXPECT_EQ(queue->PostForBroadcast(notification), kResultSuccess);
        EXPECT_EQ(queue->PostForBroadcast(notification), kResultOutOfRange);
        EXPECT_EQ(journal, "");
        EXPECT_TRUE(notification->IsPosted());
        EXPECT_EQ(notification->GetReferenceCount(), 2);

        EXPECT_FALSE(queue->DeliverPendingNotifications(false));
        EXPECT_EQ(TakeJournal(), "a");
        EXPECT_FALSE(notification->IsPosted());
        EXPECT_EQ(notification->GetReferenceCount(), 1);
    }
}

TEST_F(Queue, TakesTheCallersOwnReferenceOver)
{
    RCPtr<LNotification> notification = Make();
    const LNotification* const posted = notification.Get();
    const LNotification* delivered = nullptr;
    client->onHandle = [&delivered](const auto&, const auto& received) {
        delivered = received.Get();
    };

    EXPECT_EQ(queue->PostForBroadcast(std::move(notification)), kResultSuccess);
    EXPECT_EQ(notification, nullptr);
    EXPECT_EQ(posted->GetReferenceCount(), 1) << "the queue's";
    queue->DeliverPendingNotifications(false);

    EXPECT_EQ(delivered, posted);
}

TEST_F(Queue, EndsItsDeliveryWhenItIsFlushedAndPostedToMeanwhile)
{
    for (const bool isByPayload : {false, true}) {
        SCOPED_TRACE(isByPayload ? "by the end of the payload" : "by the client");
        bool isFlushed = false;
        const auto flush = [&] {
            if (!std::exchange(isFlushed, true)) {
                queue->FlushPendingNotifications();
                PostThree();
            }
        };
        client->onHandle = [&](const auto&, const auto&) {
            if (!isByPayload) {
                flush();
            }
        };
        queue->PostForBroadcast(
            LNotification::Create("A", isByPayload ? MakePayload(flush) : nullptr));
        PostThree();

        EXPECT_TRUE(queue->DeliverPendingNotifications(false));
        EXPECT_EQ(TakeJournal(), "a");

        EXPECT_FALSE(queue->DeliverPendingNotifications(false));
        EXPECT_EQ(TakeJournal(), "aaa");
    }
}

TEST_F(Queue, RefusesAnUnshareableNotificationBeforeItCopiesIt)
{
    LNotificationQueue& bare = Keep(LNotificationQueue::Create());
    const RCPtr<LNotification> notification = Make();
    notification->SetUnshareable(true);

    EXPECT_EQ(bare.PostForBroadcast(notification), kResultFailure);
    EXPECT_THROW(queue->PostForBroadcast(notification), std::logic_error);
    EXPECT_FALSE(notification->IsPosted());

    notification->SetPosted(true);
    EXPECT_EQ(queue->PostForBroadcast(notification), kResultOutOfRange);
}

TEST_F(Queue, KeepsWhatAPayloadPostsWhileItIsShutDownUntilTheNextDeliveryOrItsEnd)
{
    for (const bool isDelivered : {true, false}) {
        SCOPED_TRACE(isDelivered ? "delivery" : "end");
        LNotificationQueue& ending = KeepQueue(*distributor);
        const RCPtr<LNotification> late = Make();
        ending.PostForBroadcast(
            LNotification::Create("A", MakePayload([&] { ending.PostForBroadcast(late); })));

        ending.ReleaseDistributor();
        EXPECT_TRUE(late->IsPosted());

        if (isDelivered) {
            EXPECT_FALSE(ending.DeliverPendingNotifications(true));
        } else {
            LetGoOf(ending);
        }
        EXPECT_FALSE(late->IsPosted());
        EXPECT_EQ(late->GetReferenceCount(), 1);
        EXPECT_EQ(journal, "");
    }
}

TEST_F(Queue, RefusesInTheOrderOfItsTests)
{
    LNotificationQueue& bare = Keep(LNotificationQueue::Create());
    RCPtr<LNotification> none;
    RCPtr<LNotification> fresh = Make();
    RCPtr<LNotification> posted = Make();
    posted->SetPosted(true);
    struct Row
    {
        const char* what;
        LNotificationQueue& queue;
        RCPtr<LNotification>& notification;
        int32 result;
    };
    const Row rows[] = {
        {"null", *queue, none, kResultOutOfRange},
        {"posted already", *queue, posted, kResultOutOfRange},
        {"null without a distributor", bare, none, kResultOutOfRange},
        {"posted already, without a distributor", bare, posted, kResultOutOfRange},
        {"without a distributor", bare, fresh, kResultFailure},
    };

    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const LNotification* const object = row.notification.Get();

        EXPECT_EQ(row.queue.PostForBroadcast(row.notification), row.result);
        EXPECT_EQ(row.queue.PostForBroadcast(std::move(row.notification)), row.result);

        EXPECT_EQ(row.notification.Get(), object) << "the caller keeps its reference";
        EXPECT_FALSE(fresh->IsPosted());
        EXPECT_EQ(fresh->GetReferenceCount(), 1);
    }
}

TEST_F(Queue, DeliversInTheOrderOfPosting)
{
    std::string order;
    client->onHandle = [&order](const auto&, const auto& notification) {
        order += notification->GetID();
    };
    for (const char* const name : {"B", "C", "D"}) {
        distributor->RegisterNotificationClient(client, name, 0);
    }

    for (const char* const name : {"C", "A", "D", "B", "A"}) {
        queue->PostForBroadcast(Make(name));
    }
    queue->DeliverPendingNotifications(false);

    EXPECT_EQ(order, "CADBA");
}

TEST_F(Queue, LeavesWhatClientsPostToTheNextCall)
{
    const RCPtr<LNotification> second = Make();
    client->onHandle = [this, &second](const auto&, const auto&) {
        queue->PostForBroadcast(second);
    };
    queue->PostForBroadcast(Make());

    EXPECT_TRUE(queue->DeliverPendingNotifications(false));
    EXPECT_EQ(TakeJournal(), "a");

    client->onHandle = nullptr;
    EXPECT_FALSE(queue->DeliverPendingNotifications(false));
    EXPECT_EQ(TakeJournal(), "a");
}

TEST_F(Queue, RefusesTheNotificationThatIsBeingDelivered)
{
    const RCPtr<LNotification> notification = Make();
    client->onHandle = [this, &notification](const auto&, const auto&) {
        EXPECT_EQ(queue->PostForBroadcast(notification), kResultOutOfRange);
        EXPECT_EQ(notification->SetName("B"), kResultFailure);
    };

    queue->PostForBroadcast(notification);
    EXPECT_FALSE(queue->DeliverPendingNotifications(false));

    EXPECT_EQ(journal, "a");
}

TEST_F(Queue, DeliversTheIdleNotificationLastAndUnposted)
{
    const auto idle = MakeClient('i');
    idle->onHandle = [](const auto&, const auto& notification) {
        EXPECT_EQ(notification->GetID(), LNotification::GetNotificationID(QX::NID_IDLE));
        EXPECT_EQ(notification->GetData(), nullptr);
        EXPECT_FALSE(notification->IsPosted());
    };
    distributor->RegisterNotificationClient(idle, QX::NID_IDLE, 0);

    EXPECT_FALSE(queue->DeliverPendingNotifications(true));
    EXPECT_EQ(TakeJournal(), "i");

    PostThree();
    EXPECT_FALSE(queue->DeliverPendingNotifications(true));
    EXPECT_EQ(TakeJournal(), "aaai");

    EXPECT_FALSE(queue->DeliverPendingNotifications(false));
    EXPECT_EQ(TakeJournal(), "");
}

TEST_F(Queue, DeliversOnlyTheIdleNotificationInsideADelivery)
{
    const auto idle = MakeClient('i');
    distributor->RegisterNotificationClient(idle, QX::NID_IDLE, 0);
    client->onHandle = [this](const auto&, const auto&) {
        journal += queue->DeliverPendingNotifications(true) ? "+" : "-";
    };
    PostThree();

    EXPECT_FALSE(queue->DeliverPendingNotifications(false));

    EXPECT_EQ(journal, "ai+ai+ai-") << "'+' while something is still pending";
}

TEST_F(Queue, FlushesWithoutDelivering)
{
    const auto posted = PostThree();

    EXPECT_FALSE(queue->FlushPendingNotifications());

    EXPECT_EQ(journal, "");
    for (const auto& notification : posted) {
        EXPECT_FALSE(notification->IsPosted());
        EXPECT_EQ(notification->GetReferenceCount(), 1);
    }
    EXPECT_FALSE(queue->DeliverPendingNotifications(false));
    EXPECT_EQ(journal, "");
}

TEST_F(Queue, FlushesOnceWhatPayloadsPostAtTheirEnd)
{
    queue->PostForBroadcast(
        LNotification::Create("A", MakePayload([this] { queue->PostForBroadcast(Make()); })));

    EXPECT_TRUE(queue->FlushPendingNotifications());
    EXPECT_FALSE(queue->FlushPendingNotifications());
}

TEST_F(Queue, FlushesAsManyAsWerePendingAlsoIfAPayloadFlushesAndPosts)
{
    std::vector<RCPtr<LNotification>> late;
    const auto flushAndPost = [this, &late] {
        queue->FlushPendingNotifications();
        late = PostThree();
    };
    queue->PostForBroadcast(LNotification::Create("A", MakePayload(flushAndPost)));
    queue->PostForBroadcast(Make());

    EXPECT_TRUE(queue->FlushPendingNotifications());

    // Two were pending. The payload has flushed the second, so its own first post goes instead.
    ASSERT_EQ(late.size(), 3u);
    EXPECT_FALSE(late[0]->IsPosted());
    EXPECT_TRUE(late[1]->IsPosted());
    EXPECT_TRUE(late[2]->IsPosted());
    EXPECT_FALSE(queue->FlushPendingNotifications());
    EXPECT_EQ(journal, "");
}

TEST_F(Queue, EndsItsDeliveryWhenAClientReleasesTheDistributor)
{
    const auto posted = PostThree();
    client->onHandle = [this](const auto&, const auto&) { queue->ReleaseDistributor(); };

    EXPECT_FALSE(queue->DeliverPendingNotifications(true));

    EXPECT_EQ(journal, "a");
    for (const auto& notification : posted) {
        EXPECT_FALSE(notification->IsPosted());
    }
    EXPECT_EQ(queue->PostForBroadcast(posted[0]), kResultFailure);
}

TEST_F(Queue, LivesToTheEndOfADeliveryInWhichItsLastHolderGoes)
{
    RCPtr<LNotificationQueue> own = LNotificationQueue::Create();
    own->SetDistributor(RCPtr<LNotificationDistributor>(distributor));
    own->PostForBroadcast(Make());
    own->PostForBroadcast(Make());
    client->onHandle = [&own](const auto&, const auto&) {
        own->ReleaseDistributor();
        own = nullptr;
    };

    EXPECT_FALSE(own.Get()->DeliverPendingNotifications(true));

    EXPECT_EQ(own, nullptr);
    EXPECT_EQ(journal, "a");
}

TEST_F(Queue, TakesADistributorOnce)
{
    LNotificationQueue& fresh = Keep(LNotificationQueue::Create());
    const RCPtr<LNotificationDistributor> held(distributor);

    EXPECT_EQ(fresh.SetDistributor(nullptr), kResultSuccess);
    EXPECT_EQ(fresh.PostForBroadcast(Make()), kResultFailure);
    EXPECT_EQ(fresh.SetDistributor(held), kResultSuccess);
    EXPECT_EQ(fresh.SetDistributor(held), kResultFailure);
    EXPECT_EQ(fresh.SetDistributor(nullptr), kResultFailure);
    fresh.ReleaseDistributor();
    EXPECT_EQ(fresh.SetDistributor(held), kResultFailure);
}

TEST_F(Queue, TakesNoDistributorWhileItIsShutDown)
{
    LNotificationQueue& fresh = Keep(LNotificationQueue::Create());
    const auto asked = MakeClient('x');
    int32 result = kResultSuccess;
    asked->onForce = [&](const auto& by, const char* id) {
        result = fresh.SetDistributor(RCPtr<LNotificationDistributor>(distributor));
        return asked->Leave(by, id);
    };
    {
        const auto center = LNotificationCenter::Create("held by the queue alone");
        center->RegisterNotificationClient(asked, "A", 0);
        fresh.SetDistributor(center);
    }

    fresh.ReleaseDistributor();

    EXPECT_EQ(TakeJournal(), "!x");
    EXPECT_EQ(result, kResultFailure);
    EXPECT_EQ(fresh.PostForBroadcast(Make()), kResultFailure);
}

TEST_F(Queue, DeliversNothingWithoutADistributor)
{
    LNotificationQueue& bare = Keep(LNotificationQueue::Create());
    EXPECT_FALSE(bare.DeliverPendingNotifications(true));
    EXPECT_FALSE(bare.FlushPendingNotifications());

    queue->ReleaseDistributor();
    EXPECT_FALSE(queue->DeliverPendingNotifications(true));
    EXPECT_EQ(journal, "");
}

TEST_F(Queue, DeliversOnlyIdleAfterAnExceptionButCanBeFlushed)
{
    const auto idle = MakeClient('i');
    distributor->RegisterNotificationClient(idle, QX::NID_IDLE, 0);
    const auto posted = PostThree();
    int calls = 0;
    client->onHandle = [&calls](const auto&, const auto&) {
        if (++calls == 2) {
            throw std::runtime_error("no");
        }
    };

    EXPECT_THROW(queue->DeliverPendingNotifications(true), std::runtime_error);
    EXPECT_EQ(TakeJournal(), "aa");
    EXPECT_FALSE(posted[0]->IsPosted());
    EXPECT_TRUE(posted[1]->IsPosted());
    EXPECT_EQ(posted[1]->GetReferenceCount(), 1);
    EXPECT_TRUE(posted[2]->IsPosted());

    EXPECT_TRUE(queue->DeliverPendingNotifications(true));
    EXPECT_EQ(TakeJournal(), "i");
    EXPECT_FALSE(queue->FlushPendingNotifications());
    EXPECT_FALSE(posted[2]->IsPosted());
    EXPECT_EQ(queue->PostForBroadcast(posted[0]), kResultSuccess);
    EXPECT_TRUE(queue->DeliverPendingNotifications(false));
    EXPECT_EQ(TakeJournal(), "");
    posted[1]->SetPosted(false);
}

TEST_F(Queue, DeliversOnAfterAnExceptionOutOfTheIdleNotification)
{
    const auto idle = MakeClient('i');
    idle->onHandle = [](const auto&, const auto&) { throw std::runtime_error("no"); };
    distributor->RegisterNotificationClient(idle, QX::NID_IDLE, 0);

    EXPECT_THROW(queue->DeliverPendingNotifications(true), std::runtime_error);
    PostThree();
    EXPECT_FALSE(queue->DeliverPendingNotifications(false));

    EXPECT_EQ(journal, "iaaa");
}

TEST_F(Queue, ParksADeliveredOrFlushedNotificationWithoutItsPayload)
{
    for (const bool isDelivered : {true, false}) {
        SCOPED_TRACE(isDelivered ? "delivered" : "flushed");
        LNotification::SetNotificationReuseEnable(true);
        RCPtr<LNotification> notification = LNotification::Create("A", MakePayload());
        const LNotification* const object = notification.Get();
        queue->PostForBroadcast(std::move(notification));

        if (isDelivered) {
            queue->DeliverPendingNotifications(false);
        } else {
            queue->FlushPendingNotifications();
        }

        EXPECT_EQ(Witness::GetLiveCount(), 0);
        const RCPtr<LNotification> again = Make("B");
        EXPECT_EQ(again.Get(), object);
        EXPECT_FALSE(again->IsPosted());
    }
}

} // namespace
} // namespace NotificationTests
