// FunctionReceiver.h - a notification client made of a function.
//
//     auto client = LFunctionReceiver::Create([](const auto&, const auto& notification) {
//         Redraw(notification->GetData());
//     });
//     center->RegisterNotificationClient(client, "track.changed", 0);
//
// Threads: the function is called on the delivering thread, with no lock held.
#pragma once

#include <QX/Notification.h>
#include <QX/NotificationClient.h>

#include <functional>

namespace QX {

class QX_API LFunctionReceiver : public LNotificationReceiver
{
public:
    /// What is called for a notification, with the arguments of HandleNotification.
    using Handler = std::function<void(const RCPtr<LNotificationDistributor>& distributor,
                                       const ConstRCPtr<LNotification>& notification)>;

    /// Returns a client that owns `handler` and calls it for each notification; an empty one does
    /// nothing. Throws: std::bad_alloc.
    static RCPtr<LFunctionReceiver> Create(Handler handler);

    /// Calls the function. Throws: what the function throws. Threads: the delivering thread.
    void HandleNotification(const RCPtr<LNotificationDistributor>& distributor,
                            const ConstRCPtr<LNotification>& notification) override;

    /// Unregisters this client from the ID and returns the result of that. Fails:
    /// kResultOutOfRange for a null distributor. Threads: the delivering thread.
    int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                      const char* notificationID) override;

protected:
    /// As Create.
    explicit LFunctionReceiver(Handler handler);
    ~LFunctionReceiver() override;

private:
    const Handler mHandler;
};

} // namespace QX
