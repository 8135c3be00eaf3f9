// NotificationDistributor.h - hands notifications to the clients that registered for their names.
//
//     RCPtr<LNotificationDistributor> distributor = LNotificationDistributor::Create();
//     distributor->RegisterNotificationClient(client, "track.changed", 0);
//     distributor->DeliverNotificationAllClients(message); // calls the client before it returns
//
// The distributor and its two nested classes, each in a header of its own.
#pragma once

#include <QX/NotificationClientPool.h>
#include <QX/NotificationDistributorClass.h>
#include <QX/NotificationRegisteredClientInfo.h>
