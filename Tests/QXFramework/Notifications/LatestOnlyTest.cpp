// LatestOnlyTest.cpp - clients that receive only the most recent notification of a name.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace NotificationTests {
namespace {

/// A notification that can be copied.
class LCopiedNotification : public LNotification
{
public:
    RCPtr<LRefCountedObject> CreateCopy() const override { return Create(GetID(), GetData()); }
};

class LatestOnly : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        center = &KeepCenter();
        latest = MakeClient('l');
        every = MakeClient('e');
        latest->onHandle = [this](const auto&, const auto& notification) {
            received.push_back(notification.Get());
        };
    }
    void TearDown() override
    {
        latest = nullptr;
        every = nullptr;
        std::vector<const LNotification*>().swap(received);
        NotificationFixture::TearDown();
    }
    RCPtr<LNotification> Post(const char* name = "A")
    {
        RCPtr<LNotification> notification = Make(name);
        center->PostForBroadcast(notification);
        return notification;
    }

    LNotificationCenter* center = nullptr;
    RCPtr<LTestClient> latest;
    RCPtr<LTestClient> every;
    std::vector<const LNotification*> received;
};

TEST_F(LatestOnly, ClientsReceiveTheSecondOfTwoAndOthersBoth)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    center->RegisterNotificationClient(every, "A", 0);
    Post();
    const auto second = Post();

    center->DeliverPendingNotifications(false);

    EXPECT_EQ(journal, "eel");
    EXPECT_EQ(received, std::vector<const LNotification*>{second.Get()});
    EXPECT_EQ(second->GetReferenceCount(), 1) << "the record no longer holds it";
}

TEST_F(LatestOnly, WorksForEachNameByItself)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    center->RegisterNotificationClient(latest, "B", kLatest);
    const auto first = Post("A");
    const auto second = Post("B");

    center->DeliverPendingNotifications(false);

    EXPECT_EQ(received, (std::vector<const LNotification*>{first.Get(), second.Get()}));
}

TEST_F(LatestOnly, ClientsAreNotReachedByDirectDeliveryToAll)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    center->RegisterNotificationClient(latest, QX::NID_IDLE, kLatest);

    EXPECT_EQ(center->DeliverNotificationAllClients(Make()), kResultSuccess);
    center->DeliverPendingNotifications(true);

    EXPECT_EQ(journal, "");
}

TEST_F(LatestOnly, ClientsAreReachedByTheirIndexWithWhatTheyWaitForOnly)
{
    center->RegisterNotificationClient(every, "A", 0);
    center->RegisterNotificationClient(latest, "A", kLatest);
    const auto pool = center->GetNotificationClientPool(LNotification::GetNotificationID("A"));
    const auto posted = Post();

    EXPECT_EQ(pool->DeliverNotification(*center, 1, Make()), 1u);
    EXPECT_EQ(TakeJournal(), "");

    EXPECT_EQ(pool->DeliverNotification(*center, 1, posted), 1u);
    EXPECT_EQ(TakeJournal(), "l");
}

TEST_F(LatestOnly, ClientsThatTakeTheFlagLaterMissWhatIsPending)
{
    center->RegisterNotificationClient(latest, "A", 0);
    Post();
    center->RegisterNotificationClient(latest, "A", kLatest);

    center->DeliverPendingNotifications(false);

    EXPECT_EQ(journal, "");
}

TEST_F(LatestOnly, RecordsReleaseTheLatestWhenTheFlagGoes)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    const auto notification = Post();
    EXPECT_EQ(notification->GetReferenceCount(), 3);

    center->RegisterNotificationClient(latest, "A", 2);

    EXPECT_EQ(notification->GetReferenceCount(), 2);
    center->DeliverPendingNotifications(false);
    EXPECT_EQ(journal, "l") << "the client takes everything now";
}

TEST_F(LatestOnly, RecordsKeepAFlushedNotification)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    const auto notification = Post();

    center->FlushPendingNotifications();

    EXPECT_EQ(notification->GetReferenceCount(), 2);
    EXPECT_FALSE(notification->IsPosted());
    center->UnregisterNotificationClient(latest, "A");
    EXPECT_EQ(notification->GetReferenceCount(), 1);
}

TEST_F(LatestOnly, PoolsKeepABitWhoseClientHasLeft)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    center->UnregisterNotificationClient(latest, "A");
    center->RegisterNotificationClient(every, "A", 0);
    const auto notification = Post();

    EXPECT_EQ(notification->GetReferenceCount(), 2) << "no record holds it";
    center->DeliverPendingNotifications(false);
    EXPECT_EQ(journal, "e");
}

TEST_F(LatestOnly, ARefusedPostChangesNothing)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    const auto waiting = Post();
    const auto refused = Make();
    refused->SetPosted(true);

    EXPECT_EQ(center->PostForBroadcast(refused), kResultOutOfRange);

    refused->SetPosted(false);
    center->DeliverPendingNotifications(false);
    EXPECT_EQ(received, std::vector<const LNotification*>{waiting.Get()});
}

TEST_F(LatestOnly, APostIsCompleteWhenTheReplacedNotificationEnds)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    const auto notification = Make();
    center->PostForBroadcast(LNotification::Create(
        "A", MakePayload([this, &notification] {
            EXPECT_TRUE(notification->IsPosted());
            EXPECT_EQ(center->PostForBroadcast(notification), kResultOutOfRange);
            EXPECT_FALSE(center->DeliverPendingNotifications(false));
        })));
    center->FlushPendingNotifications();

    EXPECT_EQ(center->PostForBroadcast(notification), kResultSuccess);

    EXPECT_EQ(Witness::GetLiveCount(), 0);
    EXPECT_EQ(received, std::vector<const LNotification*>{notification.Get()});
    EXPECT_FALSE(notification->IsPosted());
    EXPECT_EQ(notification->GetReferenceCount(), 1);
}

TEST_F(LatestOnly, APostTakesTheCallersOwnReferenceOver)
{
    center->RegisterNotificationClient(latest, "B", kLatest);
    RCPtr<LNotification> ofAnotherName = Make("A");
    RCPtr<LNotification> ofItsName = Make("B");

    center->PostForBroadcast(std::move(ofAnotherName));
    center->PostForBroadcast(std::move(ofItsName));

    EXPECT_EQ(ofAnotherName, nullptr);
    EXPECT_EQ(ofItsName, nullptr);
    center->DeliverPendingNotifications(false);
    EXPECT_EQ(journal, "l");
}

TEST_F(LatestOnly, ClientsReceiveTheCopyOfAnUnshareableNotificationThatIsHandedOver)
{
    center->RegisterNotificationClient(latest, "B", kLatest);
    RCPtr<LNotification> original(new LCopiedNotification);
    original->SetName("B");
    original->SetUnshareable(true);

    EXPECT_EQ(center->PostForBroadcast(std::move(original)), kResultSuccess);
    ASSERT_NE(original, nullptr) << "only the copy was posted";
    EXPECT_FALSE(original->IsPosted());

    center->DeliverPendingNotifications(false);
    EXPECT_EQ(journal, "l");
}

TEST_F(LatestOnly, AClientThatPostsItselfTheNextReceivesThatLater)
{
    center->RegisterNotificationClient(latest, "A", kLatest);
    latest->onHandle = [this, first = true](const auto&, const auto&) mutable {
        if (std::exchange(first, false)) {
            Post();
        }
    };
    Post();

    EXPECT_TRUE(center->DeliverPendingNotifications(false));
    EXPECT_FALSE(center->DeliverPendingNotifications(false));
    EXPECT_EQ(journal, "ll");
}

} // namespace
} // namespace NotificationTests
