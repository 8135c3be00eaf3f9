// NotificationRegisteredClientInfo.cpp - what a client is registered with, and what it waits for.

#include "PostMutex.h"

#include <QX/NotificationDistributor.h>

namespace QX {

using Info = LNotificationDistributor::LNotificationRegisteredClientInfo;

template <>
constinit const RCPtr<Info> RCPtr<Info>::Null{};

Info::LNotificationRegisteredClientInfo(const RCPtr<LNotificationClient>& client,
                                        DeliveryFlags flags)
    : mClient(client)
    , mDeliveryFlags(flags)
{}

Info::~LNotificationRegisteredClientInfo() = default;

RCPtr<Info> Info::Create(const RCPtr<LNotificationClient>& client, DeliveryFlags flags)
{
    return RCPtr<Info>(new LNotificationRegisteredClientInfo(client, flags));
}

void Info::SetDeliveryFlags(DeliveryFlags flags, ConstRCPtr<LNotification>& dropped) noexcept
{
    mDeliveryFlags = flags;
    if (!IsLatestOnly()) {
        mLatestNotification.Swap(dropped);
    }
}

bool Info::TakeLatest(const RCPtr<LNotification>& notification)
{
    // Released after unlocking.
    ConstRCPtr<LNotification> taken;
    const MutexLock lock(gPostMutex);
    if (mLatestNotification != notification) {
        return false;
    }
    mLatestNotification.Swap(taken);
    return true;
}

} // namespace QX
