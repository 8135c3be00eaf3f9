// CountsTest.cpp - the two counts of distributors, queues and centers, step by step.
//
// "n/k" is the number of references and how many of them are contained. At every quiet point n is
// k and the holders, and k is the registrations, the listing, the distributor that is the object
// itself, and the receiver's reference.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace NotificationTests {
namespace {

class Counts : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        first = MakeClient('a');
        second = MakeClient('b');
        liveBlocks = TestSupport::CountLiveBlocks();
    }
    void TearDown() override
    {
        first = nullptr;
        second = nullptr;
        NotificationFixture::TearDown();
    }
    void RegisterBoth(LNotificationDistributor& distributor)
    {
        distributor.RegisterNotificationClient(first, "A", 0);
        distributor.RegisterNotificationClient(second, "A", 0);
    }
    /// Makes a center where both clients are registered.
    RCPtr<LNotificationCenter> MakeCenter()
    {
        auto center = LNotificationCenter::Create("center");
        RegisterBoth(*center);
        return center;
    }
    /// Whether all objects that the test has made since its start are gone.
    bool IsAllGone() const { return TestSupport::CountLiveBlocks() == liveBlocks; }

    RCPtr<LTestClient> first;
    RCPtr<LTestClient> second;
    long liveBlocks = 0;
};

TEST_F(Counts, FallWhenTheClientsOfADistributorLeave)
{
    RCPtr<LNotificationDistributor> held = LNotificationDistributor::Create();
    EXPECT_EQ(CountsOf(*held), "1/0");

    held->RegisterNotificationClient(first, "A", 0);
    EXPECT_EQ(CountsOf(*held), "3/2");
    held->RegisterNotificationClient(first, "B", 0);
    EXPECT_EQ(CountsOf(*held), "4/3");

    held->UnregisterNotificationClient(first);
    EXPECT_EQ(CountsOf(*held), "1/0");

    held = nullptr;
    EXPECT_TRUE(IsAllGone());
    EXPECT_EQ(journal, "");
}

TEST_F(Counts, KeepADistributorUntilItsLastClientLeaves)
{
    RCPtr<LNotificationDistributor> held = LNotificationDistributor::Create();
    LNotificationDistributor& distributor = *held;
    held->RegisterNotificationClient(first, "A", 0);
    held->RegisterNotificationClient(second, "A", 0);
    held->RegisterNotificationClient(second, "B", 0);

    held = nullptr;
    EXPECT_EQ(CountsOf(distributor), "4/4");
    EXPECT_EQ(journal, "") << "only centers ask";

    EXPECT_EQ(distributor.UnregisterNotificationClient(first, "A"), kResultSuccess);
    EXPECT_EQ(CountsOf(distributor), "3/3");
    EXPECT_EQ(distributor.UnregisterNotificationClient(second), 2);
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, FallWhenAQueueIsShutDown)
{
    RCPtr<LNotificationDistributor> distributor = LNotificationDistributor::Create();
    RCPtr<LNotificationQueue> held = LNotificationQueue::Create();
    EXPECT_EQ(CountsOf(*held), "2/1");

    held->SetDistributor(distributor);
    EXPECT_EQ(CountsOf(*held), "2/1");
    EXPECT_EQ(CountsOf(*distributor), "2/0");

    RCPtr<LNotificationQueue> another = held;
    for (const char* const what : {"once", "again"}) {
        SCOPED_TRACE(what);
        held->ReleaseDistributor();
        EXPECT_EQ(CountsOf(*held), "2/0");
        EXPECT_EQ(CountsOf(*distributor), "1/0");
    }

    another = nullptr;
    EXPECT_EQ(CountsOf(*held), "1/0");
    held = nullptr;
    distributor = nullptr;
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, KeepAQueueThatIsDroppedWithoutBeingShutDown)
{
    RCPtr<LNotificationQueue> held = LNotificationQueue::Create();
    LNotificationQueue& queue = *held;

    held = nullptr;
    EXPECT_EQ(CountsOf(queue), "1/1") << "its own receiver holds it";

    queue.ReleaseDistributor();
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, IncludeTheQueuesOwnReceiverOnly)
{
    RCPtr<LNotificationQueue> held = LNotificationQueue::Create();
    const auto another = LNotificationQueue::LPostingReceiver::Create(held);
    EXPECT_EQ(CountsOf(*held), "3/1");

    another->ReleaseQueue();
    EXPECT_EQ(CountsOf(*held), "2/1");

    held->ReleaseDistributor();
    EXPECT_EQ(CountsOf(*held), "1/0");
}

TEST_F(Counts, FallOnceIfTheReceiverReleasesItsCenterFirst)
{
    RCPtr<LNotificationCenter> held = MakeCenter();

    held->GetPostingReceiver()->ReleaseQueue();
    EXPECT_EQ(CountsOf(*held), "5/4");
    {
        const RCPtr<LNotificationCenter> passing = held;
    }
    EXPECT_EQ(TakeJournal(), "") << "no client is asked while there is a holder";

    held = nullptr;
    EXPECT_EQ(TakeJournal(), "!b!a");
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, FallToNothingWhenTheLastHolderOfACenterGoes)
{
    RCPtr<LNotificationCenter> held = LNotificationCenter::Create("center");
    EXPECT_EQ(CountsOf(*held), "3/2");
    held = nullptr;
    EXPECT_TRUE(IsAllGone());

    held = MakeCenter();
    EXPECT_EQ(CountsOf(*held), "6/5");
    held = nullptr;
    EXPECT_EQ(TakeJournal(), "!b!a");
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, KeepACenterWhoseClientsStay)
{
    RCPtr<LNotificationCenter> held = MakeCenter();
    LNotificationCenter& center = *held;
    first->Refuse();
    second->Refuse();

    held = nullptr;
    EXPECT_EQ(TakeJournal(), "!b!a");
    EXPECT_EQ(CountsOf(center), "3/3");
    EXPECT_EQ(center.PostForBroadcast(Make()), kResultFailure);
    EXPECT_EQ(center.GetPostingReceiver(), nullptr);
    EXPECT_EQ(LNotificationDistributor::GetDistributors().GetCount(), 1u);

    held = RCPtr<LNotificationCenter>(&center);
    EXPECT_EQ(CountsOf(center), "4/3");
    center.UnregisterNotificationClient(second);
    EXPECT_EQ(CountsOf(center), "3/2");
    center.UnregisterNotificationClient(first);
    EXPECT_EQ(CountsOf(center), "1/0");
    EXPECT_EQ(TakeJournal(), "");

    held = nullptr;
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, KeepACenterUntilItsClientsLeave)
{
    RCPtr<LNotificationCenter> held = MakeCenter();
    LNotificationCenter& center = *held;
    first->Refuse();
    second->Refuse();
    held = nullptr;
    EXPECT_EQ(TakeJournal(), "!b!a");

    center.UnregisterNotificationClient(second);
    EXPECT_EQ(CountsOf(center), "2/2");
    EXPECT_EQ(TakeJournal(), "!a") << "the client that is left is asked again";

    center.UnregisterNotificationClient(first);
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, KeepACenterWhoseClientThrowsWhenItIsAsked)
{
    struct Row
    {
        const char* what;
        bool firstThrows;
        bool secondThrows;
        const char* counts;
    };
    const Row rows[] = {
        {"the first asked", false, true, "2/2"},
        {"the last asked", true, false, "2/2"},
        {"both", true, true, "3/3"},
    };
    const decltype(first->onForce) thrower = [](const auto&, const char*) -> int32 { throw 1; };

    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        RCPtr<LNotificationCenter> held = MakeCenter();
        LNotificationCenter& center = *held;
        first->onForce = row.firstThrows ? thrower : nullptr;
        second->onForce = row.secondThrows ? thrower : nullptr;

        held = nullptr;
        EXPECT_EQ(TakeJournal(), "!b!a");
        EXPECT_EQ(CountsOf(center), row.counts);

        held = RCPtr<LNotificationCenter>(&center);
        center.UnregisterNotificationClient(first);
        center.UnregisterNotificationClient(second);
        EXPECT_EQ(CountsOf(center), "1/0");
        TakeJournal();
    }
}

TEST_F(Counts, AreRightWhenACenterIsShutDownDirectly)
{
    struct Row
    {
        int holders;
        int clients;
        const char* before;
        const char* after;
    };
    const Row rows[] = {
        {1, 0, "3/2", "1/0"}, {1, 2, "6/5", "4/3"}, {2, 0, "4/2", "2/0"},
        {2, 2, "7/5", "5/3"}, {3, 0, "5/2", "3/0"}, {3, 2, "8/5", "6/3"},
    };

    for (const bool fromAClient : {false, true}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(testing::Message() << row.holders << " holders, " << row.clients
                                            << " clients" << (fromAClient ? ", by one" : ""));
            liveBlocks = TestSupport::CountLiveBlocks();
            auto& center = KeepCenter();
            for (int holder = 1; holder < row.holders; ++holder) {
                Keep(RCPtr<LNotificationCenter>(&center));
            }
            if (row.clients != 0) {
                RegisterBoth(center);
            }
            EXPECT_EQ(CountsOf(center), row.before);

            if (fromAClient) {
                const auto outsider = MakeUnkeptClient('o');
                outsider->onHandle = [&center](const auto&, const auto&) {
                    center.ReleaseDistributor();
                };
                center.DeliverNotification(outsider, Make());
                EXPECT_EQ(TakeJournal(), "o");
            } else {
                center.ReleaseDistributor();
            }
            EXPECT_EQ(CountsOf(center), row.after);

            center.ReleaseDistributor();
            EXPECT_EQ(CountsOf(center), row.after);
            EXPECT_EQ(center.PostForBroadcast(Make()), kResultFailure);
            EXPECT_EQ(TakeJournal(), "") << "no client is asked while there is a holder";

            LetGoOf(center);
            EXPECT_EQ(TakeJournal(), row.clients != 0 ? "!b!a" : "");
            EXPECT_TRUE(IsAllGone());
        }
    }
}

TEST_F(Counts, FallWhenACenterIsDismantledDirectly)
{
    RCPtr<LNotificationCenter> held = MakeCenter();

    EXPECT_EQ(held->RemoveContainedReferences(), kResultSuccess);
    EXPECT_EQ(CountsOf(*held), "1/0");
    EXPECT_EQ(TakeJournal(), "!b!a");
    EXPECT_EQ(held->RemoveContainedReferences(), kResultSuccess);

    held = nullptr;
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, AreRightWhenACenterIsDismantledDirectlyInVain)
{
    RCPtr<LNotificationCenter> held = LNotificationCenter::Create("center");
    RCPtr<LNotificationCenter> another = held;
    RegisterBoth(*held);
    first->Refuse();

    EXPECT_EQ(held->RemoveContainedReferences(), kResultFailure);
    EXPECT_EQ(CountsOf(*held), "4/2");

    first->onForce = nullptr;
    EXPECT_EQ(held->RemoveContainedReferences(), kResultFailure) << "there are two holders";
    EXPECT_EQ(CountsOf(*held), "2/0");
    another = nullptr;
    EXPECT_EQ(held->RemoveContainedReferences(), kResultSuccess);
}

TEST_F(Counts, AreRightWhenAClientTakesHoldOfACenterThatAsksIt)
{
    RCPtr<LNotificationCenter> held = LNotificationCenter::Create("center");
    RCPtr<LNotificationDistributor> kept;
    RegisterBoth(*held);
    first->onForce = [this, &kept](const auto& by, const char* id) {
        kept = by;
        return first->Leave(by, id);
    };

    held = nullptr;

    EXPECT_EQ(CountsOf(*kept), "1/0");
    kept = nullptr;
    EXPECT_TRUE(IsAllGone());
}

TEST_F(Counts, AreOneForAllThePointersThatACenterIsHeldBy)
{
    const RCPtr<LNotificationCenter> center = LNotificationCenter::Create("center");
    const RCPtr<LNotificationDistributor> distributor = center;
    const RCPtr<LNotificationQueue> queue = center;
    const RCPtr<LRefCountedObject> object = center;

    EXPECT_EQ(CountsOf(*object), "6/2");
    EXPECT_EQ(CountsOf(*queue), "6/2");
    EXPECT_EQ(RCPtr<LNotificationCenter>::Downcast(object), center);
    EXPECT_EQ(RCPtr<LNotificationCenter>::Downcast(queue), center);
    EXPECT_EQ(RCPtr<LNotificationClient>::Downcast(object), nullptr);
}

} // namespace
} // namespace NotificationTests
