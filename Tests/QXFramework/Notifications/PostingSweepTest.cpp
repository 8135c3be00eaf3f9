// PostingSweepTest.cpp - every operation of notifications, queues, centers and managers with each
// of its requests for memory refused.

#include "NotificationFixture.h"

#include "Support/FailureSweep.h"

#include <string>

namespace NotificationTests {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

using Receiver = LNotificationQueue::LPostingReceiver;

/// One notification, with reuse on or off.
template <bool kIsReuseEnabled>
struct Messages
{
    RCPtr<LRefCountedObject> payload = MakePayload();
    RCPtr<LNotification> message;
    RCPtr<LNotification> made;

    Messages()
    {
        LNotification::SetNotificationReuseEnable(kIsReuseEnabled);
        message = LNotification::CreateInternal("A", nullptr);
    }
    ~Messages()
    {
        made = nullptr;
        message = nullptr;
        LNotification::SetNotificationReuseEnable(false);
    }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    static std::string DescribeOne(const RCPtr<LNotification>& notification)
    {
        return notification == nullptr ? "null"
                                       : std::string(notification->GetID()) +
                                             (notification->GetData() != nullptr ? "+data" : "");
    }

    /// The notification, the one made, and how many are parked.
    std::string Describe()
    {
        std::vector<RCPtr<LNotification>> parked;
        while (const auto notification = LNotification::Create("", nullptr)) {
            parked.push_back(notification);
        }
        return DescribeOne(message) + " " + DescribeOne(made) + " parked " +
               std::to_string(parked.size());
    }
};

// Takes a reference that no smart pointer gives back.
void Park(Messages<true>& state)
{
    if (state.message == nullptr) {
        state.message = LNotification::CreateInternal("A", nullptr);
    }
    LNotification* const raw = state.message.Get();
    raw->AddReference();
    state.message = nullptr;
    raw->RemoveReference();
}

TEST(PostingSweep, ANotificationThatFindsNoMemoryIsNotMadeOrChanged)
{
    using State = Messages<false>;
    const SweptOperation<State> operations[] = {
        {.what = "Create",
         .run = [](State& state) { state.made = LNotification::Create("B", state.payload); },
         .done = "A B+data parked 0",
         .thrown = "A null parked 0",
         .least = 1},
        {.what = "Create with a payload that must not be shared",
         .prepare = [](State& state) { state.payload->SetUnshareable(true); },
         .run = [](State& state) { state.made = LNotification::Create("B", state.payload); },
         .done = "A B+data parked 0",
         .thrown = "A null parked 0",
         .least = 2},
        {.what = "SetData of a payload that must not be shared",
         .prepare = [](State& state) { state.payload->SetUnshareable(true); },
         .run = [](State& state) { return state.message->SetData(state.payload) == 0; },
         .done = "A+data null parked 0",
         .thrown = "A null parked 0",
         .least = 1},
        {.what = "SetName",
         .run = [](State& state) { return state.message->SetName("B") == 0; },
         .done = "B null parked 0"},
        {.what = "the last release",
         .run = [](State& state) { state.message = nullptr; },
         .done = "null null parked 0"},
    };

    SweepRefusals<State>(operations);
}

TEST(PostingSweep, AParkedNotificationStaysParkedAndOneThatCannotBeParkedEnds)
{
    using State = Messages<true>;
    const SweptOperation<State> operations[] = {
        {.what = "Create of a parked one",
         .prepare = &Park,
         .run = [](State& state) { state.made = LNotification::Create("B", state.payload); },
         .done = "null B+data parked 0"},
        {.what = "Create of a parked one, with a payload that must not be shared",
         .prepare =
             [](State& state) {
                 Park(state);
                 state.payload->SetUnshareable(true);
             },
         .run = [](State& state) { state.made = LNotification::Create("B", state.payload); },
         .done = "null B+data parked 0",
         .thrown = "null null parked 1",
         .exhausted = "null null parked 0",
         .least = 1},
        {.what = "Create with none parked",
         .run = [](State& state) { state.made = LNotification::Create("B", state.payload); },
         .done = "A B+data parked 0",
         .thrown = "A null parked 0",
         .least = 1},
        {.what = "the last release, which parks",
         .run = &Park,
         .done = "null null parked 1",
         .thrown = "null null parked 0",
         .least = 1},
        {.what = "the end of reuse",
         .prepare = &Park,
         .run = [](State&) { LNotification::SetNotificationReuseEnable(false); },
         .done = "null null parked 0"},
    };

    SweepRefusals<State>(operations);
}

/// A queue with a distributor at which 'a' is registered for A, and a second queue that it can
/// forward to.
struct Queues
{
    std::string journal; // a few letters, which need no memory
    RCPtr<LNotificationDistributor> distributor = LNotificationDistributor::Create();
    RCPtr<LNotificationQueue> queue = LNotificationQueue::Create();
    RCPtr<LNotificationQueue> next = LNotificationQueue::Create();
    RCPtr<LTestClient> client = RCPtr<LTestClient>(new LTestClient('a', journal));
    RCPtr<LNotification> message = LNotification::Create("A", nullptr);
    std::vector<RCPtr<LNotification>> earlier;
    RCPtr<LNotificationQueue> made;
    RCPtr<LRefCountedObject> receiver;

    Queues()
    {
        queue->SetDistributor(distributor);
        next->SetDistributor(LNotificationDistributor::Create());
        distributor->RegisterNotificationClient(client, "A", 0);
    }
    ~Queues()
    {
        distributor->UnregisterNotificationClient(client);
        distributor->UnregisterNotificationClient(next->GetPostingReceiver());
        queue->ReleaseDistributor();
        next->ReleaseDistributor();
        if (made != nullptr) {
            made->ReleaseDistributor();
        }
    }
    Queues(const Queues&) = delete;
    Queues& operator=(const Queues&) = delete;

    void Fill()
    {
        for (int count = 0; count < 255; ++count) {
            earlier.push_back(LNotification::Create("B", nullptr));
            queue->PostForBroadcast(earlier.back());
        }
    }

    bool Post() { return queue->PostForBroadcast(message) == 0; }
    void Forward() { distributor->RegisterNotificationClient(next->GetPostingReceiver(), "A", 0); }

    /// Whether the notification is posted, whether the next queue has something, what was handled
    /// and what a delivery makes of it.
    std::string Describe()
    {
        std::string seen = message->IsPosted() ? "posted" : "free";
        seen += " x" + std::to_string(message->GetReferenceCount());
        seen += " handled " + journal + ", then ";
        const std::string before = std::exchange(journal, std::string());
        queue->DeliverPendingNotifications(false);
        seen += journal;
        journal = before;
        if (next->GetPostingReceiver() != nullptr) {
            seen += next->FlushPendingNotifications() ? "?" : "";
        }
        if (made != nullptr) {
            seen += " > " + CountsOf(*made);
        }
        return receiver == nullptr ? seen : seen + " > " + CountsOf(*receiver);
    }
};

TEST(PostingSweep, APostThatFindsNoMemoryIsNotMade)
{
    const SweptOperation<Queues> operations[] = {
        {.what = "a queue",
         .run = [](Queues& state) { state.made = LNotificationQueue::Create(); },
         .done = "free x1 handled , then  > 2/1",
         .thrown = "free x1 handled , then ",
         .least = 4},
        {.what = "a receiver",
         .run = [](Queues& state) { state.receiver = Receiver::Create(state.queue); },
         .done = "free x1 handled , then  > 1/0",
         .thrown = "free x1 handled , then ",
         .least = 1},
        {.what = "a post",
         .run = [](Queues& state) { return state.Post(); },
         .done = "posted x2 handled , then a"},
        {.what = "a post into a full ring",
         .prepare = [](Queues& state) { state.Fill(); },
         .run = [](Queues& state) { return state.Post(); },
         .done = "posted x2 handled , then a",
         .thrown = "free x1 handled , then ",
         .least = 1},
        {.what = "a post for a latest-only client into a full ring",
         .prepare =
             [](Queues& state) {
                 state.distributor->RegisterNotificationClient(state.client, "A", 1);
                 state.Fill();
             },
         .run = [](Queues& state) { return state.Post(); },
         .done = "posted x3 handled , then a",
         .thrown = "free x1 handled , then ",
         .least = 2},
        {.what = "a delivery",
         .prepare = [](Queues& state) { state.Post(); },
         .run = [](Queues& state) { return !state.queue->DeliverPendingNotifications(true); },
         .done = "free x1 handled a, then "},
        {.what = "a flush",
         .prepare = [](Queues& state) { state.Post(); },
         .run = [](Queues& state) { return !state.queue->FlushPendingNotifications(); },
         .done = "free x1 handled , then "},
        {.what = "a shutdown",
         .prepare = [](Queues& state) { state.Post(); },
         .run = [](Queues& state) { state.queue->ReleaseDistributor(); },
         .done = "free x1 handled , then "},
        {.what = "SetDistributor",
         .prepare = [](Queues& state) { state.made = LNotificationQueue::Create(); },
         .run = [](Queues& state) { return state.made->SetDistributor(state.distributor) == 0; },
         .done = "free x1 handled , then  > 2/1"},
    };

    SweepRefusals<Queues>(operations);
}

// What a client throws in a delivery leaves the notification posted and the queue delivering, so
// that the second run does not deliver.
TEST(PostingSweep, AReceiverThatFindsNoMemoryEndsTheDelivery)
{
    const SweptOperation<Queues> operations[] = {
        {.what = "forward at once",
         .prepare = [](Queues& state) { state.Forward(); },
         .run =
             [](Queues& state) {
                 return state.distributor->DeliverNotificationAllClients(state.message) == 0;
             },
         .done = "free x1 handled a, then ",
         .thrown = "free x1 handled , then ",
         .least = 1},
        {.what = "forward what was posted",
         .prepare =
             [](Queues& state) {
                 state.Forward();
                 state.Post();
             },
         .run = [](Queues& state) { return !state.queue->DeliverPendingNotifications(false); },
         .done = "free x1 handled a, then ",
         .thrown = "posted x1 handled , then ",
         .again = "posted x1 handled , then ",
         .least = 1},
    };

    SweepRefusals<Queues>(operations);
}

/// A manager with the center "first", where 'a' is registered for A.
struct Centers
{
    std::string journal; // a few letters, which need no memory
    RCPtr<LNotificationCenterManager> manager = LNotificationCenterManager::Create();
    RCPtr<LTestClient> client = RCPtr<LTestClient>(new LTestClient('a', journal));
    RCPtr<LNotification> message = LNotification::Create("A", nullptr);
    QX::String name = "second";
    RCPtr<LNotificationCenter> center;
    RCPtr<LRefCountedObject> made;

    Centers()
    {
        center = manager->GetOrCreateNotificationCenter("first");
        center->RegisterNotificationClient(client, "A", 0);
    }

    /// n/k of the centers, and what the client was asked.
    std::string Describe() const
    {
        std::string seen = center != nullptr ? CountsOf(*center) : "none";
        if (const RCPtr<LNotificationCenter> second = manager->GetNotificationCenter("second")) {
            seen += " second x" + std::to_string(second->GetReferenceCount() - 1);
        }
        if (made != nullptr) {
            seen += " > " + CountsOf(*made);
        }
        return seen + " " + journal;
    }
};

TEST(PostingSweep, ACenterThatFindsNoMemoryIsNotMade)
{
    const SweptOperation<Centers> operations[] = {
        {.what = "a center",
         .run = [](Centers& state) { state.made = LNotificationCenter::Create(state.name); },
         .done = "6/4 > 3/2 ",
         .thrown = "6/4 ",
         .least = 4},
        {.what = "a center with a locked name",
         .prepare = [](Centers& state) { state.name.Lock(20); },
         .run = [](Centers& state) { state.made = LNotificationCenter::Create(state.name); },
         .done = "6/4 > 3/2 ",
         .thrown = "6/4 ",
         .least = 6},
        {.what = "a manager",
         .run = [](Centers& state) { state.made = LNotificationCenterManager::Create(); },
         .done = "6/4 > 1/0 ",
         .thrown = "6/4 ",
         .least = 1},
        {.what = "a center of the manager",
         .run = [](Centers& state) { state.manager->GetOrCreateNotificationCenter(state.name); },
         .done = "6/4 second x3 ",
         .thrown = "6/4 ",
         .least = 5},
        {.what = "a delivery of all centers",
         .prepare = [](Centers& state) { state.center->PostForBroadcast(state.message); },
         .run =
             [](Centers& state) {
                 return !state.manager->DeliverPendingNotificationsAllCenters(true);
             },
         .done = "6/4 a"},
        {.what = "a dismantling",
         .prepare = [](Centers& state) { state.manager = LNotificationCenterManager::Create(); },
         .run = [](Centers& state) { state.center = nullptr; },
         .done = "none !a"},
    };

    SweepRefusals<Centers>(operations);
}

} // namespace
} // namespace NotificationTests
