// FunctionReceiver.cpp - a notification client made of a function.

#include <QX/FunctionReceiver.h>
#include <QX/NotificationDistributor.h>

#include <utility>

namespace QX {

RCPtr<LFunctionReceiver> LFunctionReceiver::Create(Handler handler)
{
    return RCPtr<LFunctionReceiver>(new LFunctionReceiver(std::move(handler)));
}

LFunctionReceiver::LFunctionReceiver(Handler handler)
    : mHandler(std::move(handler))
{}

LFunctionReceiver::~LFunctionReceiver() = default;

void LFunctionReceiver::HandleNotification(const RCPtr<LNotificationDistributor>& distributor,
                                           const ConstRCPtr<LNotification>& notification)
{
    if (mHandler) {
        mHandler(distributor, notification);
    }
}

int32 LFunctionReceiver::ForceUnregisterNotification(
    const RCPtr<LNotificationDistributor>& distributor, const char* notificationID)
{
    if (!distributor) {
        return kResultOutOfRange;
    }
    return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this),
                                                     notificationID);
}

} // namespace QX
