// PlatformSweepTest.cpp - what calls the platform, with each of those calls refused in turn.
//
// The framework does not look at the answers. Without a region, or without having entered it, it
// goes on unguarded. A contained count that could not be changed is wrong by one, and nothing else
// remembers the change. So the results are the same as without a refusal, and the tests correct
// that count, to see that nothing else is wrong.

#include "NotificationFixture.h"

#include "Support/FailingPlatform.h"
#include "Support/FailureSweep.h"

#include <QX/Mutex.h>

#include <memory>
#include <string>

namespace NotificationTests {
namespace {

using TestSupport::FailingPlatform;
using TestSupport::SweepWith;
using TestSupport::SweptOperation;

struct Parts
{
    std::string journal; // a few letters, which need no memory
    RCPtr<LNotificationDistributor> distributor = LNotificationDistributor::Create();
    RCPtr<LNotificationQueue> queue = LNotificationQueue::Create();
    RCPtr<LTestClient> client = RCPtr<LTestClient>(new LTestClient('a', journal));
    RCPtr<LNotification> message = LNotification::Create("A", nullptr);
    RCPtr<LNotificationQueue> made;
    /// Whose count of contained references the operation changes; null if that object ends.
    LRefCountedObject* counted = queue.Get();

    Parts() = default;
    ~Parts()
    {
        distributor->UnregisterNotificationClient(client);
        queue->ReleaseDistributor();
        if (made != nullptr) {
            made->ReleaseDistributor();
        }
        LNotification::SetNotificationReuseEnable(false);
    }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    bool Register()
    {
        return distributor->RegisterNotificationClient(client, "A", 0) == kResultSuccess;
    }

    /// n/k of the distributor, the queue and what was made; whether the notification is posted; and
    /// the journal.
    std::string Describe()
    {
        if (counted != nullptr) {
            counted->ModifyNumContainedReferences(FailingPlatform::GetMissedChange());
        }
        std::string seen = CountsOf(*distributor) + " " + CountsOf(*queue);
        if (made != nullptr) {
            seen += " > " + CountsOf(*made);
        }
        return seen + (message->IsPosted() ? " posted " : " ") + journal;
    }
};

void SweepPlatform(std::span<const SweptOperation<Parts>> operations)
{
    SweepWith<Parts, FailingPlatform>(operations);
}

TEST(PlatformSweep, EverythingGoesOnUnguardedIfThereIsNoRegion)
{
    static constexpr auto post = [](Parts& parts) {
        parts.queue->SetDistributor(parts.distributor);
        parts.Register();
        parts.queue->PostForBroadcast(parts.message);
    };
    const SweptOperation<Parts> operations[] = {
        {.what = "a mutex",
         .run =
             [](Parts&) {
                 QX::Mutex mutex;
                 const QX::MutexLock outer(mutex);
                 const QX::MutexLock inner(mutex);
             },
         .done = "1/0 2/1 ",
         .least = 6},
        {.what = "a ring",
         .run =
             [](Parts& parts) {
                 QX::Mutex mutex;
                 QX::RCPtrQueue<LNotification, 256> ring(&mutex, 2);
                 ring.Enqueue(parts.message);
                 RCPtr<LNotification> taken;
                 return ring.IsFull() && ring.GetQueuedObjectsCount() == 1 &&
                        ring.TryDequeue(taken) && taken == parts.message;
             },
         .done = "1/0 2/1 ",
         .least = 9},
        {.what = "a notification that is parked and made again",
         .run =
             [](Parts& parts) {
                 LNotification::SetNotificationReuseEnable(true);
                 parts.message = nullptr;
                 parts.message = LNotification::Create("B", nullptr);
             },
         .done = "1/0 2/1 ",
         .least = 4},
        {.what = "SetDistributor",
         .run =
             [](Parts& parts) {
                 return parts.queue->SetDistributor(parts.distributor) == kResultSuccess;
             },
         .done = "2/0 2/1 ",
         .least = 2},
        {.what = "a post",
         .prepare = [](Parts& parts) { parts.queue->SetDistributor(parts.distributor); },
         .run =
             [](Parts& parts) {
                 return parts.queue->PostForBroadcast(parts.message) == kResultSuccess;
             },
         .done = "2/0 2/1 posted ",
         .least = 2},
        {.what = "a delivery",
         .prepare = post,
         .run = [](Parts& parts) { return !parts.queue->DeliverPendingNotifications(true); },
         .done = "4/2 2/1 a",
         .least = 4},
        {.what = "a flush",
         .prepare = post,
         .run = [](Parts& parts) { return !parts.queue->FlushPendingNotifications(); },
         .done = "4/2 2/1 ",
         .least = 6},
    };

    SweepPlatform(operations);
}

TEST(PlatformSweep, OnlyTheContainedCountIsWrongIfItsSwapFails)
{
    static constexpr auto countDistributor = [](Parts& parts) {
        parts.counted = parts.distributor.Get();
    };
    static constexpr auto countRegistered = [](Parts& parts) {
        parts.Register();
        parts.counted = parts.distributor.Get();
    };
    const SweptOperation<Parts> operations[] = {
        {.what = "ModifyNumContainedReferences",
         .prepare = countDistributor,
         .run =
             [](Parts& parts) {
                 const bool isDone = parts.distributor->ModifyNumContainedReferences(0);
                 return isDone || FailingPlatform::GetMissedChange() == 0;
             },
         .done = "1/0 2/1 ",
         .least = 1},
        {.what = "a registration",
         .prepare = countDistributor,
         .run = [](Parts& parts) { return parts.Register(); },
         .done = "3/2 2/1 ",
         .least = 2},
        {.what = "the end of a registration",
         .prepare = countRegistered,
         .run =
             [](Parts& parts) {
                 return parts.distributor->UnregisterNotificationClient(parts.client) == 1;
             },
         .done = "1/0 2/1 ",
         .least = 2},
        {.what = "a queue",
         .run =
             [](Parts& parts) {
                 parts.made = LNotificationQueue::Create();
                 parts.counted = parts.made.Get();
             },
         .done = "1/0 2/1 > 2/1 ",
         .least = 1},
        {.what = "a center",
         .run =
             [](Parts& parts) {
                 parts.made = LNotificationCenter::Create("center");
                 parts.counted = parts.made.Get();
             },
         .done = "1/0 2/1 > 3/2 ",
         .least = 2},
        {.what = "the shutdown of a queue",
         .run = [](Parts& parts) { parts.queue->ReleaseDistributor(); },
         .done = "1/0 1/0 ",
         .least = 1},
    };

    SweepPlatform(operations);
}

// The center has no holder left that could correct a count; it ends all the same.
TEST(PlatformSweep, ACenterWhoseLastHolderGoesEnds)
{
    const SweptOperation<Parts> operations[] = {
        {.what = "with a client",
         .prepare =
             [](Parts& parts) {
                 const auto center = LNotificationCenter::Create("center");
                 center->RegisterNotificationClient(parts.client, "A", 0);
                 parts.made = center;
                 parts.counted = nullptr;
             },
         .run = [](Parts& parts) { parts.made = nullptr; },
         .done = "1/0 2/1 !a",
         .least = 10},
    };

    SweepPlatform(operations);
}

} // namespace
} // namespace NotificationTests
