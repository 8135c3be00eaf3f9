// PostingReceiverTest.cpp - clients that forward into a queue, and clients made of a function.

#include "NotificationFixture.h"

#include <QX/FunctionReceiver.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>

namespace NotificationTests {
namespace {

using QX::LFunctionReceiver;
using LPostingReceiver = LNotificationQueue::LPostingReceiver;

class PostingReceiver : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        source = &KeepDistributor();
        target = &KeepCenter();
        receiver = target->GetPostingReceiver();
        source->RegisterNotificationClient(receiver, "A", 0);
    }
    void TearDown() override
    {
        source->UnregisterNotificationClient(receiver);
        receiver = nullptr;
        NotificationFixture::TearDown();
    }

    LNotificationDistributor* source = nullptr;
    LNotificationCenter* target = nullptr;
    RCPtr<LPostingReceiver> receiver;
};

TEST_F(PostingReceiver, PostsACopyOfWhatItReceives)
{
    const auto client = MakeClient('a');
    const RCPtr<LNotification> original = LNotification::Create("A", MakePayload());
    client->onHandle = [&original](const auto&, const auto& notification) {
        EXPECT_NE(notification, original);
        EXPECT_EQ(notification->GetID(), original->GetID());
        EXPECT_EQ(notification->GetData(), original->GetData());
    };
    target->RegisterNotificationClient(client, "A", 0);
    original->SetPosted(true);

    source->DeliverNotificationAllClients(original);
    EXPECT_EQ(journal, "");
    EXPECT_FALSE(target->DeliverPendingNotifications(false));

    EXPECT_EQ(journal, "a");
}

TEST_F(PostingReceiver, PostsARecycledCopyWhileReuseIsOn)
{
    LNotification::SetNotificationReuseEnable(true);
    RCPtr<LNotification> parked = Make("B");
    const LNotification* const object = parked.Get();
    parked = nullptr;
    const auto client = MakeClient('a');
    client->onHandle = [object](const auto&, const auto& notification) {
        EXPECT_EQ(notification.Get(), object);
    };
    target->RegisterNotificationClient(client, "A", 0);

    source->DeliverNotificationAllClients(LNotification::CreateInternal("A", nullptr));
    target->DeliverPendingNotifications(false);

    EXPECT_EQ(journal, "a");
}

TEST_F(PostingReceiver, RefusesToUnregister)
{
    EXPECT_EQ(receiver->ForceUnregisterNotification(RCPtr<LNotificationDistributor>(source),
                                                    LNotification::GetNotificationID("A")),
              kResultFailure);
    source->ForceAllRegisteredClientsToUnregister();

    EXPECT_TRUE(source->IsClientRegistered(receiver));
}

TEST_F(PostingReceiver, IsInertAfterItsQueueWasShutDown)
{
    target->ReleaseDistributor();

    EXPECT_EQ(target->GetPostingReceiver(), nullptr);
    EXPECT_EQ(source->DeliverNotificationAllClients(Make()), kResultSuccess);
    EXPECT_FALSE(target->DeliverPendingNotifications(true));
    EXPECT_TRUE(source->IsClientRegistered(receiver));
}

TEST_F(PostingReceiver, IgnoresANullNotification)
{
    receiver->HandleNotification(RCPtr<LNotificationDistributor>(source), nullptr);

    EXPECT_FALSE(target->FlushPendingNotifications());
}

/// A payload that runs an action when it gets a holder.
class LPayloadThatLooks : public LRefCountedObject
{
public:
    int32 AddReference() override
    {
        if (onAdd) {
            onAdd();
        }
        return LRefCountedObject::AddReference();
    }

    std::function<void()> onAdd;
};

TEST_F(PostingReceiver, HoldsNoQueueWhileItForwards)
{
    const RCPtr<LPayloadThatLooks> payload(new LPayloadThatLooks);
    const RCPtr<LNotification> original = LNotification::Create("A", payload);
    const std::string counts = CountsOf(*target);
    std::string seen;
    payload->onAdd = [this, &seen] { seen = CountsOf(*target); };

    source->DeliverNotificationAllClients(original);

    EXPECT_EQ(seen, counts);
    EXPECT_FALSE(target->FlushPendingNotifications());
}

TEST_F(PostingReceiver, HoldsNoQueueWhenWhatItsClientsWaitedForEnds)
{
    target->RegisterNotificationClient(MakeClient('a'), "A", kLatest);
    std::string seen;
    target->PostForBroadcast(
        LNotification::Create("A", MakePayload([this, &seen] { seen = CountsOf(*target); })));
    target->FlushPendingNotifications();
    ASSERT_EQ(seen, "") << "the client still waits for it";
    ASSERT_EQ(CountsOf(*target), "5/4");

    source->DeliverNotificationAllClients(Make());

    EXPECT_EQ(seen, "5/4");
    EXPECT_FALSE(target->FlushPendingNotifications());
}

TEST_F(PostingReceiver, ReplacesWhatLatestOnlyClientsOfItsQueueWaitFor)
{
    const auto client = MakeClient('a');
    const RCPtr<LRefCountedObject> second = MakePayload();
    client->onHandle = [&second](const auto&, const auto& notification) {
        EXPECT_EQ(notification->GetData(), second);
    };
    target->RegisterNotificationClient(client, "A", kLatest);

    source->DeliverNotificationAllClients(LNotification::Create("A", MakePayload()));
    source->DeliverNotificationAllClients(LNotification::Create("A", second));
    target->DeliverPendingNotifications(false);

    EXPECT_EQ(journal, "a");
}

TEST_F(PostingReceiver, LeavesTheEndOfACenterToTheThreadThatDropsIt)
{
    const auto client = MakeClient('a');
    std::thread::id asked;
    client->onForce = [&](const auto& by, const char* id) {
        asked = std::this_thread::get_id();
        return client->Leave(by, id);
    };
    RCPtr<LNotificationCenter> ending = LNotificationCenter::Create("ending");
    ending->RegisterNotificationClient(client, "A", 0);
    const RCPtr<LPostingReceiver> itsReceiver = ending->GetPostingReceiver();
    source->RegisterNotificationClient(itsReceiver, "B", 0);
    const RCPtr<LPayloadThatLooks> payload(new LPayloadThatLooks);
    const RCPtr<LNotification> original = LNotification::Create("B", payload);
    std::binary_semaphore isForwarding(0);
    std::binary_semaphore isDropped(0);
    payload->onAdd = [&] {
        isForwarding.release();
        isDropped.acquire();
    };

    std::thread forwarder([&] { source->DeliverNotificationAllClients(original); });
    isForwarding.acquire();
    ending = nullptr;
    EXPECT_EQ(TakeJournal(), "!a") << "asked before the drop returns";
    isDropped.release();
    forwarder.join();

    EXPECT_EQ(asked, std::this_thread::get_id());
    EXPECT_EQ(TakeJournal(), "");
    source->UnregisterNotificationClient(itsReceiver);
}

TEST_F(PostingReceiver, KeepsOneNotificationPendingWhenItForwardsIntoItself)
{
    source->UnregisterNotificationClient(receiver);
    const auto client = MakeClient('a');
    target->RegisterNotificationClient(client, "A", 0);
    target->RegisterNotificationClient(receiver, "A", 0);
    target->PostForBroadcast(Make());

    for (int call = 0; call < 10; ++call) {
        EXPECT_TRUE(target->DeliverPendingNotifications(false));
    }

    EXPECT_EQ(journal, "aaaaaaaaaa");
    EXPECT_FALSE(target->FlushPendingNotifications());
    target->UnregisterNotificationClient(receiver);
}

TEST_F(PostingReceiver, ForwardsBetweenTwoQueuesForEver)
{
    auto& other = KeepCenter("other");
    source->UnregisterNotificationClient(receiver);
    other.RegisterNotificationClient(receiver, "A", 0);
    target->RegisterNotificationClient(other.GetPostingReceiver(), "A", 0);
    target->PostForBroadcast(Make());

    for (int call = 0; call < 5; ++call) {
        EXPECT_FALSE(target->DeliverPendingNotifications(false));
        EXPECT_FALSE(other.DeliverPendingNotifications(false));
    }

    EXPECT_FALSE(target->FlushPendingNotifications());
    other.UnregisterNotificationClient(receiver);
    target->UnregisterNotificationClient(other.GetPostingReceiver());
}

class FunctionReceiver : public NotificationFixture
{};

TEST_F(FunctionReceiver, CallsItsFunctionForEachNotification)
{
    auto& center = KeepCenter();
    std::string names;
    const auto client = LFunctionReceiver::Create(
        [&names, &center](const auto& distributor, const auto& notification) {
            EXPECT_EQ(distributor.Get(), &center);
            names += notification->GetID();
        });
    center.RegisterNotificationClient(client, "A", 0);
    center.RegisterNotificationClient(client, "B", 0);

    center.PostForBroadcast(Make("A"));
    center.PostForBroadcast(Make("B"));
    center.DeliverPendingNotifications(false);

    EXPECT_EQ(names, "AB");
    center.UnregisterNotificationClient(client);
}

TEST_F(FunctionReceiver, DoesNothingWithoutAFunction)
{
    auto& center = KeepCenter();
    const auto client = LFunctionReceiver::Create(nullptr);
    center.RegisterNotificationClient(client, "A", 0);

    EXPECT_EQ(center.DeliverNotificationAllClients(Make()), kResultSuccess);

    center.UnregisterNotificationClient(client);
}

TEST_F(FunctionReceiver, LeavesWhenItIsAsked)
{
    auto& distributor = KeepDistributor();
    const auto client = LFunctionReceiver::Create([](const auto&, const auto&) {});
    const RCPtr<LNotificationDistributor> held(&distributor);
    distributor.RegisterNotificationClient(client, "A", 0);
    const char* const id = LNotification::GetNotificationID("A");

    EXPECT_EQ(client->ForceUnregisterNotification(held, id), kResultSuccess);
    EXPECT_EQ(client->ForceUnregisterNotification(held, id), kResultNothingDone);
    EXPECT_EQ(client->ForceUnregisterNotification(nullptr, id), kResultOutOfRange);
    EXPECT_FALSE(distributor.IsClientRegistered(client));
}

TEST_F(FunctionReceiver, EndsWithItsCenterAndReleasesWhatItsFunctionHolds)
{
    const auto held = std::make_shared<int>(1);
    {
        const auto center = LNotificationCenter::Create("center");
        center->RegisterNotificationClient(
            LFunctionReceiver::Create([held](const auto&, const auto&) {}), "A", 0);
        EXPECT_EQ(held.use_count(), 2);
    }

    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(FunctionReceiver, MayUnregisterItselfFromItsFunction)
{
    auto& center = KeepCenter();
    RCPtr<LFunctionReceiver> client;
    const auto held = std::make_shared<int>(1);
    client = LFunctionReceiver::Create([&, held](const auto& distributor, const auto&) {
        const RCPtr<LNotificationClient> self = std::move(client);
        EXPECT_EQ(distributor->UnregisterNotificationClient(self), 1);
        EXPECT_EQ(*held, 1);
    });
    center.RegisterNotificationClient(client, "A", 0);

    center.DeliverNotificationAllClients(Make());

    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
} // namespace NotificationTests
