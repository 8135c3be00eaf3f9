// FunctionReceiver.h - a notification client made of a function.
//
//     auto client = LFunctionReceiver::Create([](const auto&, const auto& notification) {
//         Redraw(notification->GetData());
//     });
//     center->RegisterNotificationClient(client, "track.changed", 0);
#pragma once

#include <QX/Notification.h>
#include <QX/NotificationClient.h>

#include <functional>

namespace QX {

class QX_API LFunctionReceiver : public LNotificationReceiver
{
public:
    using Handler = std::function<void(const RCPtr<LNotificationDistributor>& distributor,
                                       const ConstRCPtr<LNotification>& notification)>;

    /// Returns a client that calls `handler` for each notification; an empty one does nothing.
    static RCPtr<LFunctionReceiver> Create(Handler handler);

    void HandleNotification(const RCPtr<LNotificationDistributor>& distributor,
                            const ConstRCPtr<LNotification>& notification) override;

    /// Unregisters this client from the ID and returns the result of that.
    int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                      const char* notificationID) override;

protected:
    explicit LFunctionReceiver(Handler handler);
    ~LFunctionReceiver() override;

private:
    const Handler mHandler;
};

} // namespace QX
