// Forwarding.cpp - a receiver of its own class, and a center that passes on what another one gets.

#include <QX/QX.h>
#include <iostream>

/// Prints the names of what it receives.
class LPrinter : public QX::LNotificationReceiver
{
public:
    void HandleNotification(const QX::RCPtr<QX::LNotificationDistributor>&,
                            const QX::ConstRCPtr<QX::LNotification>& notification) override
    {
        std::cout << notification->GetID() << "\n";
    }
    QX::int32
    ForceUnregisterNotification(const QX::RCPtr<QX::LNotificationDistributor>& distributor,
                                const char* notificationID) override
    {
        return distributor->UnregisterNotificationClient(QX::RCPtr<LPrinter>(this), notificationID);
    }
};

int main()
{
    const auto manager = QX::LNotificationCenterManager::Create();
    const QX::RCPtr<QX::LNotificationCenter> engine =
        manager->GetOrCreateNotificationCenter("engine");
    const QX::RCPtr<QX::LNotificationCenter> window =
        manager->GetOrCreateNotificationCenter("window");

    // What the engine's clients get goes into the queue of the window.
    engine->RegisterNotificationClient(window->GetPostingReceiver(), "level", 0);
    const QX::RCPtr<LPrinter> printer(new LPrinter);
    // Of several levels that wait, the printer gets the last one only.
    window->RegisterNotificationClient(printer, "level",
                                       QX::LNotificationDistributor::kDeliverLatestOnly);
    window->RegisterNotificationClient(printer, QX::NID_IDLE, 0);

    engine->PostForBroadcast(QX::LNotification::Create("level", nullptr));
    engine->PostForBroadcast(QX::LNotification::Create("level", nullptr));
    engine->DeliverPendingNotifications(false);
    window->DeliverPendingNotifications(true);

    engine->UnregisterNotificationClient(window->GetPostingReceiver());
    window->ForceAllRegisteredClientsToUnregister();
    std::cout << (window->IsClientRegistered(printer) ? "registered" : "gone") << "\n";
}
