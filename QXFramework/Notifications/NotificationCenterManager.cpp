// NotificationCenterManager.cpp - finds centers by name and delivers all of them.

#include <QX/NotificationCenter.h>

#include <new>

namespace QX {
namespace {

// Built first, so that the names and the empty strings outlive the default manager and what its
// clients do at their end.
[[maybe_unused]] const auto& gNames = LNotification::GetNotificationIDs();

} // namespace

const StringT<char, unsigned short>
    LNotificationCenterManager::DEFUALT_NOTIFICATION_CENTER_NAME("application");
RCPtr<LNotificationCenterManager>
    LNotificationCenterManager::smDefaultNotificationCenterManagerRCPtr;
const LNotificationCenterManager::DefaultGuard LNotificationCenterManager::sDefaultGuard;

LNotificationCenterManager::DefaultGuard::DefaultGuard() noexcept = default;

LNotificationCenterManager::DefaultGuard::~DefaultGuard()
{
    SetDefaultManager(nullptr);
}

LNotificationCenterManager::LNotificationCenterManager() = default;
LNotificationCenterManager::~LNotificationCenterManager() = default;

RCPtr<LNotificationCenterManager> LNotificationCenterManager::Create()
{
    return RCPtr<LNotificationCenterManager>(new LNotificationCenterManager);
}

const RCPtr<LNotificationCenterManager>& LNotificationCenterManager::GetDefaultManager()
{
    return smDefaultNotificationCenterManagerRCPtr;
}

void LNotificationCenterManager::SetDefaultManager(const RCPtr<LNotificationCenterManager>& manager)
{
    smDefaultNotificationCenterManagerRCPtr = manager;
}

const RCPtr<LNotificationCenter>&
LNotificationCenterManager::GetNotificationCenter(const StringT<char, unsigned short>& name) const
{
    for (uint32 index = 0; index < mCenters.GetCount(); ++index) {
        const RCPtr<LNotificationCenter>& center = mCenters.GetPtr()[index];
        if (center->GetName().IsEqual(name)) {
            return center;
        }
    }
    return RCPtr<LNotificationCenter>::Null;
}

const RCPtr<LNotificationCenter>&
LNotificationCenterManager::GetOrCreateNotificationCenter(const StringT<char, unsigned short>& name)
{
    if (name.IsEmpty()) {
        return RCPtr<LNotificationCenter>::Null;
    }
    const RCPtr<LNotificationCenter>& present = GetNotificationCenter(name);
    if (present) {
        return present;
    }
    const int32 index = mCenters.AppendItem(LNotificationCenter::Create(name));
    if (index < 0) {
        throw std::bad_alloc();
    }
    return mCenters.GetPtr()[index];
}

bool LNotificationCenterManager::DeliverPendingNotificationsAllCenters(bool deliverIdle)
{
    const RCPtr<LNotificationCenterManager> self(this);
    bool arePending = false;
    for (uint32 index = mCenters.GetCount(); index > 0; --index) {
        const RCPtr<LNotificationCenter> center(mCenters.GetPtr()[index - 1]);
        arePending |= center->DeliverPendingNotifications(deliverIdle);
    }
    return arePending;
}

} // namespace QX
