// NotificationStatics.cpp - every static object of the notification system, in one order.
//
// They are built in the order in which they stand and destroyed in reverse. The name table is
// touched first, and so outlives all that uses names.

#include "NotificationStatics.h"

#include <QX/Mutex.h>
#include <QX/Notification.h>
#include <QX/NotificationCenter.h>
#include <QX/NotificationDistributor.h>
#include <QX/NotificationQueue.h>

namespace QX {
namespace {

[[maybe_unused]] const auto& gNameTable = LNotification::GetNotificationIDs();

} // namespace

// Not part of the order: a null pointer is there before anything is built.
template <>
constinit const RCPtr<LNotification> RCPtr<LNotification>::Null{};
template <>
constinit const RCPtr<LNotificationCenter> RCPtr<LNotificationCenter>::Null{};
template <>
constinit const RCPtr<LNotificationDistributor> RCPtr<LNotificationDistributor>::Null{};
template <>
constinit const RCPtr<LNotificationDistributor::LNotificationClientPool>
    RCPtr<LNotificationDistributor::LNotificationClientPool>::Null{};
template <>
constinit const RCPtr<LNotificationDistributor::LNotificationRegisteredClientInfo>
    RCPtr<LNotificationDistributor::LNotificationRegisteredClientInfo>::Null{};
template <>
constinit const RCPtr<LNotificationQueue::LPostingReceiver>
    RCPtr<LNotificationQueue::LPostingReceiver>::Null{};

constinit bool NotificationStatics::sIsStackAlive = false;
constinit bool NotificationStatics::sIsListAlive = false;
constinit std::atomic<uint32> LNotification::sIsNotificationReuseEnabled = 0;

Mutex LNotification::sMutex;
RCPtrArray<LNotification, 1, 0> LNotification::sAvailableNotificationsStack;

// With reuse on, each notification that the dying stack drops would be parked in it again.
NotificationStatics::StackGuard::~StackGuard()
{
    LNotification::SetNotificationReuseEnable(false);
    sIsStackAlive = false;
}

namespace {

const NotificationStatics::StackGuard gStackGuard;

} // namespace

Mutex LNotificationQueue::sMutex;
LNotificationDistributor::DistributorArray LNotificationDistributor::sNotificationDistributors;

// The list's references are counted as contained; each count goes with its reference. Nobody enters
// or leaves the list meanwhile, whatever the clients of a distributor that ends here do.
NotificationStatics::ListGuard::~ListGuard()
{
    sIsListAlive = false;
    auto& list = LNotificationDistributor::sNotificationDistributors;
    while (list.GetCount() != 0) {
        RCPtr<LNotificationDistributor> distributor;
        list.RemoveLast(distributor);
        distributor->ModifyNumContainedReferences(-1);
    }
}

namespace {

const NotificationStatics::ListGuard gListGuard;

} // namespace

const StringT<char, unsigned short>
    LNotificationCenterManager::DEFUALT_NOTIFICATION_CENTER_NAME("application");
RCPtr<LNotificationCenterManager>
    LNotificationCenterManager::smDefaultNotificationCenterManagerRCPtr;

// Whoever asks for the manager afterwards gets null.
NotificationStatics::ManagerGuard::~ManagerGuard()
{
    LNotificationCenterManager::SetDefaultManager(nullptr);
}

namespace {

const NotificationStatics::ManagerGuard gManagerGuard;

} // namespace
} // namespace QX
