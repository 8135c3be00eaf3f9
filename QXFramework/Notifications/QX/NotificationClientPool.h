// NotificationClientPool.h - the clients of one notification ID, and the walks over them.
#pragma once

#include <QX/NotificationDistributorClass.h>
#include <QX/NotificationRegisteredClientInfo.h>
#include <QX/RCPtrArray.h>

#include <vector>

namespace QX {

/// Clients come and go through the distributor, which counts its registrations. One that is added
/// here directly is served like the others but not counted, so it keeps no distributor alive; it
/// leaves through RemoveClient. One that came through the distributor leaves through it, and stays
/// counted if it is removed here.
///
/// Threads: as the distributor, except where noted.
class QX_API LNotificationDistributor::LNotificationClientPool : public virtual LRefCountedObject
{
public:
    /// What latest-only clients wait for, from the last client to the first.
    using LatestNotifications = std::vector<ConstRCPtr<LNotification>>;

    /// Returns a pool without clients for `notificationID`, which is an ID and not just a name.
    /// Throws: std::bad_alloc.
    static RCPtr<LNotificationClientPool> Create(const char* notificationID);

    /// Returns the ID that the clients registered for.
    const char* GetNotificationID() const noexcept { return mNotificationID; }
    /// Returns the OR of the clients' flags. A client that leaves takes no bit away.
    DeliveryFlags GetDeliveryFlags() const noexcept { return mDeliveryFlags; }
    /// Returns the number of clients.
    uint32 GetClientCount() const { return mClients.GetCount(); }

    /// Adds `client`, or changes its flags if it is there. Returns kResultSuccess.
    ///
    /// Fails: kResultOutOfRange for a null client. Throws: std::bad_alloc, nothing changed.
    int32 AddClient(const RCPtr<LNotificationClient>& client, DeliveryFlags flags);

    /// Removes and releases `client`. Returns kResultSuccess, or kResultNothingDone if it is not
    /// here.
    int32 RemoveClient(const RCPtr<LNotificationClient>& client);

    /// Returns the client's index, or -1.
    int32 GetClientIndex(const RCPtr<LNotificationClient>& client) const;

    /// Sets `flags` and returns kResultSuccess, or returns kResultFailure if the client is not
    /// here.
    int32 GetDeliveryFlags(const RCPtr<LNotificationClient>& client, DeliveryFlags& flags) const;

    /// Delivers to all clients, from the last to the first; `distributor` is the one that they are
    /// told. Returns kResultSuccess, or kResultNothingDone if there is no client. A null
    /// notification reaches none. Throws: what a client throws; the remaining clients are not
    /// served.
    int32 DeliverNotification(LNotificationDistributor& distributor,
                              const RCPtr<LNotification>& notification);

    /// Delivers to the client at `index` and returns the index below which a walk goes on: `index`
    /// itself, less the clients below it that left meanwhile. Neither an index that is not there
    /// nor a null notification delivers anything. Throws: what the client throws.
    uint32 DeliverNotification(LNotificationDistributor& distributor, uint32 index,
                               const RCPtr<LNotification>& notification);

    /// Fills `latest` with a reference to `notification` for each latest-only client. For queues.
    ///
    /// Throws: std::bad_alloc. Threads: any, inside the post mutex.
    void PrepareLatest(const RCPtr<LNotification>& notification, LatestNotifications& latest) const;

    /// Exchanges what PrepareLatest has filled for what the clients waited for. For queues.
    ///
    /// Threads: as PrepareLatest, without leaving the mutex in between.
    void ExchangeLatest(LatestNotifications& latest) noexcept;

protected:
    /// As Create.
    explicit LNotificationClientPool(const char* notificationID);
    ~LNotificationClientPool() override;

private:
    friend class LNotificationDistributor; // for what it does as the holder of the pool
    class Walk;

    /// As AddClient, for a client that is not here.
    void AppendClient(const RCPtr<LNotificationClient>& client, DeliveryFlags flags);
    LNotificationRegisteredClientInfo& InfoAt(uint32 index) const;
    bool HasLatestOnlyClients() const noexcept
    {
        return (mDeliveryFlags & kDeliverLatestOnly) != 0;
    }
    int32 DeliverToAll(const RCPtr<LNotificationDistributor>& distributor,
                       const RCPtr<LNotification>& notification);
    void Serve(uint32 index, const RCPtr<LNotificationDistributor>& distributor,
               const RCPtr<LNotification>& notification);
    void AskClientsToUnregister(const RCPtr<LNotificationDistributor>& distributor,
                                ClientExceptions exceptions);

    // What posts read, flags and clients, changes inside the post mutex.
    DeliveryFlags mDeliveryFlags = 0;
    const char* mNotificationID;
    RCPtrArray<LNotificationRegisteredClientInfo, 1, 0> mClients; ///< in order of registration
    uint32 mDeliveryIndex = 0;  ///< the client that the innermost walk serves; removals correct it
    Walk* mInnermost = nullptr; ///< the walks in progress; null if there is none
};

template <>
QX_API const RCPtr<LNotificationDistributor::LNotificationClientPool>
    RCPtr<LNotificationDistributor::LNotificationClientPool>::Null;

} // namespace QX
