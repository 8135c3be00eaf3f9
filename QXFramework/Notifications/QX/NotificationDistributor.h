// NotificationDistributor.h - hands notifications to the clients that registered for their names.
//
//     RCPtr<LNotificationDistributor> distributor = LNotificationDistributor::Create();
//     distributor->RegisterNotificationClient(client, "track.changed", 0);
//     distributor->DeliverNotificationAllClients(message); // calls the client before it returns
//
// Clients of one name are served from the last registered to the first. A client may unregister
// itself or others, register, or deliver again from inside its callback: each client that stays
// registered is served once, none twice, and those registered meanwhile wait for the next
// delivery.
//
// Each registration is a reference to the distributor, so one with registrations outlives its
// holders until its clients unregister. It lives on the heap, held by smart pointers.
//
// Threads: registration, unregistration and delivery happen on one thread at a time, and since all
// distributors share one list, registration does so for all of them together.
#pragma once

#include <QX/Notification.h>
#include <QX/NotificationClient.h>
#include <QX/RCPtrArray.h>

#include <atomic>

namespace QX {

class QX_API LNotificationDistributor : public virtual LRefCountedObject
{
public:
    class LNotificationClientPool;
    class LNotificationRegisteredClientInfo;

    /// Bits given per registration. Bits without a name here are stored and compared alike.
    using DeliveryFlags = uint32;
    /// The client receives only the most recently posted notification of the name; older ones
    /// that wait in a queue are skipped for it. Works for notifications posted through a queue.
    static constexpr DeliveryFlags kDeliverLatestOnly = 1;

    using DistributorArray = RCPtrArray<LNotificationDistributor, 1, 0>;

    static RCPtr<LNotificationDistributor> Create();
    LNotificationDistributor();
    ~LNotificationDistributor() override;

    /// Returns the process-wide list of distributors that have at least one registration.
    static DistributorArray& GetDistributors();

    /// Registers `client` for `name`.
    ///
    /// Returns kResultSuccess if it is new there; kResultNothingDone if it was registered, with
    /// its flags updated, or if the name is null or empty. Fails: kResultOutOfRange for a null
    /// client. Throws: std::bad_alloc, with nothing registered.
    int32 RegisterNotificationClient(const RCPtr<LNotificationClient>& client, const char* name,
                                     DeliveryFlags flags);

    /// Takes the registration back.
    ///
    /// Returns kResultSuccess; kResultNothingDone if there was none. Fails: kResultOutOfRange for
    /// a null client or a null or empty name.
    int32 UnregisterNotificationClient(const RCPtr<LNotificationClient>& client, const char* name);

    /// Takes back every registration of `client` and returns how many there were.
    ///
    /// Fails: kResultOutOfRange for a null client.
    int32 UnregisterNotificationClient(const RCPtr<LNotificationClient>& client);

    /// Sets `flags` to those of the registration.
    ///
    /// Fails: kResultFailure if there is none; `flags` is unchanged.
    int32 GetDeliveryFlags(const RCPtr<LNotificationClient>& client, const char* name,
                           DeliveryFlags& flags);

    bool IsClientRegistered(const RCPtr<LNotificationClient>& client);

    /// Returns the pool that serves `notificationID`, which is an ID and not just a name; null if
    /// nobody ever registered for it.
    RCPtr<LNotificationClientPool> GetNotificationClientPool(const char* notificationID);

    /// Delivers `notification` to every client registered for its ID.
    ///
    /// Returns kResultSuccess, or kResultNothingDone if there is no client. Fails:
    /// kResultOutOfRange for null. Throws: what a client throws; clients behind it are not served.
    int32 DeliverNotificationAllClients(const RCPtr<LNotification>& notification);

    /// Delivers `notification` to `client`, registered or not.
    void DeliverNotification(const RCPtr<LNotificationClient>& client,
                             const RCPtr<LNotification>& notification);

    /// Asks every registered client to unregister itself, once for each of its names. Removes
    /// nothing by itself. Returns kResultSuccess. Throws: what a client throws.
    int32 ForceAllRegisteredClientsToUnregister();

    /// Makes `notification` the one that latest-only clients of its ID are waiting for. For queues,
    /// when they accept a post.
    void SetLatestNotification(const RCPtr<LNotification>& notification);

    /// Returns false as long as no client has ever registered as latest-only. For queues, which
    /// then need not look at the pools when they accept a post.
    ///
    /// Threads: any. Whoever posts after such a registration has returned gets true.
    bool MayHaveLatestOnlyClients() const noexcept
    {
        return mMayHaveLatestOnlyClients.load(std::memory_order_relaxed);
    }

protected:
    enum class ClientExceptions
    {
        kPass,
        kSwallow
    };
    void AskClientsToUnregister(ClientExceptions exceptions);

private:
    friend class NotificationStatics;
    friend class LNotificationQueue;

    static int32 DeliverHeld(const RCPtr<LNotificationDistributor>& distributor,
                             const RCPtr<LNotification>& notification);
    LNotificationClientPool* FindPool(const char* notificationID) const;
    void AddRegistration();
    void RemoveRegistration();

    static DistributorArray sNotificationDistributors;

    RCPtrArray<LNotificationClientPool, 1, 0> mClientPools; ///< by creation; none ever leaves
    int32 mNumRegistrations = 0; ///< of all pools; each is a contained reference to this object
    /// Relaxed: what orders a registration before a post orders this flag as well.
    std::atomic<bool> mMayHaveLatestOnlyClients = false;
};

/// One client's registration in a pool.
class QX_API LNotificationDistributor::LNotificationRegisteredClientInfo
    : public virtual LRefCountedObject
{
public:
    static RCPtr<LNotificationRegisteredClientInfo> Create(const RCPtr<LNotificationClient>& client,
                                                           DeliveryFlags flags);

protected:
    LNotificationRegisteredClientInfo(const RCPtr<LNotificationClient>& client,
                                      DeliveryFlags flags);
    ~LNotificationRegisteredClientInfo() override;

private:
    friend class LNotificationClientPool;

    /// Makes `notification` the one that the client waits for. Threads: any.
    void SetLatest(const RCPtr<LNotification>& notification);
    /// Returns whether the client waits for `notification`, which it then does no more.
    bool TakeLatest(const RCPtr<LNotification>& notification);

    RCPtr<LNotificationClient> mClient;
    /// Null unless the client is latest-only. Under the queues' mutex, because posts change it.
    ConstRCPtr<LNotification> mLatestNotification;
    DeliveryFlags mDeliveryFlags;
};

/// The clients of one notification ID.
///
/// Clients come and go through the distributor, which counts its registrations. One that is added
/// here directly is served like the others but not counted, so it keeps no distributor alive; one
/// that is removed here directly stays counted.
class QX_API LNotificationDistributor::LNotificationClientPool : public virtual LRefCountedObject
{
public:
    static RCPtr<LNotificationClientPool> Create(const char* notificationID);

    const char* GetNotificationID() const noexcept { return mNotificationID; }
    /// Returns the OR of the clients' flags. A client that leaves takes no bit away.
    DeliveryFlags GetDeliveryFlags() const noexcept { return mDeliveryFlags; }
    uint32 GetClientCount() const { return mClients.GetCount(); }

    /// Adds `client`, or changes its flags if it is there. Returns kResultSuccess.
    ///
    /// Fails: kResultOutOfRange for a null client. Throws: std::bad_alloc, nothing changed.
    int32 AddClient(const RCPtr<LNotificationClient>& client, DeliveryFlags flags);

    /// Returns kResultSuccess, or kResultNothingDone if the client is not here.
    int32 RemoveClient(const RCPtr<LNotificationClient>& client);

    /// Returns the client's index, or -1.
    int32 GetClientIndex(const RCPtr<LNotificationClient>& client) const;

    /// Sets `flags` and returns kResultSuccess, or returns kResultFailure if the client is not
    /// here.
    int32 GetDeliveryFlags(const RCPtr<LNotificationClient>& client, DeliveryFlags& flags) const;

    /// Delivers to all clients, from the last to the first, in the name of `distributor`. Returns
    /// kResultSuccess, or kResultNothingDone if there is no client.
    int32 DeliverNotification(LNotificationDistributor& distributor,
                              const RCPtr<LNotification>& notification);

    /// Delivers to the client at `index` and returns the index below which a walk goes on: `index`
    /// itself, less the clients below it that left meanwhile. An index that is not there delivers
    /// nothing.
    uint32 DeliverNotification(LNotificationDistributor& distributor, uint32 index,
                               const RCPtr<LNotification>& notification);

protected:
    explicit LNotificationClientPool(const char* notificationID);
    ~LNotificationClientPool() override;

private:
    friend class LNotificationDistributor;
    class Cursor;

    LNotificationRegisteredClientInfo& InfoAt(uint32 index) const;
    int32 DeliverToAll(const RCPtr<LNotificationDistributor>& distributor,
                       const RCPtr<LNotification>& notification);
    static void Serve(LNotificationRegisteredClientInfo& record,
                      const RCPtr<LNotificationDistributor>& distributor,
                      const RCPtr<LNotification>& notification);
    void AskClientsToUnregister(const RCPtr<LNotificationDistributor>& distributor,
                                ClientExceptions exceptions);
    void SetLatestNotification(const RCPtr<LNotification>& notification);

    DeliveryFlags mDeliveryFlags = 0;
    const char* mNotificationID;
    RCPtrArray<LNotificationRegisteredClientInfo, 1, 0> mClients; ///< in order of registration
    uint32 mDeliveryIndex = 0;    ///< of the innermost walk; removals correct it
    Cursor* mInnermost = nullptr; ///< the walks in progress; removals correct them all
    /// The mark of its distributor, which queues look at; null for a pool without one.
    std::atomic<bool>* mHasLatestOnlyClients = nullptr;
};

template <>
QX_API const RCPtr<LNotificationDistributor> RCPtr<LNotificationDistributor>::Null;
template <>
QX_API const RCPtr<LNotificationDistributor::LNotificationClientPool>
    RCPtr<LNotificationDistributor::LNotificationClientPool>::Null;
template <>
QX_API const RCPtr<LNotificationDistributor::LNotificationRegisteredClientInfo>
    RCPtr<LNotificationDistributor::LNotificationRegisteredClientInfo>::Null;

} // namespace QX
