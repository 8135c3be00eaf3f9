// NotificationDistributorClass.h - the distributor, without the classes nested in it.
//
// Include NotificationDistributor.h, which adds the client pool and the registered client.
//
// Clients of one name are served from the last registered to the first. A client may unregister
// itself or others, register, or deliver again from inside its callback: each client that stays
// registered is served once, none twice, and those registered meanwhile wait for the next
// delivery.
//
// Each registration is a reference to the distributor, so one with registrations outlives its
// holders until its clients unregister. It lives on the heap, held by smart pointers.
//
// It holds clients and notifications by smart pointers. One that is marked unshareable is therefore
// copied, and what CreateCopy throws reaches the caller.
//
// Threads: registration, unregistration and delivery happen on one thread at a time. All
// distributors share one list, so only one thread at a time registers at any of them. Other threads
// may post to a queue of the distributor meanwhile.
#pragma once

#include <QX/Notification.h>
#include <QX/NotificationClient.h>
#include <QX/RCPtrArray.h>

namespace QX {

class QX_API LNotificationDistributor : public virtual LRefCountedObject
{
public:
    class LNotificationClientPool;
    class LNotificationRegisteredClientInfo;

    /// Bits given per registration. Those without a name here are stored and compared too.
    using DeliveryFlags = uint32;
    /// The client receives only the most recently posted notification of the name; older ones
    /// that wait in a queue are skipped for it. It receives what is posted through a queue, and
    /// neither a notification that is delivered directly nor the idle notification.
    static constexpr DeliveryFlags kDeliverLatestOnly = 1;

    /// The list that GetDistributors returns.
    using DistributorArray = RCPtrArray<LNotificationDistributor, 1, 0>;

    /// Returns a distributor without clients. Throws: std::bad_alloc.
    static RCPtr<LNotificationDistributor> Create();
    LNotificationDistributor();
    ~LNotificationDistributor() override;

    /// Returns the process-wide list of distributors that have at least one registration. It is
    /// only to be looked at. Threads: the one that registers.
    static DistributorArray& GetDistributors();

    /// Registers `client`, which the distributor then holds, for `name`, which is entered into the
    /// table of names.
    ///
    /// Returns kResultSuccess if it is new there; kResultNothingDone if it was registered, with
    /// its flags updated, or if the name is null or empty. A client that is no longer latest-only
    /// no longer waits for a notification. Fails: kResultOutOfRange for a null client. Throws:
    /// std::bad_alloc, with nothing registered.
    int32 RegisterNotificationClient(const RCPtr<LNotificationClient>& client, const char* name,
                                     DeliveryFlags flags);

    /// Removes the registration and releases the client. `name` is entered into the table of names.
    ///
    /// Returns kResultSuccess; kResultNothingDone if there was none. Fails: kResultOutOfRange for
    /// a null client or a null or empty name. Throws: std::bad_alloc for a new name.
    int32 UnregisterNotificationClient(const RCPtr<LNotificationClient>& client, const char* name);

    /// Removes every registration of `client` and returns how many there were.
    ///
    /// Fails: kResultOutOfRange for a null client.
    int32 UnregisterNotificationClient(const RCPtr<LNotificationClient>& client);

    /// Sets `flags` to those of the registration and returns kResultSuccess. `name` is entered into
    /// the table of names.
    ///
    /// Fails: kResultFailure if there is none; `flags` is unchanged. Throws: std::bad_alloc for a
    /// new name.
    int32 GetDeliveryFlags(const RCPtr<LNotificationClient>& client, const char* name,
                           DeliveryFlags& flags);

    /// Returns whether `client` is registered for any name.
    bool IsClientRegistered(const RCPtr<LNotificationClient>& client);

    /// Returns the pool that serves `notificationID`, which is an ID and not just a name; null if
    /// no client ever registered for it.
    RCPtr<LNotificationClientPool> GetNotificationClientPool(const char* notificationID);

    /// As GetNotificationClientPool, without a reference: a pool stays as long as its distributor.
    LNotificationClientPool* FindPool(const char* notificationID) const;

    /// Delivers `notification` to every client registered for its ID.
    ///
    /// Returns kResultSuccess, or kResultNothingDone if there is no client. Fails:
    /// kResultOutOfRange for null. Throws: what a client throws; the remaining clients are not
    /// served.
    int32 DeliverNotificationAllClients(const RCPtr<LNotification>& notification);

    /// As DeliverNotificationAllClients of `distributor`, for a caller that holds it and the
    /// notification by pointers that no client can change. Neither may be null. For queues.
    static int32 DeliverHeld(const RCPtr<LNotificationDistributor>& distributor,
                             const RCPtr<LNotification>& notification);

    /// Delivers `notification` to `client`, registered or not, whatever its flags. Does nothing if
    /// either is null. Throws: what the client throws.
    void DeliverNotification(const RCPtr<LNotificationClient>& client,
                             const RCPtr<LNotification>& notification);

    /// Asks every registered client to unregister itself, once for each of its names. Removes
    /// nothing by itself. Returns kResultSuccess. Throws: what a client throws; the remaining
    /// clients are not asked.
    int32 ForceAllRegisteredClientsToUnregister();

protected:
    /// What happens to an exception of a client that is asked to unregister.
    enum class ClientExceptions
    {
        kPass,   ///< It reaches the caller; the remaining clients are not asked.
        kSwallow ///< It ends here; the next client is asked.
    };
    /// As ForceAllRegisteredClientsToUnregister, with a choice of what a client may throw.
    void AskClientsToUnregister(ClientExceptions exceptions);

private:
    /// Is built after the list and destroyed before it.
    struct ListGuard
    {
        ListGuard() noexcept;
        ~ListGuard();
    };

    LNotificationClientPool& AddPool(const char* notificationID);
    void AddRegistration();
    void RemoveRegistration();

    static DistributorArray sNotificationDistributors;
    /// False before the list is built and after its end, when static objects of other files may
    /// still register and unregister. Constant-initialised.
    static bool sIsListAlive;
    static const ListGuard sListGuard;

    /// In order of creation; none ever leaves. It grows inside the post mutex, because posts look
    /// at it.
    RCPtrArray<LNotificationClientPool, 1, 0> mClientPools;
    int32 mNumRegistrations = 0; ///< of all pools; each is a contained reference to this object
};

template <>
QX_API const RCPtr<LNotificationDistributor> RCPtr<LNotificationDistributor>::Null;

} // namespace QX
