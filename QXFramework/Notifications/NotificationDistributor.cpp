// NotificationDistributor.cpp - registration, its counts, and delivery by name.

#include "NotificationStatics.h"

#include <QX/NotificationDistributor.h>

#include <new>

namespace QX {

LNotificationDistributor::LNotificationDistributor() = default;

LNotificationDistributor::~LNotificationDistributor()
{
    // Somebody may hold a pool for longer.
    for (uint32 index = 0; index < mClientPools.GetCount(); ++index) {
        mClientPools.GetPtr()[index]->mHasLatestOnlyClients = nullptr;
    }
}

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
    RCPtr<LNotificationClientPool> pool = GetNotificationClientPool(id);
    if (pool && pool->GetClientIndex(client) >= 0) {
        pool->AddClient(client, flags);
        return kResultNothingDone;
    }
    AddRegistration();
    try {
        if (!pool) {
            pool = LNotificationClientPool::Create(id);
            pool->mHasLatestOnlyClients = &mMayHaveLatestOnlyClients;
            if (mClientPools.AppendItem(pool) < 0) {
                throw std::bad_alloc();
            }
        }
        pool->AddClient(client, flags);
    } catch (...) {
        RemoveRegistration();
        throw;
    }
    return kResultSuccess;
}

// Counts go up with the references first and the contained count behind, and come down the other
// way round, so that nobody outside is overlooked in between.
void LNotificationDistributor::AddRegistration()
{
    AddContainedReference();
    ++mNumRegistrations;
    if (mNumRegistrations != 1 || !NotificationStatics::IsListAlive()) {
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
    if (mNumRegistrations == 0 && NotificationStatics::IsListAlive()) {
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
    const RCPtr<LNotificationClientPool> pool = GetNotificationClientPool(id);
    if (!pool || pool->RemoveClient(keptClient) != kResultSuccess) {
        return kResultNothingDone;
    }
    // None is counted for a client that was added to the pool directly.
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
    // A client may drop every holder outside; both are needed until the walk has ended.
    const RCPtr<LNotificationDistributor> self(this);
    const RCPtr<LNotification> keptNotification(notification);
    return DeliverHeld(self, keptNotification);
}

// The caller holds both by pointers that no client has. A pool is never removed, so the distributor
// holds it.
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
    // The client may drop every holder outside, of itself too.
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

void LNotificationDistributor::SetLatestNotification(const RCPtr<LNotification>& notification)
{
    LNotificationClientPool* const pool = notification ? FindPool(notification->GetID()) : nullptr;
    if (pool != nullptr && (pool->GetDeliveryFlags() & kDeliverLatestOnly) != 0) {
        pool->SetLatestNotification(notification);
    }
}

} // namespace QX
