// VolumeWatcher.cpp - one value, and a client that prints it when it has changed.

#include <QX/QX.h>
#include <iostream>

int main()
{
    QX::VariantEx volume;
    volume.Set("-6.5");
    const auto center = QX::LNotificationCenter::Create("application");
    const auto client = QX::LFunctionReceiver::Create([&](const auto&, const auto& notification) {
        std::cout << notification->GetID() << ": " << volume.GetDouble() << " dB\n";
    });
    center->RegisterNotificationClient(client, "volume.changed", 0);
    center->PostForBroadcast(QX::LNotification::Create("volume.changed", nullptr)); // any thread
    center->DeliverPendingNotifications(false);                                     // one thread
    center->UnregisterNotificationClient(client);
}
