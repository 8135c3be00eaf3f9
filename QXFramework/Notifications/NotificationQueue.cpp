// NotificationQueue.cpp - posting, delivery and the shutdown of a queue.

#include <QX/NotificationQueue.h>

#include <QX/Mutex.h>

namespace QX {

RCPtr<LNotificationQueue> LNotificationQueue::Create()
{
    return RCPtr<LNotificationQueue>(new LNotificationQueue);
}

// The receiver's reference to this queue is taken while nobody holds it yet. The count is one too
// high meanwhile, so that neither a passing smart pointer nor an exception deletes what is not
// built; if an exception leaves, it stays so, and the storage goes with the new-expression.
LNotificationQueue::LNotificationQueue()
    : mPendingNotifications(&sMutex, 256)
{
    AddReference();
    mPostingReceiver = LPostingReceiver::Create(RCPtr<LNotificationQueue>(this));
    mIdleNotification = LNotification::Create(NID_IDLE, nullptr);
    RemoveReference();
    ModifyNumContainedReferences(1);
    mCountedReceiver = mPostingReceiver.Get();
}

LNotificationQueue::~LNotificationQueue()
{
    Flush();
    mIdleNotification = nullptr;
    if (mPostingReceiver) {
        // When the constructor of a derived class threw, the receiver still holds this queue, and
        // what it lets go must not delete the object again.
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

// What the member held is released without the lock.
void LNotificationQueue::ExchangeDistributor(const RCPtr<LNotificationDistributor>& distributor)
{
    RCPtr<LNotificationDistributor> exchanged(distributor);
    const MutexLock lock(&sMutex);
    mDistributor.Swap(exchanged);
}

void LNotificationQueue::ReleaseDistributor()
{
    const RCPtr<LNotificationQueue> self(this);
    Flush();
    // Taken out first: whoever is called from here on finds a queue that takes no distributor.
    RCPtr<LPostingReceiver> receiver;
    receiver.Swap(mPostingReceiver);
    if (TakeDistributorIsContained()) {
        ModifyNumContainedReferences(-1);
    }
    ExchangeDistributor(nullptr);
    // What other threads posted up to now; from now on they are refused.
    Flush();
    if (receiver) {
        receiver->ReleaseQueue();
    }
}

int32 LNotificationQueue::PostForBroadcast(const RCPtr<LNotification>& notification)
{
    return PostForBroadcast(RCPtr<LNotification>(notification));
}

int32 LNotificationQueue::PostForBroadcast(RCPtr<LNotification>&& notification)
{
    if (!notification || notification->IsPosted()) {
        return kResultOutOfRange;
    }
    RCPtr<LNotificationDistributor> latestOnly;
    {
        // One lock for the test and the post: the delivering thread does not take the distributor
        // away in between.
        const MutexLock lock(&sMutex);
        if (!mDistributor) {
            return kResultFailure;
        }
        if (!mDistributor->MayHaveLatestOnlyClients()) {
            return Enqueue(notification);
        }
        latestOnly = mDistributor;
    }
    // Without the lock, because releasing the notification before runs foreign code, which may let
    // go of everything.
    const RCPtr<LNotificationQueue> self(this);
    RCPtr<LNotification> kept(notification);
    latestOnly->SetLatestNotification(kept);
    const MutexLock lock(&sMutex);
    return mDistributor ? Enqueue(kept) : kResultFailure;
}

// The caller is inside the mutex. Of several posters of one notification the first wins. The mark
// stands before the ring has the notification: the delivering thread takes it away as soon as it
// has delivered.
int32 LNotificationQueue::Enqueue(RCPtr<LNotification>& notification)
{
    if (!notification->TryMarkPosted()) {
        return kResultOutOfRange;
    }
    try {
        mPendingNotifications.Push(notification);
    } catch (...) {
        notification->SetPosted(false);
        throw;
    }
    return kResultSuccess;
}

bool LNotificationQueue::DeliverPendingNotifications(bool deliverIdle)
{
    // Held for the run. A center is its own distributor, and one hold does for both.
    const RCPtr<LNotificationQueue> self(mDistributorIsContained ? nullptr : this);
    RCPtr<LNotificationDistributor> distributor(mDistributor);
    if (mIsDelivering == 0) {
        mIsDelivering = 1;
        DeliverPending(distributor);
        mIsDelivering = 0;
    }
    if (deliverIdle && mDistributor) {
        distributor = mDistributor;
        LNotificationDistributor::DeliverHeld(distributor, mIdleNotification);
    }
    return mPendingNotifications.GetQueuedObjectsCount() != 0;
}

// Delivers as many as are pending when the first one is taken.
void LNotificationQueue::DeliverPending(const RCPtr<LNotificationDistributor>& distributor)
{
    uint32 left = 0;
    do {
        // Read afresh: a client may flush the queue or release the distributor.
        if (!mDistributor) {
            Flush();
            return;
        }
        RCPtr<LNotification> notification;
        uint32 pending = 0;
        if (!mPendingNotifications.TryDequeue(notification, pending)) {
            return;
        }
        if (left == 0) {
            left = pending;
        }
        LNotificationDistributor::DeliverHeld(distributor, notification);
        // Before the reference goes, which may park the notification.
        notification->SetPosted(false);
    } while (--left != 0);
}

bool LNotificationQueue::FlushPendingNotifications()
{
    // The end of a payload may drop the last holder outside.
    const RCPtr<LNotificationQueue> self(this);
    return Flush();
}

// Called by the destructor too, so it makes no smart pointer to this queue.
bool LNotificationQueue::Flush()
{
    for (uint32 count = mPendingNotifications.GetQueuedObjectsCount(); count > 0; --count) {
        RCPtr<LNotification> notification;
        if (!mPendingNotifications.TryDequeue(notification)) {
            break;
        }
        notification->SetPosted(false);
    }
    return mPendingNotifications.GetQueuedObjectsCount() != 0;
}

void LNotificationQueue::SetDistributorIsContained()
{
    mDistributorIsContained = true;
    ModifyNumContainedReferences(1);
}

bool LNotificationQueue::TakeDistributorIsContained()
{
    const bool wasContained = mDistributorIsContained;
    mDistributorIsContained = false;
    return wasContained;
}

LNotificationQueue::LPostingReceiver::LPostingReceiver(const RCPtr<LNotificationQueue>& queue)
    : mQueue(queue)
{}

LNotificationQueue::LPostingReceiver::~LPostingReceiver() = default;

RCPtr<LNotificationQueue::LPostingReceiver>
LNotificationQueue::LPostingReceiver::Create(const RCPtr<LNotificationQueue>& queue)
{
    return RCPtr<LPostingReceiver>(new LPostingReceiver(queue));
}

// A copy, because the original stays marked as posted until its own queue has delivered it.
void LNotificationQueue::LPostingReceiver::HandleNotification(
    const RCPtr<LNotificationDistributor>&, const ConstRCPtr<LNotification>& notification)
{
    const RCPtr<LNotificationQueue> queue = GetQueue();
    if (queue && notification) {
        queue->PostForBroadcast(
            LNotification::Create(notification->GetID(), notification->GetData()));
    }
}

int32 LNotificationQueue::LPostingReceiver::ForceUnregisterNotification(
    const RCPtr<LNotificationDistributor>&, const char*)
{
    return kResultFailure;
}

void LNotificationQueue::LPostingReceiver::ReleaseQueue()
{
    RCPtr<LNotificationQueue> released;
    const MutexLock lock(&sMutex);
    mQueue.Swap(released);
    // The count goes with the reference, which is dropped behind the lock.
    if (released && released->mCountedReceiver == this) {
        released->mCountedReceiver = nullptr;
        released->ModifyNumContainedReferences(-1);
    }
}

// The distributor that the receiver forwards from may be another thread's than the queue.
RCPtr<LNotificationQueue> LNotificationQueue::LPostingReceiver::GetQueue() const
{
    const MutexLock lock(&sMutex);
    return mQueue;
}

} // namespace QX
