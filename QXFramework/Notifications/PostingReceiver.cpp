// PostingReceiver.cpp - the client that forwards notifications into a queue.

#include "PostMutex.h"

#include <QX/NotificationQueue.h>

namespace QX {

using Receiver = LNotificationQueue::LPostingReceiver;

template <>
constinit const RCPtr<Receiver> RCPtr<Receiver>::Null{};

Receiver::LPostingReceiver(const RCPtr<LNotificationQueue>& queue)
    : mQueue(queue)
{}

Receiver::~LPostingReceiver() = default;

RCPtr<Receiver> Receiver::Create(const RCPtr<LNotificationQueue>& queue)
{
    return RCPtr<Receiver>(new LPostingReceiver(queue));
}

// A copy, because the original stays marked as posted until its own queue has delivered it.
//
// The distributor that is forwarded from may be another thread's than the queue. A reference to the
// queue taken here could become the last one, and its release would dismantle a center on the wrong
// thread; so the queue is used inside the mutex, which ReleaseQueue enters too. The copy is made
// before that, because it enters another mutex and counts a payload.
void Receiver::HandleNotification(const RCPtr<LNotificationDistributor>&,
                                  const ConstRCPtr<LNotification>& notification)
{
    if (!notification || !HasQueue()) {
        return;
    }
    RCPtr<LNotification> copy =
        LNotification::Create(notification->GetID(), notification->GetData());
    LatestNotifications latest; // released after unlocking, as the copy is
    const MutexLock lock(gPostMutex);
    if (mQueue && copy) {
        mQueue->Enqueue(copy, latest);
    }
}

bool Receiver::HasQueue() const
{
    const MutexLock lock(gPostMutex);
    return mQueue != nullptr;
}

int32 Receiver::ForceUnregisterNotification(const RCPtr<LNotificationDistributor>&, const char*)
{
    return kResultFailure;
}

void Receiver::ReleaseQueue()
{
    RCPtr<LNotificationQueue> released;
    const MutexLock lock(gPostMutex);
    mQueue.Swap(released);
    // The count goes before the reference, which is released after unlocking.
    if (released) {
        released->mContainedReceiver.GiveBack(*released, this);
    }
}

} // namespace QX
