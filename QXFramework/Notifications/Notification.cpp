// Notification.cpp - making, naming and recycling notifications.

#include "NotificationStatics.h"

#include <QX/Mutex.h>
#include <QX/Notification.h>

#include <new>

namespace QX {

LNotification::LNotification() = default;
LNotification::~LNotification() = default;

RCPtr<LNotification> LNotification::Create(const char* name, const RCPtr<LRefCountedObject>& data)
{
    if (sIsNotificationReuseEnabled.load(std::memory_order_relaxed) == 0 ||
        !NotificationStatics::IsStackAlive()) {
        return CreateInternal(name, data);
    }
    // Both outlive the lock: dropping a notification enters it, and a payload runs foreign code.
    RCPtr<LNotification> result;
    RCPtr<LRefCountedObject> stalePayload;
    const MutexLock lock(&sMutex);
    if (sAvailableNotificationsStack.GetCount() == 0) {
        result = CreateInternal(name, data);
        return result;
    }
    sAvailableNotificationsStack.RemoveLast(result);
    // One that was dropped while posted was parked with its payload and its mark.
    result->SetPosted(false);
    result->mData.Swap(stalePayload);
    result->SetName(name);
    result->SetData(data);
    return result;
}

RCPtr<LNotification> LNotification::CreateInternal(const char* name,
                                                   const RCPtr<LRefCountedObject>& data)
{
    const char* const id = GetNotificationID(name);
    if (id == nullptr) {
        return nullptr;
    }
    RCPtr<LNotification> result(new LNotification);
    result->mNotificationID = id;
    result->mData = data;
    return result;
}

void LNotification::SetNotificationReuseEnable(bool enable)
{
    // The flag first: what is released afterwards is not parked again.
    sIsNotificationReuseEnabled.store(enable, std::memory_order_relaxed);
    if (enable || !NotificationStatics::IsStackAlive()) {
        return;
    }
    // From the top, so that nothing moves up for each of them. The payload of one that was parked
    // while it was posted may switch reuse on again, and what is released would come back for ever.
    while (sAvailableNotificationsStack.GetCount() != 0 &&
           sIsNotificationReuseEnabled.load(std::memory_order_relaxed) == 0) {
        RCPtr<LNotification> released;
        sAvailableNotificationsStack.RemoveLast(released);
    }
}

void LNotification::NotificationIsAvailable(LNotification& notification)
{
    notification.SetData(RCPtr<LRefCountedObject>::Null);
    if (sIsNotificationReuseEnabled.load(std::memory_order_relaxed) == 0 ||
        !NotificationStatics::IsStackAlive()) {
        return;
    }
    // Before there is a slot: a notification that must not be shared throws here.
    RCPtr<LNotification> parked(&notification);
    const MutexLock lock(&sMutex);
    const int32 index = sAvailableNotificationsStack.AppendItem(RCPtr<LNotification>::Null);
    RCPtr<LNotification>* const slot =
        index >= 0 ? sAvailableNotificationsStack.GetAt(static_cast<uint32>(index)) : nullptr;
    if (slot == nullptr) {
        throw std::bad_alloc();
    }
    slot->Swap(parked);
}

int32 LNotification::SetName(const char* name)
{
    if (IsPosted()) {
        return kResultFailure;
    }
    const char* const id = GetNotificationID(name);
    if (id == nullptr) {
        return kResultOutOfRange;
    }
    mNotificationID = id;
    return kResultSuccess;
}

int32 LNotification::SetData(const RCPtr<LRefCountedObject>& data)
{
    if (IsPosted()) {
        return kResultFailure;
    }
    mData = data;
    return kResultSuccess;
}

bool LNotification::TryMarkPosted() noexcept
{
    // The only holder has no rival, and spares the atomic exchange.
    if (GetReferenceCount() == 1) {
        const bool wasPosted = IsPosted();
        SetPosted(true);
        return !wasPosted;
    }
    uint32 unposted = 0;
    return mIsPosted.compare_exchange_strong(unposted, 1, std::memory_order_relaxed);
}

int32 LNotification::RemoveReference()
{
    if (mIsRecycling.load(std::memory_order_relaxed) == 0 && GetReferenceCount() == 1) {
        mIsRecycling.store(1, std::memory_order_relaxed);
        try {
            NotificationIsAvailable(*this);
        } catch (...) {
            mIsRecycling.store(0, std::memory_order_relaxed);
            LRefCountedObject::RemoveReference();
            throw;
        }
        mIsRecycling.store(0, std::memory_order_relaxed);
    }
    return LRefCountedObject::RemoveReference();
}

} // namespace QX
