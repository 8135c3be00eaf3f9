// NotificationQueue.h - posting from any thread, delivery on one.
//
//     RCPtr<LNotificationQueue> queue = LNotificationQueue::Create();
//     queue->SetDistributor(distributor);
//     queue->PostForBroadcast(message);         // any thread: stores it
//     queue->DeliverPendingNotifications(true); // one thread: calls the clients
//     queue->ReleaseDistributor();              // the end of every queue
//
// A queue lives on the heap, held by smart pointers. It and its posting receiver hold each other.
// ReleaseDistributor breaks that cycle; a queue that loses its holders without it stays alive for
// ever. (A center ends by itself.)
//
// Threads: PostForBroadcast from any thread that holds the queue, also while clients register and
// while the queue is shut down; everything else, and registration at the distributor, on the
// delivering thread. No lock is held while clients run.
#pragma once

#include <QX/ContainedReference.h>
#include <QX/Notification.h>
#include <QX/NotificationClient.h>
#include <QX/NotificationDistributor.h>
#include <QX/RCPtrQueue.h>

namespace QX {

class QX_API LNotificationQueue : public virtual LRefCountedObject
{
public:
    class LPostingReceiver;

    /// Returns a queue without a distributor. Throws: std::bad_alloc.
    static RCPtr<LNotificationQueue> Create();
    LNotificationQueue();
    ~LNotificationQueue() override;

    /// Sets the distributor that deliveries go through, which the queue holds until
    /// ReleaseDistributor, and returns kResultSuccess. It can be set once; a null `distributor`
    /// changes nothing.
    ///
    /// Fails: kResultFailure if one is set, or after ReleaseDistributor.
    int32 SetDistributor(const RCPtr<LNotificationDistributor>& distributor);

    /// Shuts the queue down: flushes it and releases the distributor and the receiver, which
    /// forwards nothing any more. A second call only flushes.
    void ReleaseDistributor();

    /// Stores `notification` for delivery, marks it as posted and returns kResultSuccess.
    ///
    /// Fails: kResultOutOfRange for null or one that is posted already, kResultFailure without a
    /// distributor. Throws: std::bad_alloc; what CreateCopy throws for an unshareable notification,
    /// of which a copy is posted. Nothing changes in any of these cases.
    ///
    /// Threads: any. Notifications of one poster keep their order.
    int32 PostForBroadcast(const RCPtr<LNotification>& notification);
    /// As above, with the caller's own reference, which is handed over if the notification itself
    /// was posted, and not a copy.
    int32 PostForBroadcast(RCPtr<LNotification>&& notification);

    /// Delivers what was pending at the start of the call, oldest first, then, if `deliverIdle`,
    /// the idle notification. Returns whether notifications are pending now. What is posted
    /// meanwhile waits for the next call; a flush ends the delivery. A call from inside a client
    /// delivers only the idle notification. Without a distributor it delivers nothing and flushes.
    ///
    /// A receiver that forwards a queue into itself, or two that forward into each other's queues,
    /// keep one notification pending for ever, so a loop until this returns false does not end. Nor
    /// does a client of the idle notification that calls this with `deliverIdle`.
    ///
    /// Throws: what a client throws. If it was a pending notification that was delivered, that one
    /// stays marked as posted, and this queue never delivers pending notifications again, only the
    /// idle one; what is pending can still be flushed.
    bool DeliverPendingNotifications(bool deliverIdle);

    /// Drops as many notifications as were pending at the start of the call, the oldest first and
    /// undelivered, and returns whether something is pending now. If the end of a payload flushes
    /// too and then posts, these may include what it has posted.
    bool FlushPendingNotifications();

    /// Returns the client that posts whatever it receives into this queue; null after
    /// ReleaseDistributor. Registered at another distributor it forwards from there to here, and
    /// it stays registered there, without effect, when this queue is shut down.
    ///
    /// The reference is to the member, which ReleaseDistributor clears.
    const RCPtr<LPostingReceiver>& GetPostingReceiver() const { return mPostingReceiver; }

private:
    using LatestNotifications =
        LNotificationDistributor::LNotificationClientPool::LatestNotifications;

    int32 Enqueue(RCPtr<LNotification>& notification, LatestNotifications& latest);
    bool HasDistributor() const;
    void DeliverPending();
    bool Flush();
    void ExchangeDistributor(const RCPtr<LNotificationDistributor>& distributor);

    static Mutex& sMutex; ///< of all queues; guards the members that say so

    uint32 mIsDelivering = 0; ///< keeps a client from delivering what is pending inside a delivery
    RCPtrQueue<LNotification, 256> mPendingNotifications; ///< under sMutex
    /// Written under sMutex by the delivering thread, which alone reads it without.
    RCPtr<LNotificationDistributor> mDistributor;
    RCPtr<LPostingReceiver> mPostingReceiver; ///< null after ReleaseDistributor
    RCPtr<LNotification> mIdleNotification;
    uint32 mUndelivered = 0; ///< how many the delivery in progress still takes; 0 after a flush
    ContainedReference mContainedReceiver; ///< the receiver's to this queue; under sMutex

protected:
    /// That of a queue that is its own distributor to itself; the derived class counts it.
    ContainedReference mContainedDistributor;
};

/// A client that posts a copy of whatever it receives into its queue.
class QX_API LNotificationQueue::LPostingReceiver : public LNotificationReceiver
{
public:
    /// Returns a receiver that holds `queue` until ReleaseQueue. Only a queue's own receiver is
    /// counted as contained in it; any other is a holder like all others. Throws: std::bad_alloc.
    static RCPtr<LPostingReceiver> Create(const RCPtr<LNotificationQueue>& queue);

    /// Posts a new notification with the ID and the payload of `notification`.
    ///
    /// Throws: as LNotification::Create and PostForBroadcast. Threads: any; that of the distributor
    /// that it is registered at. It never releases the queue.
    void HandleNotification(const RCPtr<LNotificationDistributor>& distributor,
                            const ConstRCPtr<LNotification>& notification) override;
    /// Returns kResultFailure: the code that registered the receiver unregisters it.
    int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                      const char* notificationID) override;
    ~LPostingReceiver() override;

    /// Releases the queue; from then on the receiver does nothing. Threads: the queue's delivering
    /// thread, also while another thread forwards.
    void ReleaseQueue();

protected:
    /// As Create.
    explicit LPostingReceiver(const RCPtr<LNotificationQueue>& queue);

private:
    bool HasQueue() const;

    RCPtr<LNotificationQueue> mQueue; ///< under sMutex
};

template <>
QX_API const RCPtr<LNotificationQueue::LPostingReceiver>
    RCPtr<LNotificationQueue::LPostingReceiver>::Null;

} // namespace QX
