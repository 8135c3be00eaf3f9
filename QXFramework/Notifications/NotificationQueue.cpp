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
}

LNotificationQueue::~LNotificationQueue()
{
    FlushPendingNotifications();
    mIdleNotification = nullptr;
    if (mPostingReceiver) {
        // Only when the constructor of a derived class threw: the receiver still holds this queue,
        // and what it lets go must not delete the object again.
        ModifyNumContainedReferences(-1);
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
    mDistributor = distributor;
    return kResultSuccess;
}

void LNotificationQueue::ReleaseDistributor()
{
    const RCPtr<LNotificationQueue> self(this);
    FlushPendingNotifications();
    if (TakeDistributorIsContained()) {
        ModifyNumContainedReferences(-1);
    }
    mDistributor = nullptr;
    // Taken out first: what the receiver lets go may come back here.
    RCPtr<LPostingReceiver> receiver;
    receiver.Swap(mPostingReceiver);
    if (receiver) {
        receiver->ReleaseQueue();
        receiver = nullptr;
        ModifyNumContainedReferences(-1);
    }
}

int32 LNotificationQueue::PostForBroadcast(const RCPtr<LNotification>& notification)
{
    if (!notification || notification->IsPosted()) {
        return kResultOutOfRange;
    }
    if (!mDistributor) {
        return kResultFailure;
    }
    mDistributor->SetLatestNotification(notification);
    // Of several posters of one notification the first wins. The mark stands before the ring has
    // the notification: the delivering thread takes it away as soon as it has delivered.
    if (!notification->TryMarkPosted()) {
        return kResultOutOfRange;
    }
    try {
        mPendingNotifications.Enqueue(notification);
    } catch (...) {
        notification->SetPosted(false);
        throw;
    }
    return kResultSuccess;
}

bool LNotificationQueue::DeliverPendingNotifications(bool deliverIdle)
{
    const RCPtr<LNotificationQueue> self(this);
    if (mIsDelivering == 0) {
        mIsDelivering = 1;
        for (uint32 count = mPendingNotifications.GetQueuedObjectsCount(); count > 0; --count) {
            // Read afresh: a client may flush the queue or release the distributor.
            const RCPtr<LNotificationDistributor> distributor(mDistributor);
            if (!distributor) {
                FlushPendingNotifications();
                break;
            }
            RCPtr<LNotification> notification;
            if (!mPendingNotifications.TryDequeue(notification)) {
                break;
            }
            distributor->DeliverNotificationAllClients(notification);
            // Before the reference goes, which may park the notification.
            notification->SetPosted(false);
        }
        mIsDelivering = 0;
    }
    if (deliverIdle && mDistributor) {
        const RCPtr<LNotificationDistributor> distributor(mDistributor);
        distributor->DeliverNotificationAllClients(mIdleNotification);
    }
    return mPendingNotifications.GetQueuedObjectsCount() != 0;
}

bool LNotificationQueue::FlushPendingNotifications()
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
    if (!mQueue) {
        return;
    }
    const RCPtr<LNotificationQueue> queue(mQueue);
    queue->PostForBroadcast(LNotification::Create(notification->GetID(), notification->GetData()));
}

int32 LNotificationQueue::LPostingReceiver::ForceUnregisterNotification(
    const RCPtr<LNotificationDistributor>&, const char*)
{
    return kResultFailure;
}

void LNotificationQueue::LPostingReceiver::ReleaseQueue()
{
    mQueue = nullptr;
}

} // namespace QX
