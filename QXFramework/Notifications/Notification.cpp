// Notification.cpp - making, naming and recycling notifications.

#include <QX/Mutex.h>
#include <QX/Notification.h>

#include <new>

namespace QX {
namespace {

// Built first, so that the names and the empty strings outlive the parked notifications.
[[maybe_unused]] const auto& gNames = LNotification::GetNotificationIDs();

} // namespace

template <>
constinit const RCPtr<LNotification> RCPtr<LNotification>::Null{};

constinit std::atomic<uint32> LNotification::sIsNotificationReuseEnabled = 0;
constinit bool LNotification::sIsStackAlive = false;
Mutex LNotification::sMutex;
RCPtrArray<LNotification, 1, 0> LNotification::sAvailableNotificationsStack;
const LNotification::StackGuard LNotification::sStackGuard;

LNotification::StackGuard::StackGuard() noexcept
{
    sIsStackAlive = true;
}

// With reuse on, each notification that the dying stack drops would be parked in it again.
LNotification::StackGuard::~StackGuard()
{
    SetNotificationReuseEnable(false);
    sIsStackAlive = false;
}

bool LNotification::IsReuseOn() noexcept
{
    return sIsNotificationReuseEnabled.load(std::memory_order_relaxed) != 0 && sIsStackAlive;
}

LNotification::LNotification() = default;
LNotification::~LNotification() = default;

RCPtr<LNotification> LNotification::Create(const char* name, const RCPtr<LRefCountedObject>& data)
{
    if (!IsReuseOn()) {
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
    if (enable || !sIsStackAlive) {
        return;
    }
    // They move to an array of their own, which releases them from index 0 upwards: the end of a
    // payload may switch reuse on again, and then parks and takes notifications here.
    RCPtrArray<LNotification, 1, 0> released;
    const uint32 count = sAvailableNotificationsStack.GetCount();
    if (released.SetCount(count) >= 0) {
        for (uint32 index = 0; index < count; ++index) {
            released.GetPtr()[index].Swap(sAvailableNotificationsStack.GetPtr()[index]);
        }
        sAvailableNotificationsStack.SetCount(0);
        return;
    }
    // Without memory for that array they are released one by one. Such a payload may leave fewer.
    for (uint32 left = count; left > 0 && sAvailableNotificationsStack.GetCount() != 0; --left) {
        RCPtr<LNotification> first;
        sAvailableNotificationsStack.RemoveItem(0, first);
    }
}

void LNotification::NotificationIsAvailable(LNotification& notification)
{
    notification.SetData(RCPtr<LRefCountedObject>::Null);
    if (!IsReuseOn()) {
        return;
    }
    // Before there is a slot: a notification that must not be shared throws here.
    RCPtr<LNotification> parked(&notification);
    const MutexLock lock(&sMutex);
    const int32 index = sAvailableNotificationsStack.AppendItem(RCPtr<LNotification>::Null);
    if (index < 0) {
        throw std::bad_alloc();
    }
    sAvailableNotificationsStack.GetAt(static_cast<uint32>(index))->Swap(parked);
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
    // Only one holder: no other thread can post it, so no atomic exchange is needed.
    if (GetReferenceCount() == 1) {
        const bool wasPosted = IsPosted();
        SetPosted(true);
        return !wasPosted;
    }
    uint32 unposted = 0;
    return mIsPosted.compare_exchange_strong(unposted, 1, std::memory_order_acquire);
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
