// NotificationCenter.cpp - centers that dismantle themselves.

#include <QX/NotificationCenter.h>

namespace QX {

template <>
constinit const RCPtr<LNotificationCenter> RCPtr<LNotificationCenter>::Null{};

LNotificationCenter::LNotificationCenter(const StringT<char, unsigned short>& name)
    : mName(name)
{}

LNotificationCenter::~LNotificationCenter() = default;

RCPtr<LNotificationCenter> LNotificationCenter::Create(const StringT<char, unsigned short>& name)
{
    RCPtr<LNotificationCenter> center(new LNotificationCenter(name));
    // A new object is shareable, so `center` holds it. NOLINTNEXTLINE(clang-analyzer-core.*)
    center->SetDistributor(center);
    center->mContainedDistributor.Count(*center, static_cast<LNotificationQueue*>(center.Get()));
    return center;
}

int32 LNotificationCenter::RemoveContainedReferences()
{
    // Held for the run, so that no reference dropped here looks like the last one from outside.
    const RCPtr<LNotificationCenter> self(this);
    ContainedReference distributor = mContainedDistributor.Take();
    AskClientsToUnregister(ClientExceptions::kSwallow);
    ReleaseDistributor();
    distributor.GiveBack(*this, static_cast<LNotificationQueue*>(this));
    constexpr int32 kOwnHold = 1;
    const bool onlyCallerIsLeft =
        GetContainedReferenceCount() == 0 && GetReferenceCount() - kOwnHold == 1;
    return onlyCallerIsLeft ? kResultSuccess : kResultFailure;
}

} // namespace QX
