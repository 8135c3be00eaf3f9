// NotificationQueue.cpp - posting, delivery and the shutdown of a queue.

#include "PostMutex.h"

#include <QX/NotificationQueue.h>

#include <utility>

namespace QX {

Mutex& LNotificationQueue::sMutex = gPostMutex;

RCPtr<LNotificationQueue> LNotificationQueue::Create()
{
    return RCPtr<LNotificationQueue>(new LNotificationQueue);
}

// The receiver takes a reference to this queue, which has no holder yet. The count is one too high
// meanwhile: otherwise a temporary smart pointer or an exception would delete a queue that is not
// built. After an exception it stays too high, and the new-expression frees the storage.
LNotificationQueue::LNotificationQueue()
    : mPendingNotifications(&sMutex, 256)
{
    AddReference();
    mPostingReceiver = LPostingReceiver::Create(RCPtr<LNotificationQueue>(this));
    mIdleNotification = LNotification::Create(NID_IDLE, nullptr);
    RemoveReference();
    mContainedReceiver.Count(*this, mPostingReceiver.Get());
}

LNotificationQueue::~LNotificationQueue()
{
    Flush();
    mIdleNotification = nullptr;
    if (mPostingReceiver) {
        // When the constructor of a derived class threw, the receiver still holds this queue, and
        // the reference that it drops must not delete the object again.
        AddReference();
        mPostingReceiver->ReleaseQueue();
        mPostingReceiver = nullptr;
    }
    mDistributor = nullptr;
}

int32 LNotificationQueue::SetDistributor(const RCPtr<LNotificationDistributor>& distributor)
{
    if (mDistributor || !mPostingReceiver) {
        return kResultFailure;
    }
    ExchangeDistributor(distributor);
    return kResultSuccess;
}

// What the member held is released after unlocking.
void LNotificationQueue::ExchangeDistributor(const RCPtr<LNotificationDistributor>& distributor)
{
    RCPtr<LNotificationDistributor> exchanged(distributor);
    const MutexLock lock(sMutex);
    mDistributor.Swap(exchanged);
}

bool LNotificationQueue::HasDistributor() const
{
    const MutexLock lock(sMutex);
    return mDistributor != nullptr;
}

void LNotificationQueue::ReleaseDistributor()
{
    const RCPtr<LNotificationQueue> self(this);
    Flush();
    // Taken out first: from here on the queue takes no distributor.
    RCPtr<LPostingReceiver> receiver;
    receiver.Swap(mPostingReceiver);
    mContainedDistributor.GiveBack(*this, this);
    ExchangeDistributor(nullptr);
    if (receiver) {
        receiver->ReleaseQueue();
    }
}

int32 LNotificationQueue::PostForBroadcast(const RCPtr<LNotification>& notification)
{
    if (!notification || notification->IsPosted()) {
        return kResultOutOfRange;
    }
    // An unshareable notification is copied next, which may throw.
    if (!notification->IsShareable() && !HasDistributor()) {
        return kResultFailure;
    }
    return PostForBroadcast(RCPtr<LNotification>(notification));
}

int32 LNotificationQueue::PostForBroadcast(RCPtr<LNotification>&& notification)
{
    if (!notification || notification->IsPosted()) {
        return kResultOutOfRange;
    }
    // A latest-only client holds it too, and a copy must not be made inside the mutex.
    if (!notification->IsShareable()) {
        return PostForBroadcast(std::as_const(notification));
    }
    // Released after unlocking, because a payload runs foreign code, which may drop the last holder
    // of this queue. No reference to the queue or its distributor is taken: its release on a
    // posting thread could dismantle a center there.
    LatestNotifications latest;
    const MutexLock lock(sMutex);
    return Enqueue(notification, latest);
}

// The caller is inside the mutex, so that the delivering thread does not take the distributor away
// between the test and the post, and sees the whole post or nothing of it. Of several posters of
// one notification the first wins.
int32 LNotificationQueue::Enqueue(RCPtr<LNotification>& notification, LatestNotifications& latest)
{
    if (!mDistributor || !notification->TryMarkPosted()) {
        return mDistributor ? kResultOutOfRange : kResultFailure;
    }
    auto* const pool = mDistributor->FindPool(notification->GetID());
    try {
        if (pool != nullptr) {
            pool->PrepareLatest(notification, latest);
        }
        mPendingNotifications.Push(notification);
    } catch (...) {
        notification->SetPosted(false);
        throw;
    }
    if (pool != nullptr) {
        pool->ExchangeLatest(latest);
    }
    return kResultSuccess;
}

bool LNotificationQueue::DeliverPendingNotifications(bool deliverIdle)
{
    // A client may drop the last holder.
    const RCPtr<LNotificationQueue> self(this);
    if (mIsDelivering == 0) {
        mIsDelivering = 1;
        DeliverPending();
        // Not reached by an exception: the queue then delivers nothing but the idle notification.
        mIsDelivering = 0;
    }
    if (deliverIdle && mDistributor) {
        mDistributor->DeliverNotificationAllClients(mIdleNotification);
    }
    return mPendingNotifications.GetQueuedObjectsCount() != 0;
}

void LNotificationQueue::DeliverPending()
{
    // Held for the run: a client may release the distributor.
    const RCPtr<LNotificationDistributor> distributor(mDistributor);
    mUndelivered = mPendingNotifications.GetQueuedObjectsCount();
    while (mUndelivered != 0 && mDistributor) {
        --mUndelivered;
        RCPtr<LNotification> notification;
        mPendingNotifications.TryDequeue(notification);
        LNotificationDistributor::DeliverHeld(distributor, notification);
        // Before the reference goes, which may park the notification.
        notification->SetPosted(false);
    }
    // What was posted while the distributor was released can no longer be delivered.
    if (!mDistributor) {
        Flush();
    }
}

bool LNotificationQueue::FlushPendingNotifications()
{
    // The end of a payload may drop the last other holder.
    const RCPtr<LNotificationQueue> self(this);
    return Flush();
}

// Called by the destructor too, so it makes no smart pointer to this queue.
bool LNotificationQueue::Flush()
{
    mUndelivered = 0;
    for (uint32 count = mPendingNotifications.GetQueuedObjectsCount(); count > 0; --count) {
        RCPtr<LNotification> notification;
        if (!mPendingNotifications.TryDequeue(notification)) {
            break;
        }
        notification->SetPosted(false);
    }
    return mPendingNotifications.GetQueuedObjectsCount() != 0;
}

} // namespace QX
