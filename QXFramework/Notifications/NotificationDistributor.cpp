// NotificationDistributor.cpp - registration, its counts, and delivery by name.

#include "PostMutex.h"

#include <QX/NotificationDistributor.h>

#include <new>

namespace QX {
namespace {

// Built first, so that the names and the empty strings outlive the list and what its distributors
// do at their end.
[[maybe_unused]] const auto& gNames = LNotification::GetNotificationIDs();

} // namespace

template <>
constinit const RCPtr<LNotificationDistributor> RCPtr<LNotificationDistributor>::Null{};

constinit bool LNotificationDistributor::sIsListAlive = false;
LNotificationDistributor::DistributorArray LNotificationDistributor::sNotificationDistributors;
const LNotificationDistributor::ListGuard LNotificationDistributor::sListGuard;

LNotificationDistributor::ListGuard::ListGuard() noexcept
{
    sIsListAlive = true;
}

// The list's references are counted as contained; each count goes with its reference. From here on
// no distributor enters or leaves the list, whatever the clients of one that ends here do.
LNotificationDistributor::ListGuard::~ListGuard()
{
    sIsListAlive = false;
    while (sNotificationDistributors.GetCount() != 0) {
        RCPtr<LNotificationDistributor> distributor;
        sNotificationDistributors.RemoveItem(0, distributor);
        distributor->ModifyNumContainedReferences(-1);
    }
}

LNotificationDistributor::LNotificationDistributor() = default;
LNotificationDistributor::~LNotificationDistributor() = default;

RCPtr<LNotificationDistributor> LNotificationDistributor::Create()
{
    return RCPtr<LNotificationDistributor>(new LNotificationDistributor);
}

LNotificationDistributor::DistributorArray& LNotificationDistributor::GetDistributors()
{
    return sNotificationDistributors;
}

int32 LNotificationDistributor::RegisterNotificationClient(const RCPtr<LNotificationClient>& client,
                                                           const char* name, DeliveryFlags flags)
{
    if (!client) {
        return kResultOutOfRange;
    }
    const char* const id = LNotification::GetNotificationID(name);
    if (id == nullptr) {
        return kResultNothingDone;
    }
    const RCPtr<LNotificationDistributor> self(this);
    LNotificationClientPool* pool = FindPool(id);
    if (pool != nullptr && pool->GetClientIndex(client) >= 0) {
        pool->AddClient(client, flags);
        return kResultNothingDone;
    }
    AddRegistration();
    try {
        if (pool == nullptr) {
            pool = &AddPool(id);
        }
        pool->AppendClient(client, flags);
    } catch (...) {
        RemoveRegistration();
        throw;
    }
    return kResultSuccess;
}

LNotificationDistributor::LNotificationClientPool&
LNotificationDistributor::AddPool(const char* notificationID)
{
    const RCPtr<LNotificationClientPool> pool = LNotificationClientPool::Create(notificationID);
    const MutexLock lock(gPostMutex);
    if (mClientPools.AppendItem(pool) < 0) {
        throw std::bad_alloc();
    }
    return *pool;
}

// A reference is added before its contained count and removed after it: who looks in between never
// sees too few outside holders.
void LNotificationDistributor::AddRegistration()
{
    AddContainedReference();
    ++mNumRegistrations;
    if (mNumRegistrations != 1 || !sIsListAlive) {
        return;
    }
    if (sNotificationDistributors.AppendItem(RCPtr<LNotificationDistributor>(this)) < 0) {
        RemoveRegistration();
        throw std::bad_alloc();
    }
    ModifyNumContainedReferences(1);
}

// The caller holds this distributor.
void LNotificationDistributor::RemoveRegistration()
{
    --mNumRegistrations;
    if (mNumRegistrations == 0 && sIsListAlive) {
        for (uint32 index = 0; index < sNotificationDistributors.GetCount(); ++index) {
            if (sNotificationDistributors.GetPtr()[index].Get() == this) {
                ModifyNumContainedReferences(-1);
                RCPtr<LNotificationDistributor> removed;
                sNotificationDistributors.RemoveItem(index, removed);
                break;
            }
        }
    }
    ModifyNumContainedReferences(-1);
    RemoveReference();
}

int32 LNotificationDistributor::UnregisterNotificationClient(
    const RCPtr<LNotificationClient>& client, const char* name)
{
    const char* const id = client ? LNotification::GetNotificationID(name) : nullptr;
    if (id == nullptr) {
        return kResultOutOfRange;
    }
    // The registration may be the last holder of both, and `client` may be a member of it.
    const RCPtr<LNotificationDistributor> self(this);
    const RCPtr<LNotificationClient> keptClient(client);
    LNotificationClientPool* const pool = FindPool(id);
    if (pool == nullptr || pool->RemoveClient(keptClient) != kResultSuccess) {
        return kResultNothingDone;
    }
    // A client that was added to the pool directly was never counted. With no count left,
    // subtracting for it would give back a reference that was never taken.
    if (mNumRegistrations > 0) {
        RemoveRegistration();
    }
    return kResultSuccess;
}

int32 LNotificationDistributor::UnregisterNotificationClient(
    const RCPtr<LNotificationClient>& client)
{
    if (!client) {
        return kResultOutOfRange;
    }
    const RCPtr<LNotificationDistributor> self(this);
    const RCPtr<LNotificationClient> keptClient(client);
    int32 removed = 0;
    for (uint32 index = mClientPools.GetCount(); index > 0; --index) {
        const char* const id = mClientPools.GetPtr()[index - 1]->GetNotificationID();
        if (id != nullptr && UnregisterNotificationClient(keptClient, id) == kResultSuccess) {
            ++removed;
        }
    }
    return removed;
}

int32 LNotificationDistributor::GetDeliveryFlags(const RCPtr<LNotificationClient>& client,
                                                 const char* name, DeliveryFlags& flags)
{
    const LNotificationClientPool* const pool = FindPool(LNotification::GetNotificationID(name));
    return pool != nullptr ? pool->GetDeliveryFlags(client, flags) : kResultFailure;
}

bool LNotificationDistributor::IsClientRegistered(const RCPtr<LNotificationClient>& client)
{
    for (uint32 index = 0; index < mClientPools.GetCount(); ++index) {
        if (mClientPools.GetPtr()[index]->GetClientIndex(client) >= 0) {
            return true;
        }
    }
    return false;
}

RCPtr<LNotificationDistributor::LNotificationClientPool>
LNotificationDistributor::GetNotificationClientPool(const char* notificationID)
{
    return RCPtr<LNotificationClientPool>(FindPool(notificationID));
}

LNotificationDistributor::LNotificationClientPool*
LNotificationDistributor::FindPool(const char* notificationID) const
{
    const RCPtr<LNotificationClientPool>* const pools = mClientPools.GetPtr();
    for (uint32 index = mClientPools.GetCount(); index > 0; --index) {
        LNotificationClientPool* const pool = pools[index - 1].Get();
        if (pool->GetNotificationID() == notificationID) {
            return pool;
        }
    }
    return nullptr;
}

int32 LNotificationDistributor::DeliverNotificationAllClients(
    const RCPtr<LNotification>& notification)
{
    if (!notification) {
        return kResultOutOfRange;
    }
    // A client may drop every other holder; both are needed until the walk has ended.
    const RCPtr<LNotificationDistributor> self(this);
    const RCPtr<LNotification> keptNotification(notification);
    return DeliverHeld(self, keptNotification);
}

// A pool stays as long as its distributor, which the caller holds.
int32 LNotificationDistributor::DeliverHeld(const RCPtr<LNotificationDistributor>& distributor,
                                            const RCPtr<LNotification>& notification)
{
    LNotificationClientPool* const pool = distributor->FindPool(notification->GetID());
    return pool != nullptr ? pool->DeliverToAll(distributor, notification) : kResultNothingDone;
}

void LNotificationDistributor::DeliverNotification(const RCPtr<LNotificationClient>& client,
                                                   const RCPtr<LNotification>& notification)
{
    if (!client || !notification) {
        return;
    }
    // The client may drop every other holder, of itself too.
    const RCPtr<LNotificationDistributor> self(this);
    const RCPtr<LNotificationClient> keptClient(client);
    const ConstRCPtr<LNotification> keptNotification(notification);
    keptClient->HandleNotification(self, keptNotification);
}

int32 LNotificationDistributor::ForceAllRegisteredClientsToUnregister()
{
    AskClientsToUnregister(ClientExceptions::kPass);
    return kResultSuccess;
}

void LNotificationDistributor::AskClientsToUnregister(ClientExceptions exceptions)
{
    const RCPtr<LNotificationDistributor> self(this);
    for (uint32 index = mClientPools.GetCount(); index > 0; --index) {
        const RCPtr<LNotificationClientPool> pool(mClientPools.GetPtr()[index - 1]);
        pool->AskClientsToUnregister(self, exceptions);
    }
}

} // namespace QX
