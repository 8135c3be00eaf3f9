// NotificationCenter.h - named meeting points, and the manager that finds and drives them.
//
//     RCPtr<LNotificationCenterManager> manager = LNotificationCenterManager::Create();
//     RCPtr<LNotificationCenter> center = manager->GetOrCreateNotificationCenter("application");
//     center->RegisterNotificationClient(client, "track.changed", 0);
//     center->PostForBroadcast(message);                    // any thread
//     manager->DeliverPendingNotificationsAllCenters(true); // the delivering thread
//
// A center is a distributor and a queue that delivers through it. When its last holder goes it asks
// its clients to unregister, drops what is pending undelivered, and ends; with clients that stay
// registered it stays alive and refuses posts. A client that holds its center is a holder like any
// other, so such a center never asks it. Centers and managers live on the heap, held by smart
// pointers.
//
// Threads: as for queues. The last holder of a center goes on the delivering thread, because the
// clients are called there, and after the holders on other threads have gone: two that go at the
// same moment may both miss that they are the last, and the center stays. A holder that goes on
// another thread while a client registers or unregisters may look like the last one.
#pragma once

#include <QX/NotificationDistributor.h>
#include <QX/NotificationQueue.h>
#include <QX/RCPtrArray.h>
#include <QX/String.h>

namespace QX {

class QX_API LNotificationCenter : public LNotificationDistributor, public LNotificationQueue
{
public:
    /// Returns a center of that name whose clients are its own. Any name is accepted. Throws:
    /// std::bad_alloc.
    static RCPtr<LNotificationCenter> Create(const StringT<char, unsigned short>& name);

    /// Returns the name. Threads: any.
    const StringT<char, unsigned short>& GetName() const noexcept { return mName; }

    /// Dismantles the center: asks the clients to unregister, once each, and releases every
    /// reference that its own members hold. What a client throws here is swallowed; it counts as
    /// one that did not unregister. May run again; nothing is given back twice.
    ///
    /// Returns kResultSuccess if only the caller's reference is left, else kResultFailure. Threads:
    /// the delivering thread.
    int32 RemoveContainedReferences() override;

protected:
    /// As Create, which alone completes the center.
    explicit LNotificationCenter(const StringT<char, unsigned short>& name);
    ~LNotificationCenter() override;

private:
    StringT<char, unsigned short> mName;
};

/// Threads: all calls on the delivering thread. Other threads post to a center that they hold.
class QX_API LNotificationCenterManager : public virtual LRefCountedObject
{
public:
    /// The name of the default center, "application". The constant's spelling is part of the
    /// interface: programs are built against it.
    static const StringT<char, unsigned short> DEFUALT_NOTIFICATION_CENTER_NAME;

    /// Returns a manager without centers. Throws: std::bad_alloc.
    static RCPtr<LNotificationCenterManager> Create();
    LNotificationCenterManager();
    ~LNotificationCenterManager() override;

    /// Returns the process's default manager: null until one is set, and after the framework's
    /// static objects have ended. The reference is to the static member: copy it to keep the
    /// manager.
    static const RCPtr<LNotificationCenterManager>& GetDefaultManager();
    /// Makes `manager`, which may be null, the default and releases the one before.
    static void SetDefaultManager(const RCPtr<LNotificationCenterManager>& manager);

    /// Returns the center of exactly that name, or RCPtr<LNotificationCenter>::Null. The reference
    /// is to the manager's own entry and is valid until the next center is made: copy it at once.
    const RCPtr<LNotificationCenter>&
    GetNotificationCenter(const StringT<char, unsigned short>& name) const;

    /// As GetNotificationCenter, but makes the center if there is none; an empty name gives null.
    /// Throws: std::bad_alloc; no center is added.
    const RCPtr<LNotificationCenter>&
    GetOrCreateNotificationCenter(const StringT<char, unsigned short>& name);

    /// Delivers what is pending in every center, from the last to the first; centers that clients
    /// make meanwhile wait. Returns whether any of them had notifications pending after its
    /// delivery; a post to a center that was already called is not reported.
    ///
    /// Throws: what a client throws; the remaining centers are not called.
    bool DeliverPendingNotificationsAllCenters(bool deliverIdle);

private:
    /// Releases the default manager at the process's exit and leaves null.
    struct DefaultGuard
    {
        DefaultGuard() noexcept;
        ~DefaultGuard();
    };

    static RCPtr<LNotificationCenterManager> smDefaultNotificationCenterManagerRCPtr;
    static const DefaultGuard sDefaultGuard;

    RCPtrArray<LNotificationCenter, 1, 0> mCenters; ///< in order of creation
};

template <>
QX_API const RCPtr<LNotificationCenter> RCPtr<LNotificationCenter>::Null;

} // namespace QX
