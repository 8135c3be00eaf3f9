// NotificationRegisteredClientInfo.h - the registration of one client in a pool.
#pragma once

#include <QX/NotificationDistributorClass.h>

namespace QX {

/// Made and changed by the pool that it is in.
///
/// Threads: the delivering thread, except where noted.
class QX_API LNotificationDistributor::LNotificationRegisteredClientInfo
    : public virtual LRefCountedObject
{
public:
    /// Returns the registration of `client`, which it holds. Throws: std::bad_alloc.
    static RCPtr<LNotificationRegisteredClientInfo> Create(const RCPtr<LNotificationClient>& client,
                                                           DeliveryFlags flags);
    LNotificationRegisteredClientInfo(const LNotificationRegisteredClientInfo&) = delete;
    LNotificationRegisteredClientInfo& operator=(const LNotificationRegisteredClientInfo&) = delete;

    /// Returns the client, the flags, and whether one of these is kDeliverLatestOnly.
    const RCPtr<LNotificationClient>& GetClient() const noexcept { return mClient; }
    DeliveryFlags GetDeliveryFlags() const noexcept { return mDeliveryFlags; }
    bool IsLatestOnly() const noexcept { return (mDeliveryFlags & kDeliverLatestOnly) != 0; }

    /// Changes the flags. A client that is not latest-only waits for nothing: what it waited for is
    /// handed to `dropped`. Threads: the delivering thread, inside the post mutex.
    void SetDeliveryFlags(DeliveryFlags flags, ConstRCPtr<LNotification>& dropped) noexcept;

    /// Exchanges the notification that the client waits for. Threads: any, inside the post mutex.
    void ExchangeLatest(ConstRCPtr<LNotification>& notification) noexcept
    {
        mLatestNotification.Swap(notification);
    }

    /// Returns whether the client waits for `notification`, which it then no longer does.
    /// Threads: the delivering thread.
    bool TakeLatest(const RCPtr<LNotification>& notification);

protected:
    /// As Create.
    LNotificationRegisteredClientInfo(const RCPtr<LNotificationClient>& client,
                                      DeliveryFlags flags);
    ~LNotificationRegisteredClientInfo() override;

private:
    const RCPtr<LNotificationClient> mClient;
    /// Null unless the client is latest-only. Under the post mutex.
    ConstRCPtr<LNotification> mLatestNotification;
    /// Written inside the post mutex by the delivering thread, which alone reads it without.
    DeliveryFlags mDeliveryFlags;
};

template <>
QX_API const RCPtr<LNotificationDistributor::LNotificationRegisteredClientInfo>
    RCPtr<LNotificationDistributor::LNotificationRegisteredClientInfo>::Null;

} // namespace QX
