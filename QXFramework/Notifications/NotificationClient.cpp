// NotificationClient.cpp - the key functions of the client interfaces.

#include <QX/NotificationClient.h>

namespace QX {

LNotificationClient::~LNotificationClient() = default;
LNotificationReceiver::~LNotificationReceiver() = default;

} // namespace QX
