// NotificationCenter.cpp - centers that dismantle themselves, and their manager.

#include <QX/NotificationCenter.h>

#include <new>

namespace QX {

LNotificationCenter::LNotificationCenter(const StringT<char, unsigned short>& name)
    : mName(name)
{}

LNotificationCenter::~LNotificationCenter() = default;

RCPtr<LNotificationCenter> LNotificationCenter::Create(const StringT<char, unsigned short>& name)
{
    RCPtr<LNotificationCenter> center(new LNotificationCenter(name));
    // A new object is shareable, so `center` holds it. NOLINTNEXTLINE(clang-analyzer-core.*)
    center->SetDistributor(center);
    center->SetDistributorIsContained();
    return center;
}

int32 LNotificationCenter::RemoveContainedReferences()
{
    // Held for the run, so that no reference dropped here looks like the last one from outside.
    const RCPtr<LNotificationCenter> self(this);
    const bool owesDistributor = TakeDistributorIsContained();
    AskClientsToUnregister(ClientExceptions::kSwallow);
    ReleaseDistributor();
    if (owesDistributor) {
        ModifyNumContainedReferences(-1);
    }
    constexpr int32 kOwnHold = 1;
    const bool onlyCallerIsLeft =
        GetContainedReferenceCount() == 0 && GetReferenceCount() - kOwnHold == 1;
    return onlyCallerIsLeft ? kResultSuccess : kResultFailure;
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
