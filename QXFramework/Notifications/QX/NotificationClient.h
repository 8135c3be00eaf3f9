// NotificationClient.h - what receives notifications.
//
// A distributor holds its clients as RCPtr<LNotificationClient>; concrete clients derive from
// LNotificationReceiver, or wrap a function (FunctionReceiver.h).
//
// Threads: a client is called on the delivering thread, with no lock held.
#pragma once

#include <QX/RCPtr.h>

namespace QX {

class LNotification;
class LNotificationDistributor;

/// The two calls that a distributor makes. Clients are compared by the address of this base, which
/// a class therefore inherits once.
class QX_API LNotificationClient : public virtual LRefCountedObject
{
public:
    // Slot order is fixed; append only.

    /// Receives a notification that the client registered for, with no lock held. It may post,
    /// register and unregister itself and others, and drop any holder; its distributor and the
    /// notification are held meanwhile. What it throws ends the delivery and reaches the caller of
    /// the delivery. Threads: the delivering thread.
    virtual void HandleNotification(const RCPtr<LNotificationDistributor>& distributor,
                                    const ConstRCPtr<LNotification>& notification) = 0;

    /// Is asked to unregister itself from the ID at the distributor, which ignores the result.
    ///
    /// What it throws is swallowed while a center dismantles itself, and the client counts as one
    /// that stays; it reaches the caller of ForceAllRegisteredClientsToUnregister. Threads: the one
    /// that drops the center's last holder or makes that call, which is the delivering thread.
    virtual int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                              const char* notificationID) = 0;

    ~LNotificationClient() override;
};

/// The class that concrete clients derive from.
class QX_API LNotificationReceiver : public LNotificationClient
{
public:
    void HandleNotification(const RCPtr<LNotificationDistributor>& distributor,
                            const ConstRCPtr<LNotification>& notification) override = 0;
    int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                      const char* notificationID) override = 0;
    ~LNotificationReceiver() override;
};

} // namespace QX
