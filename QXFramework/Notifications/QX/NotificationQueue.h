// NotificationQueue.h - posting from any thread, delivery on one.
//
//     RCPtr<LNotificationQueue> queue = LNotificationQueue::Create();
//     queue->SetDistributor(distributor);
//     queue->PostForBroadcast(message);         // any thread: stores it
//     queue->DeliverPendingNotifications(true); // one thread: calls the clients
//     queue->ReleaseDistributor();              // the end of every queue
//
// A queue and its posting receiver hold each other. ReleaseDistributor breaks that cycle; a queue
// whose holders let go without it stays alive for ever. (A center ends by itself.)
//
// Threads: PostForBroadcast from any thread that holds the queue, also while it is shut down;
// everything else, and registration at the distributor, on the delivering thread. Posts read the
// latest-only registrations: once one has been made, registrations change only while nobody posts.
// No lock is held while clients run.
#pragma once

#include <QX/Notification.h>
#include <QX/NotificationClient.h>
#include <QX/NotificationDistributor.h>
#include <QX/RCPtrQueue.h>

namespace QX {

class QX_API LNotificationQueue : public virtual LRefCountedObject
{
public:
    class LPostingReceiver;

    static RCPtr<LNotificationQueue> Create();
    LNotificationQueue();
    ~LNotificationQueue() override;

    /// Sets the distributor that deliveries go through; it can be set once.
    ///
    /// Fails: kResultFailure if one is set, or after ReleaseDistributor.
    int32 SetDistributor(const RCPtr<LNotificationDistributor>& distributor);

    /// Shuts the queue down: flushes it and lets go of the distributor and of the receiver, which
    /// forwards nothing any more. A second call only flushes.
    void ReleaseDistributor();

    /// Stores `notification` for delivery and marks it as posted.
    ///
    /// Fails, with nothing changed: kResultOutOfRange for null or one that is posted already,
    /// kResultFailure without a distributor. Throws: std::bad_alloc; the notification is not
    /// posted, but latest-only clients of its name no longer wait for the one before.
    ///
    /// Threads: any. Notifications of one poster keep their order.
    int32 PostForBroadcast(const RCPtr<LNotification>& notification);
    /// As above, with the caller's own reference, which is gone afterwards if the notification was
    /// posted and nobody receives only the latest of its name.
    int32 PostForBroadcast(RCPtr<LNotification>&& notification);

    /// Delivers what was pending at the start of the call, oldest first, then, if `deliverIdle`,
    /// the idle notification. Returns whether notifications are pending now. What clients post
    /// meanwhile waits for the next call; a call from inside a client delivers only the idle one.
    ///
    /// A receiver that forwards a queue into itself keeps one notification pending for ever, so a
    /// loop until this returns false does not end then. Nor does a client of the idle notification
    /// that calls this with `deliverIdle`.
    ///
    /// Throws: what a client throws. The notification then stays marked as posted, and later calls
    /// deliver only the idle notification; FlushPendingNotifications and ReleaseDistributor work.
    bool DeliverPendingNotifications(bool deliverIdle);

    /// Drops what was pending at the start of the call; returns whether something is pending now.
    bool FlushPendingNotifications();

    /// Returns the client that posts whatever it receives into this queue; null after
    /// ReleaseDistributor. Registered at another distributor it forwards from there to here, and
    /// it stays registered there, idle, when this queue is shut down.
    const RCPtr<LPostingReceiver>& GetPostingReceiver() const { return mPostingReceiver; }

protected:
    /// Counts the distributor reference as one that this object holds on itself: ReleaseDistributor
    /// then gives the count back with the reference.
    void SetDistributorIsContained();
    /// Takes that duty over: returns whether it was still owed, and to the caller from now on.
    bool TakeDistributorIsContained();

private:
    friend class NotificationStatics;
    friend class LNotificationDistributor::LNotificationRegisteredClientInfo;

    int32 Enqueue(RCPtr<LNotification>& notification);
    void DeliverPending(const RCPtr<LNotificationDistributor>& distributor);
    bool Flush();
    void ExchangeDistributor(const RCPtr<LNotificationDistributor>& distributor);

    static Mutex sMutex; ///< guards, for all queues, the members that say so

    uint32 mIsDelivering = 0; ///< stops a client from delivering inside a delivery
    RCPtrQueue<LNotification, 256> mPendingNotifications; ///< under sMutex
    /// Written under sMutex by the delivering thread, which alone reads it without.
    RCPtr<LNotificationDistributor> mDistributor;
    RCPtr<LPostingReceiver> mPostingReceiver; ///< null after ReleaseDistributor
    RCPtr<LNotification> mIdleNotification;
    bool mDistributorIsContained = false;
    /// The receiver whose reference here is counted as contained, until it lets go. Under sMutex.
    const LPostingReceiver* mCountedReceiver = nullptr;
};

/// A client that posts a copy of whatever it receives into its queue.
class QX_API LNotificationQueue::LPostingReceiver : public LNotificationReceiver
{
public:
    static RCPtr<LPostingReceiver> Create(const RCPtr<LNotificationQueue>& queue);

    void HandleNotification(const RCPtr<LNotificationDistributor>& distributor,
                            const ConstRCPtr<LNotification>& notification) override;
    /// Returns kResultFailure: whoever registered the receiver unregisters it.
    int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                      const char* notificationID) override;
    ~LPostingReceiver() override;

    /// Lets go of the queue; from then on the receiver does nothing.
    void ReleaseQueue();

protected:
    explicit LPostingReceiver(const RCPtr<LNotificationQueue>& queue);

private:
    RCPtr<LNotificationQueue> GetQueue() const;

    RCPtr<LNotificationQueue> mQueue; ///< under sMutex
};

template <>
QX_API const RCPtr<LNotificationQueue::LPostingReceiver>
    RCPtr<LNotificationQueue::LPostingReceiver>::Null;

} // namespace QX
